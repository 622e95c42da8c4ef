#include <zr_private/ExecHubThreadPool.h>

#include <atomic>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include <zr/assert/Assert.h>
#include <zr/tasks/LaneExecutor.h>

#include "Soak.h"

namespace
{
using zr::AsyncTaskPriority;
using zr::ExecutorPtr;

/// Notes which lanes it is asked for, and says that it ran something on one of them.
class Asked final : public zr::Executor
{
public:
    explicit Asked(zr::u32 busyLane) : busy(busyLane) {}
    void finish() override {}
    void wait() override {}
    bool waitFor(const zr::u64*) override { return true; }
    bool runOne(const char*) override { return false; }
    bool runOneOf(zr::u32 lane, const char* caller) override
    {
        EXPECT_STREQ(caller, "ExecHub");
        lanes += static_cast<char>('0' + lane);
        return lane == busy;
    }
    void push_task(std::function<void()>, AsyncTaskPriority, const zr::BarrierPtr&, std::string_view) override {}
    void push_task(PlainFunction, void*, AsyncTaskPriority, const zr::BarrierPtr&, std::string_view) override {}

    std::string lanes;
    zr::u32 busy;
};

std::string askedOnce(zr::ExecHub& hub, Asked& executor)
{
    executor.lanes.clear();
    EXPECT_TRUE(hub.run(nullptr));
    return executor.lanes;
}
} // namespace

TEST(ExecHub, AsksLanesByWeightAndAStarvingOneOnceMore)
{
    zr::ExecHub hub("test");
    const auto executor = new Asked(3);
    const int lanes[] = {3, -1, 7, 2};
    const zr::HubBinding binding = hub.attach_executor("asked", lanes, ExecutorPtr(executor));
    EXPECT_EQ(askedOnce(hub, *executor), "00000000223");
    for (int round = 1; round < 64; ++round)
        askedOnce(hub, *executor);
    EXPECT_EQ(askedOnce(hub, *executor), "0000000002223");
    executor->busy = 0;
    EXPECT_EQ(askedOnce(hub, *executor), "0");
    executor->busy = 4; // lane 0 was served, lane 4 starves but answers at once
    EXPECT_EQ(askedOnce(hub, *executor), "0000000022234");
}

TEST(ExecHub, TakesALaneOnceAndEndsAttachmentsWithTheirOwner)
{
    zr::setAssertNotificationsOff(true);
    zr::ExecHub hub("test");
    const auto executor = new Asked(1);
    {
        const int lanes[] = {1, 1};
        const zr::HubBinding binding = hub.attach_executor("asked", lanes, ExecutorPtr(executor));
        EXPECT_EQ(askedOnce(hub, *executor), "1");
        executor->addReference();
    }
    zr::setAssertNotificationsOff(false);
    EXPECT_EQ(executor->getReferenceCount(), 1u);
    executor->lanes.clear();
    hub.notify(1);
    EXPECT_FALSE(hub.run(nullptr));
    EXPECT_EQ(executor->lanes, "");
    delete executor;
}

STRESS_TEST(ExecHub, RunsEachTaskOnceWhileExecutorsComeAndGo)
{
    constexpr int kPushers = 64;
    constexpr int kTasks = 200;
    zr::ExecHubThreadPool pool("test");
    pool.start(4, zr::thread::Priority::Normal, "worker");
    std::vector<std::atomic<int>> runs(kPushers * kTasks);
    {
        std::vector<std::jthread> pushers;
        for (int pusher = 0; pusher < kPushers; ++pusher)
            pushers.emplace_back(
                [&, pusher]
                {
                    for (int part = 0; part < 4; ++part)
                    {
                        const int lanes[] = {part, pusher % 5 == part ? 4 : pusher % 5};
                        const ExecutorPtr executor(new zr::LaneExecutor("coming and going"));
                        const zr::HubBinding binding =
                            pool.getHub().attach_executor("coming and going", lanes, executor);
                        for (int i = part; i < kTasks; i += 4)
                        {
                            executor->push_task([&run = runs[pusher * kTasks + i]] { ++run; },
                                                static_cast<AsyncTaskPriority>(lanes[i / 4 % 2]), nullptr, "task");
                            binding.notify(binding.hub, 1);
                        }
                        executor->wait();
                    }
                });
    }
    for (const std::atomic<int>& run : runs)
        ASSERT_EQ(run, 1);
    pool.stop();
    EXPECT_EQ(pool.getThreadCount(), 0u);
    pool.stop();
}
