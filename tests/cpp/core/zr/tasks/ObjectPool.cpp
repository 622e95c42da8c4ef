#include <zr/tasks/ObjectPool.h>

#include <array>
#include <atomic>
#include <random>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "Soak.h"

namespace
{
/// An element as a user sees it: who has it.
struct Record
{
    std::atomic<unsigned> owners{0};
    char padding[40]{};
};

/// Threads swap elements through a few shared places, so that most are released by another thread than they came to.
void churn(zr::ObjectPool& pool, std::array<std::atomic<Record*>, 16>& places, unsigned seed,
           std::atomic<unsigned>& faults)
{
    std::mt19937 random(seed);
    for (int i = 0; i < 20000; ++i)
    {
        auto* record = pool.create<Record>();
        if (record->owners.fetch_add(1) != 0) ++faults;
        Record* other = places[random() % places.size()].exchange(record);
        if (!other) continue;
        if (other->owners.fetch_sub(1) != 1) ++faults;
        pool.destroy(other);
    }
}
} // namespace

STRESS_TEST(ObjectPool, GivesNoElementTwiceWhateverThreadReleasesIt)
{
    // Few elements a chunk keep the shared list busy: elements come back at once, as an ABA needs it. More threads than
    // slots, so that both roads are walked.
    zr::ObjectPool pool(sizeof(Record), 3, "test");
    std::array<std::atomic<Record*>, 16> places{};
    std::atomic<unsigned> faults{0};
    for (const unsigned count : {8u, 80u})
    {
        std::vector<std::thread> threads;
        for (unsigned i = 0; i < count; ++i)
            threads.emplace_back([&, i] { churn(pool, places, i, faults); });
        for (std::thread& thread : threads)
            thread.join();
    }
    EXPECT_EQ(faults, 0u);
    EXPECT_LE(pool.getInUseCount(), places.size());
    for (std::atomic<Record*>& place : places)
        if (Record* left = place) pool.destroy(left);
    EXPECT_EQ(pool.getInUseCount(), 0u);
}

TEST(ObjectPool, ReusesWhatThreadsThatEndedLeft)
{
    zr::ObjectPool pool(64, 128, "test");
    for (int round = 0; round < 1000; ++round)
        std::thread(
            [&]
            {
                std::array<void*, 100> elements;
                for (void*& element : elements)
                    element = pool.acquire();
                for (void* element : elements)
                    pool.release(element);
            })
            .join();
    EXPECT_LE(pool.getChunkCount(), 2u);
}

TEST(ObjectPool, AlignsElements)
{
    for (const zr::u32 mask : {7u, 15u, 63u})
    {
        zr::ObjectPool pool(20, 10, "test", mask);
        for (int i = 0; i < 40; ++i)
            EXPECT_EQ(reinterpret_cast<std::uintptr_t>(pool.acquire()) & mask, 0u);
    }
}
