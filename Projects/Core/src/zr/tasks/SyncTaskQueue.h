#pragma once

#include <atomic>
#include <functional>
#include <string_view>

#include <zr/SharedGroupBarrier.h>
#include <zr/tasks/MainTask.h>
#include <zr/threads/HeldList.h>

namespace zr
{
/// Tasks for a thread that runs them by itself, when it likes. Any thread may push; one at a time drains.
///
///     head ─> task ─> task ─> task ─> stub       A pusher holds the tail, links its task behind the one that stood
///                              ^                  there, and lets the tail go to its task. Of an empty queue the tail
///                             tail                is the stub itself, whose link is the head.
///
/// Only the drainer takes tasks off and moves the head, so there is no lock at that end: a task whose link is still the
/// stub may just be getting a successor, which the drainer settles by trying to put the tail back to the stub. If that
/// fails a pusher has taken the tail, and the link appears within its next few instructions.
///
/// Orders: a pusher releases by the link that makes its task reachable, the drainer acquires by reading it.
class SyncTaskQueue
{
public:
    SyncTaskQueue();
    SyncTaskQueue(const SyncTaskQueue&) = delete;
    SyncTaskQueue& operator=(const SyncTaskQueue&) = delete;
    /// Tasks that are left are dropped, uncalled, with a warning.
    ~SyncTaskQueue();

    /// Queues a task. Its barrier, which may be null, counts it until it is done or dropped.
    void push(std::function<void()> function, const BarrierPtr& barrier, std::string_view name);
    void push(MainTask::PlainFunction function, void* context, const BarrierPtr& barrier, std::string_view name);

    /// Runs tasks in the order in which they came, until the queue is empty or more than `budget` seconds are spent,
    /// which is tested after each task. Nothing happens while another thread drains; the drainer itself may call it
    /// from a task. What a task raises passes through, with the task counted as done. returns  the seconds that it took
    f64 run(f64 budget);

    /// Whether a thread is within `run`.
    bool isDrained() const noexcept { return drainer.load(std::memory_order_relaxed) != 0; }
    /// Tasks that are queued or running.
    u32 getPending() const noexcept { return pending.load(std::memory_order_acquire); }

private:
    class Draining;
    class Settling;

    void link(MainTask* task);
    /// The first task, off the queue; null when there is none.
    MainTask* take() noexcept;

    std::atomic<u32> pending{0};
    /// The system's number of the thread within `run`; 0 for none.
    std::atomic<u32> drainer{0};
    alignas(64) MainTask stub;
    alignas(64) HeldPointer<MainTask> tail;
};
} // namespace zr
