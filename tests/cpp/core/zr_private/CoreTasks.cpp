#include <zr_private/CoreTasks.h>

#include <atomic>
#include <thread>

#include <gtest/gtest.h>

#include "../capture.h"
#include "../policy.h"

#include "Soak.h"

using zr::AsyncTaskPriority;

STRESS_TEST(CoreTasks, RunsEachQueuedTaskOnceOrNotAtAllWhenItStops)
{
    for (const zr::u32 mode : {0u, 2u})
        for (int round = 0; round < 20; ++round)
        {
            zr::setWantedCoreMode(mode);
            zr::startCoreTasks();
            zr::CoreTasks& tasks = *zr::coreTasks();
            EXPECT_EQ(tasks.getCpuExecutor().executor == tasks.getIoExecutor().executor, mode == 0);
            std::vector<std::atomic<int>> runs(500);
            const zr::BarrierPtr barrier = zr::SharedGroupBarrier::create("group");
            for (std::size_t i = 0; i < runs.size(); ++i)
            {
                const auto task = [&run = runs[i]] { ++run; };
                const auto& executor = i % 2 ? tasks.getCpuExecutor() : tasks.getIoExecutor();
                executor.push(task, static_cast<AsyncTaskPriority>(i % 5), barrier, "task");
            }
            tasks.getTimer().add(zr::TimerKind::kCpuHigh, [] { return true; }, 0.0);
            tasks.getTimer().add(zr::TimerKind::kSync1, [] { return true; }, 0.0);
            if (round % 2) barrier->wait();
            zr::stopCoreTasks();
            EXPECT_EQ(barrier->getPending(), 0u);
            for (const std::atomic<int>& run : runs)
                EXPECT_LE(run, 1);
            EXPECT_TRUE(round % 2 == 0 || runs.back() == 1);
        }
    zr::setWantedCoreMode(0);
}

TEST(CoreTasks, CountsAndNamesItsThreads)
{
    struct
    {
        zr::u32 cpus, reserved, io, cpu, high;
    } const cases[] = {{1, 0, 1, 1, 1}, {2, 0, 2, 2, 2}, {16, 0, 2, 13, 2}, {16, 3, 3, 14, 2}, {0, 0, 0, 0, 0}};
    NotingPolicy policy;
    zr::setThreadPolicy(&policy);
    for (const auto& expected : cases)
    {
        policy.threads = expected.cpus;
        policy.reservedThreads = expected.reserved;
        const zr::CoreTasks::ThreadCounts counts = zr::chooseThreadCounts();
        EXPECT_EQ(counts.io, expected.io);
        EXPECT_EQ(counts.cpu, expected.cpu);
        EXPECT_EQ(counts.high, expected.high);
    }
    policy.threads = 4;
    policy.reservedThreads = 1;
    zr::setWantedCoreMode(2);
    zr::startCoreTasks();
    zr::setWantedCoreMode(0);
    zr::stopCoreTasks();
    zr::setThreadPolicy(nullptr);
    const std::size_t timerEnd = policy.told.find(' '); // with a number
    std::string expected = " true\n";
    for (const char* name : {"CpuPipeline-0", "CpuPipeline-1", "CpuPipeline-2", "CpuPipeline-3", "IOPipeline-0"})
        expected += std::string("Async") + name + " true\n";
    for (int i = 0; i < 6; ++i)
        expected += "joining true\n";
    EXPECT_TRUE(policy.told.starts_with("TaskQueueTimer"));
    EXPECT_EQ(policy.told.substr(timerEnd), expected);
}

// The thread sanitizer lets such a child start no threads, and the heap of the other one may be locked in it for good.
#if !defined(__SANITIZE_THREAD__) && !defined(__SANITIZE_ADDRESS__)
TEST(CoreTasks, IsForgottenInTheChildOfAFork)
{
    zr::startCoreTasks();
    std::atomic<bool> isEnough{false};
    std::jthread pusher( // locks of all kinds are held at the moment of the fork
        [&]
        {
            while (!isEnough)
            {
                zr::coreTasks()->getCpuExecutor().push([] {}, AsyncTaskPriority::kNormal,
                                                       zr::SharedGroupBarrier::create("group"), "task");
                zr::coreTasks()->getTimer().remove(
                    zr::coreTasks()->getTimer().add(zr::TimerKind::kSync2, [] { return true; }, 0.0));
            }
        });
    for (int round = 0; round < 20; ++round)
    {
        const pid_t child = fork();
        if (child == 0)
        {
            alarm(20); // a child that hangs ends, and not by its own exit
            const bool isForgotten = zr::coreTasks() == nullptr;
            zr::stopCoreTasks();
            zr::startCoreTasks();
            const zr::BarrierPtr barrier = zr::SharedGroupBarrier::create("group");
            std::atomic<int> runs{0};
            zr::coreTasks()->getCpuExecutor().push([&] { ++runs; }, AsyncTaskPriority::kNormal, barrier, "task");
            barrier->wait();
            zr::stopCoreTasks();
            _exit(isForgotten && runs == 1 ? 0 : 1);
        }
        EXPECT_EQ(capture::endOf(child), 0);
    }
    isEnough = true;
    pusher.join();
    zr::stopCoreTasks();
}
#endif
