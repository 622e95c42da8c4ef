#pragma once

#include <atomic>
#include <functional>
#include <memory>

#include <zr/Ptr.h>
#include <zr/containers.h>
#include <zr/tasks/Executor.h>
#include <zr/tasks/SyncTaskQueue.h>
#include <zr/threads/CriticalSection.h>
#include <zr/threads/Semaphore.h>
#include <zr/threads/thread.h>

namespace zr
{
/// Where the calls of a timer entry run.
enum class TimerKind : u32
{
    kCpuHigh = 0,   ///< the executor for computing, lane 1
    kCpuNormal = 1, ///< the same, lane 2
    kIo = 2,        ///< the executor for input and output, lane 2
    kSync1 = 3,     ///< the first synchronous queue
    kSync2 = 4,     ///< the second
};

/// What a timer sends its calls to.
class ITimerTargets
{
public:
    /// Queues a call where the kind says, and wakes a thread for it.
    virtual void send(TimerKind kind, std::function<void()> call, const char* name) = 0;
    /// The queue of a synchronous kind; null for the others.
    virtual SyncTaskQueue* syncQueue(TimerKind kind) = 0;
    /// Runs one waiting task of the kind's executor on this thread, if the thread is within a task of it.
    virtual void help(TimerKind kind) = 0;

protected:
    ~ITimerTargets() = default;
};

/// A function that is called again and again.
struct TimerEntry : SharedLite
{
    struct Deleter
    {
        void operator()(TimerEntry* entry) const noexcept;
    };

    TimerEntry(TimerKind entryKind, std::function<bool()>&& call, f64 seconds, u64 number)
        : kind(entryKind),
          function(std::move(call)),
          interval(seconds),
          id(number)
    {
    }

    const TimerKind kind;
    const std::function<bool()> function;
    /// Seconds.
    const f64 interval;
    /// Seconds of the present period; negative until the first tick. Under the timer's lock.
    f64 elapsed = -1.0;
    /// A call is on its way or running.
    std::atomic<bool> isBusy{false};
    const u64 id;
};

/// Turns time into tasks. It has a thread of its own, on which no function of an entry ever runs.
class Timer
{
public:
    /// Starts the thread "TaskQueueTimer" with the next number of the process. The targets must outlive the calls that
    /// were sent to them.
    explicit Timer(ITimerTargets& timerTargets);
    /// Stops. Calls that were sent may still come, also when the timer is gone.
    ~Timer();

    /// Calls the function each `interval` seconds from now on, for as long as it returns true. An entry whose call
    /// takes longer than that is not called a second time meanwhile. Any thread may add. returns  the entry's id, which
    /// no other entry of the process gets
    u64 add(TimerKind kind, std::function<bool()> function, f64 interval);

    /// Ends an entry; nothing for an id that isn't there. When it comes back the function is not running and won't be
    /// called again, unless it was the function that called this: then it dies behind the call. A call that waits in a
    /// synchronous queue is waited for: the queue is run here when no other thread drains it.
    void remove(u64 id);

    /// Ends the thread: nothing is sent any more. The destructor does it, too.
    void stop();

private:
    using EntryPtr = Ptr<TimerEntry, TimerEntry::Deleter>;

    /// What calls on their way need; it lives as long as the last of them.
    struct State
    {
        class Calling;

        void run();
        f64 tick(f64 passed);
        void send(const EntryPtr& entry);
        void call(const EntryPtr& entry);
        EntryPtr take(u64 id);

        ITimerTargets* targets = nullptr;
        Semaphore changes;
        std::atomic<bool> isRunning{true};
        CriticalSection lock;
        vector<EntryPtr> entries;
        /// Calls hold the state, so that it can outlive its timer.
        std::weak_ptr<State> self;
    };

    void waitForCall(const TimerEntry& entry);

    std::shared_ptr<State> state;
    thread worker;
};
} // namespace zr
