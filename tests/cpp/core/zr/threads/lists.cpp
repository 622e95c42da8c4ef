#include <zr/threads/HeldList.h>
#include <zr/threads/Semaphore.h>

#include <array>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "Soak.h"

namespace
{
constexpr int kThreads = 8;

struct Node
{
    Node* next = nullptr;
    int owner = -1; // not atomic: the list alone hands a node from thread to thread
    int number = 0;
};

/// Calls `work(thread number)` on several threads and waits for them.
template <class Work>
void onThreads(int count, Work work)
{
    std::vector<std::jthread> threads;
    for (int i = 0; i < count; ++i)
        threads.emplace_back([=] { work(i); });
}

// Few nodes and many threads: the first node is popped, comes back, and is first again while others still look at it.
STRESS_TEST(HeldList, ANodeHasOneOwnerAtATime)
{
    constexpr int kRounds = 20000;
    std::array<Node, 3> nodes;
    zr::HeldList<Node> list;
    for (Node& node : nodes)
        list.push(&node);
    std::atomic<int> shared{0};
    const auto work = [&](int thread)
    {
        for (int done = 0; done < kRounds;)
        {
            Node* const node = list.pop();
            if (!node) continue;
            shared += std::exchange(node->owner, thread) != -1;
            ++node->number;
            ++done;
            shared += std::exchange(node->owner, -1) != thread;
            list.push(node);
        }
    };
    onThreads(kThreads, work);
    EXPECT_EQ(shared, 0);
    int uses = 0;
    for (std::size_t i = 0; i < nodes.size(); ++i)
    {
        Node* const node = list.pop();
        ASSERT_NE(node, nullptr) << "a node was lost";
        EXPECT_EQ(std::exchange(node->owner, 0), -1) << "a node came twice";
        uses += node->number;
    }
    EXPECT_TRUE(list.isEmpty());
    EXPECT_EQ(uses, kThreads * kRounds);
}

STRESS_TEST(Semaphore, EveryReleaseIsAcquiredOnce)
{
    constexpr int kEach = 3000;
    zr::Semaphore semaphore;
    std::atomic<int> acquired{0};
    const auto work = [&](int thread)
    {
        for (int i = 0; i < kEach;)
            if (thread % 2)
            {
                semaphore.release();
                semaphore.release(2);
                i += 3;
            }
            else if (semaphore.acquireFor(thread % 4 ? platform::kForever : 1000 * (i % 7)))
                ++acquired, ++i; // every other one often runs out of time, perhaps just when a release comes for it
    };
    onThreads(2 * kThreads, work);
    EXPECT_EQ(acquired, kThreads * kEach);
    EXPECT_EQ(semaphore.value(), 0u);
    EXPECT_FALSE(semaphore.acquireFor(1'000'000));
    EXPECT_EQ(semaphore.sleepers(), 0u);
}

STRESS_TEST(Semaphore, TwoThreadsWakeOneAnother)
{
    constexpr zr::i64 kFarTooLong = 10'000'000'000;
    zr::Semaphore turns[2];
    int number = 0; // not atomic: the semaphores alone hand it over
    const auto work = [&](int thread)
    {
        for (int i = thread; i < 20000; i += 2)
        {
            ASSERT_TRUE(i == 0 || turns[thread].acquireFor(kFarTooLong)) << i;
            ASSERT_EQ(number++, i);
            turns[1 - thread].release();
        }
    };
    onThreads(2, work);
}
} // namespace
