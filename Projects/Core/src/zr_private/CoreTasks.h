#pragma once

#include <memory>

#include <zr/tasks/SyncTaskQueue.h>
#include <zr/tasks/timer.h>
#include <zr/threads/CriticalSection.h>
#include <zr_private/ExecHubThreadPool.h>

namespace zr
{
/// The task system of the process: two pools of threads with an executor each, two queues for threads that drain them,
/// and a timer that feeds all of these. There is one at a time, from `startCoreTasks` to `stopCoreTasks`.
class alignas(64) CoreTasks final : private ITimerTargets
{
public:
    /// An executor and how to wake its threads.
    struct ExecutorHandle
    {
        HubBinding binding;
        ExecutorPtr executor;

        /// Queues a task and wakes a thread for it.
        void push(std::function<void()> function, AsyncTaskPriority priority, const BarrierPtr& barrier,
                  std::string_view name) const;
    };
    /// How many threads each kind of work gets.
    struct ThreadCounts
    {
        u32 io = 1;
        u32 cpu = 1;
        u32 high = 1;
    };
    enum class Mode : u32
    {
        Boot = 0, ///< one pool and one executor for everything
        Game = 1, ///< a pool and an executor for computing, others for input and output
    };

    /// Starts the threads. @throws std::system_error when the system has no thread
    CoreTasks();
    CoreTasks(const CoreTasks&) = delete;
    CoreTasks& operator=(const CoreTasks&) = delete;
    /// Drops what is queued and ends the threads; each finishes the task that it is at.
    ~CoreTasks();

    Mode getMode() const noexcept { return mode; }
    const ThreadCounts& getThreadCounts() const noexcept { return counts; }
    /// In the boot configuration both are the same executor.
    const ExecutorHandle& getCpuExecutor() const noexcept { return cpuExecutor; }
    const ExecutorHandle& getIoExecutor() const noexcept { return ioExecutor; }
    SyncTaskQueue& getSyncQueue1() noexcept { return syncQueue1; }
    SyncTaskQueue& getSyncQueue2() noexcept { return syncQueue2; }
    Timer& getTimer() noexcept { return timer; }

private:
    void configureForBoot();
    void configureForGame();
    void finishExecutors();

    void send(TimerKind kind, std::function<void()> call, const char* name) override;
    SyncTaskQueue* syncQueue(TimerKind kind) override;
    void help(TimerKind kind) override;

    /// Held while the configuration is chosen.
    CriticalSection lock;
    Mode mode = Mode::Boot;
    ThreadCounts counts;
    // In the order of their making; they go the other way round.
    ExecHubThreadPool cpuPool{"CpuThreadPool"};
    ExecutorHandle cpuExecutor;
    ExecHubThreadPool ioPool{"ioThreadPool"};
    ExecutorHandle ioExecutor;
    SyncTaskQueue syncQueue1;
    SyncTaskQueue syncQueue2;
    Timer timer{*this};
};

/// The thread counts that the policy, if there is one, or the number of processors asks for.
CoreTasks::ThreadCounts chooseThreadCounts();

/// Starts the task system; nothing happens when it runs. A failure (`std::system_error`) leaves nothing behind.
void startCoreTasks();
/// Stops it; nothing happens when it doesn't run. The end of the process does so, too.
///
/// In the child of a fork there is no task system, whatever the parent has: its threads are not there.
void stopCoreTasks();
/// Null while it doesn't run. Valid until it is stopped, which is the caller's business to keep apart.
CoreTasks* coreTasks() noexcept;

/// Which configuration the next start takes: 2 means game, everything else boot. 0 at the start.
void setWantedCoreMode(u32 wanted) noexcept;
/// The thread that started the task system; 0 before the first start.
u32 mainThreadId() noexcept;
} // namespace zr
