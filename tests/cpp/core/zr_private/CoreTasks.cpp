#include <zr_private/CoreTasks.h>

#include <atomic>
#include <filesystem>
#include <thread>

#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

#include "Soak.h"

namespace
{
using zr::AsyncTaskPriority;

std::ptrdiff_t entriesOf(const char* folder)
{
    using Iterator = std::filesystem::directory_iterator;
    return std::distance(Iterator(folder), Iterator());
}

/// A policy that says how many processors there are, and notes what it is told.
class Policy final : public zr::IThreadPolicy
{
public:
    Policy(zr::u32 threads, zr::u32 reservedThreads) : count(threads), reservedCount(reservedThreads) {}
    std::optional<zr::vector<zr::thread::ThreadInfo>> getPoolInfos(zr::u32, zr::u32) override { return std::nullopt; }
    void onThreadCreated(const char* name, zr::thread::ThreadInfo&, zr::u32) override { names += name, names += ' '; }
    void onThreadJoining(zr::u32) override { ++joined; }
    void reserved() override {}
    zr::u32 getThreadCount(zr::u32) override { return count; }
    zr::u32 getReservedThreadCount(zr::u32) override { return reservedCount; }

    std::string names;
    int joined = 0;

private:
    zr::u32 count;
    zr::u32 reservedCount;
};
} // namespace

TEST(CoreTasks, LeavesNothingBehindHoweverOftenItRuns)
{
    zr::startCoreTasks(); // what stays for good comes now
    zr::stopCoreTasks();
    const auto threads = entriesOf("/proc/self/task");
    const auto descriptors = entriesOf("/proc/self/fd");
    for (int round = 0; round < 100; ++round)
    {
        zr::startCoreTasks();
        zr::CoreTasks* const first = zr::coreTasks();
        zr::startCoreTasks();
        EXPECT_EQ(zr::coreTasks(), first);
        EXPECT_GT(entriesOf("/proc/self/task"), threads);
        zr::stopCoreTasks();
        zr::stopCoreTasks();
    }
    EXPECT_EQ(entriesOf("/proc/self/task"), threads);
    EXPECT_EQ(entriesOf("/proc/self/fd"), descriptors);
}

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
    for (const auto& expected : cases)
    {
        const auto policy = new Policy(expected.cpus, expected.reserved);
        zr::setThreadPolicy(policy);
        const zr::CoreTasks::ThreadCounts counts = zr::chooseThreadCounts();
        EXPECT_EQ(counts.io, expected.io);
        EXPECT_EQ(counts.cpu, expected.cpu);
        EXPECT_EQ(counts.high, expected.high);
        delete zr::setThreadPolicy(nullptr);
    }
    const auto policy = new Policy(4, 1);
    zr::setThreadPolicy(policy);
    zr::setWantedCoreMode(2);
    zr::startCoreTasks();
    zr::setWantedCoreMode(0);
    zr::stopCoreTasks();
    EXPECT_EQ(policy->names.substr(policy->names.find(' ') + 1),
              "AsyncCpuPipeline-0 AsyncCpuPipeline-1 AsyncCpuPipeline-2 AsyncCpuPipeline-3 AsyncIOPipeline-0 ");
    EXPECT_TRUE(policy->names.starts_with("TaskQueueTimer"));
    EXPECT_EQ(policy->joined, 6);
    delete zr::setThreadPolicy(nullptr);
}

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
        int status = 0;
        waitpid(child, &status, 0);
        EXPECT_EQ(status, 0);
    }
    isEnough = true;
    pusher.join();
    zr::stopCoreTasks();
}
