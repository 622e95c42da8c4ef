#include <zr/threads/threadIndex.h>

#include <atomic>
#include <bit>

#include <platform/threads.h>

namespace zr
{
namespace
{
/// A set bit is a number in use.
std::atomic<u64> usedIndices{0};
static_assert(kMaxThreadIndices == 64, "one bit of the word for each");

u32 takeIndex() noexcept
{
    u64 used = usedIndices.load(std::memory_order_relaxed);
    while (~used != 0)
    {
        const u32 index = static_cast<u32>(std::countr_one(used));
        // Acquire: pairs with the release below, so that the last owner's writes are seen.
        if (usedIndices.compare_exchange_weak(used, used | u64{1} << index, std::memory_order_acquire,
                                              std::memory_order_relaxed))
            return index;
    }
    return kNoThreadIndex;
}

constexpr u32 kNotAsked = kNoThreadIndex + 1;
/// Apart from its owner and without a destructor, so that it can be read to the very end of the thread.
thread_local u32 ownIndex = kNotAsked;

/// The child of a fork has one thread, whose number stays its own.
void keepOwnIndex() noexcept
{
    usedIndices = ownIndex < kMaxThreadIndices ? u64{1} << ownIndex : 0;
}

struct IndexOwner
{
    IndexOwner() noexcept
    {
        static const bool isRegistered = (platform::onForkedChild(keepOwnIndex), true);
        static_cast<void>(isRegistered);
        ownIndex = takeIndex();
    }
    ~IndexOwner()
    {
        if (ownIndex < kMaxThreadIndices) usedIndices.fetch_and(~(u64{1} << ownIndex), std::memory_order_release);
        ownIndex = kNoThreadIndex;
    }
};

u32 firstThreadIndex() noexcept
{
    thread_local const IndexOwner owner;
    return ownIndex;
}
} // namespace

u32 threadIndex() noexcept
{
    return ownIndex != kNotAsked ? ownIndex : firstThreadIndex();
}
} // namespace zr
