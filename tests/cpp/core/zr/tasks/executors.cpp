#include <atomic>
#include <stdexcept>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include <zr/tasks/LaneExecutor.h>
#include <zr/tasks/SyncTaskQueue.h>

#include "Soak.h"

namespace
{
using zr::AsyncTaskPriority;
using zr::BarrierPtr;
using zr::SharedGroupBarrier;

/// For each of many pushers the number of its last task, and whether all came in order.
struct Order
{
    std::vector<int> last = std::vector<int>(64, -1);
    int faults = 0;
    int count = 0;

    void note(std::size_t pusher, int number)
    {
        faults += number != last[pusher] + 1;
        last[pusher] = number;
        ++count;
    }
};

constexpr int kTasksEach = 300;

/// Every task that many pushers push is run by this thread, and in each one's order.
template <class Push, class Run>
void expectOrder(Push push, Run run)
{
    Order order;
    std::vector<std::jthread> threads;
    for (std::size_t pusher = 0; pusher < 64; ++pusher)
        threads.emplace_back(
            [&order, push, pusher]
            {
                for (int number = 0; number < kTasksEach; ++number)
                    push([&order, pusher, number] { order.note(pusher, number); });
            });
    while (order.count < 64 * kTasksEach)
        run();
    EXPECT_EQ(order.faults, 0);
}
} // namespace

STRESS_TEST(TaskQueues, RunEachTaskOnceInThePushersOrder)
{
    zr::SyncTaskQueue queue;
    const BarrierPtr barrier = SharedGroupBarrier::create("group");
    expectOrder([&](std::function<void()> task) { queue.push(std::move(task), barrier, "task"); },
                [&] { queue.run(0.001); });
    EXPECT_EQ(barrier->getPending() + queue.getPending(), 0u);

    zr::LaneExecutor executor("test");
    const auto push = [&](std::function<void()> task)
    { executor.push_task(std::move(task), AsyncTaskPriority::kNormal, nullptr, "task"); };
    expectOrder(push, [&] { executor.runOne("test"); });
    executor.wait();
}

TEST(SyncTaskQueue, BelongsToOneThreadAtATime)
{
    zr::SyncTaskQueue queue;
    std::string ran;
    queue.push(
        [&]
        {
            ran += 'a';
            std::thread([&] { queue.run(1.0); }).join(); // somebody else: nothing happens
            ran += 'b';
            queue.run(1.0); // the drainer itself
            ran += 'd';
        },
        nullptr, "outer");
    queue.push([](void* text) { *static_cast<std::string*>(text) += 'c'; }, &ran, nullptr, "inner");
    queue.run(1.0);
    EXPECT_EQ(ran, "abcd");
}

TEST(SyncTaskQueue, SettlesTasksThatRaiseOrAreDropped)
{
    const BarrierPtr barrier = SharedGroupBarrier::create("group");
    bool ran = false;
    {
        zr::SyncTaskQueue queue;
        queue.push([] { throw std::runtime_error("task"); }, barrier, "raises");
        queue.push([] {}, barrier, "first behind a budget that is spent");
        queue.push([&] { ran = true; }, barrier, "is left");
        EXPECT_THROW(queue.run(1.0), std::runtime_error);
        EXPECT_EQ(barrier->getPending(), 2u);
        queue.run(-1.0);
        EXPECT_EQ(barrier->getPending(), 1u);
    }
    EXPECT_EQ(barrier->getPending(), 0u);
    EXPECT_FALSE(ran);
}

TEST(LaneExecutor, LooksAtLanesInTheirOrder)
{
    zr::LaneExecutor executor("test");
    std::string ran;
    for (const int lane : {3, 1, 9, 0, 2})
        executor.push_task([&ran, lane] { ran += static_cast<char>('0' + lane); }, static_cast<AsyncTaskPriority>(lane),
                           nullptr, "");
    EXPECT_TRUE(executor.runOneOf(99, "")); // beyond the last is the last
    EXPECT_FALSE(executor.runOneOf(4, ""));
    while (executor.runOne(""))
    {
    }
    EXPECT_EQ(ran, "90123");
}

TEST(LaneExecutor, SettlesTasksThatRaiseAndDropsWhatIsQueuedAtItsFinish)
{
    zr::LaneExecutor executor("test");
    const BarrierPtr barrier = SharedGroupBarrier::create("group");
    executor.push_task([] { throw std::runtime_error("task"); }, AsyncTaskPriority::kHighest, barrier, "raises");
    executor.push_task(std::function<void()>(), AsyncTaskPriority::kHigh, barrier, "is empty");
    EXPECT_THROW(executor.runOne(""), std::runtime_error);
    EXPECT_THROW(executor.runOne(""), std::bad_function_call);
    const zr::u64 noTime = 0;
    EXPECT_TRUE(executor.waitFor(&noTime));

    // One task runs while the others are dropped; it sees the flag, so what it pushes is dropped too.
    std::atomic<int> ran{0};
    std::atomic<bool> started{false};
    std::atomic<bool> mayEnd{false};
    executor.push_task(
        [&]
        {
            started = true;
            while (!mayEnd)
            {
            }
            executor.push_task([&] { ++ran; }, AsyncTaskPriority::kHighest, barrier, "late");
        },
        AsyncTaskPriority::kHighest, barrier, "runs");
    std::jthread worker([&] { executor.runOne(""); });
    while (!started)
    {
    }
    executor.push_task([&] { ++ran; }, AsyncTaskPriority::kLowest, barrier, "waits");
    EXPECT_FALSE(executor.waitFor(&noTime));
    std::jthread finisher([&] { executor.finish(); });
    while (barrier->getPending() > 1)
    {
    } // the waiting one has been dropped
    mayEnd = true;
    finisher.join();
    barrier->wait();
    EXPECT_EQ(ran, 0);
    executor.push_task([&] { ++ran; }, AsyncTaskPriority::kNormal, nullptr, "goes on");
    EXPECT_TRUE(executor.runOne(""));
    EXPECT_EQ(ran, 1);
}

STRESS_TEST(SharedGroupBarrier, IsOutlivedByNoTask)
{
    for (int round = 0; round < 200; ++round)
    {
        std::atomic<int> done{0};
        std::vector<std::jthread> threads;
        {
            const BarrierPtr barrier = SharedGroupBarrier::create("group");
            for (int i = 0; i < 4; ++i)
            {
                barrier->add();
                threads.emplace_back(
                    [&done, counted = barrier.get()]
                    {
                        ++done;
                        counted->done();
                    });
            }
            EXPECT_FALSE(barrier->waitUntil(std::chrono::steady_clock::time_point::min()) && done < 4);
        }
        EXPECT_EQ(done, 4);
    }
}

TEST(SharedGroupBarrier, KeepsTheEndOfALongName)
{
    const std::string name = std::string(40, 'a') + std::string(60, 'b');
    EXPECT_EQ(SharedGroupBarrier::create(name)->getName(), "aa" + std::string(60, 'b'));
    EXPECT_EQ(zr::TaskName(name).view(), name);
}
