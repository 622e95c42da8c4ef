#include <zr/EmptyBuffer.h>
#include <zr/MemBuffer.h>
#include <zr/SharedBuffer.h>

#include <algorithm>
#include <atomic>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "Soak.h"

namespace
{
using namespace zr;
using Ref = RefPtr<MemBuffer>;

constexpr u64 kCached = 128;

TEST(MemBuffer, AHundredAndTwentyEightWaitForTheirNextUse)
{
    std::vector<Ref> held;
    while (held.size() < 2 * kCached)
        held.push_back(MemBuffer::acquire(10)); // half of them new ones at least
    EXPECT_EQ(MemBuffer::statistics().idle, 0u);
    const MemBuffer::Statistics before = MemBuffer::statistics();
    EXPECT_GE(before.mostLive, before.live);

    held.resize(kCached - 1);
    EXPECT_EQ(MemBuffer::statistics().idle, kCached);
    EXPECT_EQ(MemBuffer::statistics().live, before.live - kCached - 1);
    held.clear();
    EXPECT_EQ(MemBuffer::statistics().idle, kCached) << "the others lost their memory";
    EXPECT_EQ(MemBuffer::statistics().mostLiveBytes, before.mostLiveBytes);
    const u8* const block = MemBuffer::acquire(10)->data();
    EXPECT_EQ(MemBuffer::acquire(1024)->data(), block) << "what was released last comes first";
}

TEST(MemBuffer, Sizes)
{
    std::vector<Ref> held;
    for (u64 i = 0; i <= kCached; ++i)
        held.push_back(MemBuffer::acquire(i)); // so the last one is new
    const Ref& buffer = held.back();
    u8* const block = buffer->data();
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(block) % 16, 0u);
    buffer->setSize(1024);
    EXPECT_EQ(buffer->data(), block) << "the smallest capacity";
    std::fill_n(block, 1024, u8{9});
    const u64 before = MemBuffer::statistics().liveBytes;
    buffer->setSize(100'000);
    EXPECT_EQ(MemBuffer::statistics().liveBytes - before, 100'000u - 1024u);
    EXPECT_EQ(std::count(buffer->data(), buffer->data() + 1024, 9), 1024);
    buffer->setSize(3);
    EXPECT_EQ(buffer->bytes().size(), 3u);
    for (const u64 size : {~u64{0}, u64{1} << 63, (u64{1} << 63) - 1, u64{1} << 60})
        EXPECT_FALSE(MemBuffer::tryAcquire(size)) << size;
    const Ref next = MemBuffer::tryAcquire(2000); // out of the cache, where one lies that could get no block
    std::fill_n(next->data(), next->size(), u8{1});
}

// Whoever has a buffer finds in it what it wrote there.
STRESS_TEST(MemBuffer, HasOneOwnerAtATime)
{
    std::atomic<int> faults{0};
    const auto work = [&](u8 thread)
    {
        std::vector<Ref> held;
        for (u64 i = 0; i < 20'000; ++i)
        {
            Ref buffer = MemBuffer::acquire(1 + i * 7 % 1500);
            std::fill_n(buffer->data(), buffer->size(), thread);
            held.push_back(std::move(buffer));
            if (held.size() < 30) continue; // of all threads: more than are cached
            for (const Ref& mine : held)
                faults += mine->data()[0] != thread || mine->data()[mine->size() - 1] != thread;
            held.resize(i % 30);
        }
    };
    std::vector<std::jthread> threads;
    for (u8 i = 0; i < 8; ++i)
        threads.emplace_back(work, i);
    threads.clear();
    EXPECT_EQ(faults, 0);
    EXPECT_LE(MemBuffer::statistics().idle, kCached);
}

TEST(SharedBuffer, ObjectAndBytesAreOneBlock)
{
    const auto before = SharedBuffer::statistics();
    RefPtr<SharedBuffer> buffer = SharedBuffer::create(1000);
    std::fill_n(buffer->data(), 1000, u8{1});
    EXPECT_EQ(SharedBuffer::statistics().live - before.live, 1u);
    EXPECT_EQ(SharedBuffer::statistics().liveBytes - before.liveBytes, 1000u);
    const BufferRef other = buffer;
    buffer = nullptr;
    EXPECT_EQ(other->bytes()[999], 1);
    EXPECT_EQ(EmptyBuffer::get()->data(), nullptr);
    EXPECT_EQ(EmptyBuffer::get().get(), EmptyBuffer::get().get()); // though its last reference went
}
} // namespace
