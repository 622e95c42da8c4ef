#pragma once

#include <atomic>

#include <zr/log/Control.h>
#include <zr/log/LogRecord.h>
#include <zr/threads/HeldList.h>
#include <zr/threads/Semaphore.h>
#include <zr/threads/thread.h>

/// The road of messages while the log is started: records from two pools, a queue, and a thread that empties it.
///
/// A record is in one place at a time, and these move it:
///
///     pool --acquire, a producer--> producer --submit--> queue --takeAll, the worker--> worker --release--> its pool
///     (synchronous: the producer does the worker's part and releases)
///
/// Pools and queue are lists of HeldList.h; their pages say why a record's content goes along. The queue is pushed at
/// its head and taken whole: reversed, what was taken is in the order of the pushes, and what comes later is behind it.
///
/// The reserved pool's semaphore counts the records of its list: acquired before each pop, released after each push.
/// So a pop after an acquire always finds a record, though perhaps not the one that was released for it.
///
/// Start and stop. A producer counts itself in `producers` and then looks whether the log is started; stop clears
/// `started` and then waits until nobody is counted. All four steps are sequentially consistent: were they weaker, a
/// producer could still see the log started while stop already reads no producer. After that nobody pushes, and the
/// worker is told to end as soon as the queue is empty.
namespace zr::log
{
class WorkerRoad
{
public:
    /// All records in their pools.
    WorkerRoad() noexcept;

    /// Makes messages take this road; false when no thread can be had. Not while it is started.
    bool start(const Options& newOptions) noexcept;
    bool isStarted() const noexcept { return started.load(); }
    /// Comes back when every message that took this road is written. Not from a listener.
    void stop() noexcept;

    /// Counts the caller as a producer; false, not counted, when the log isn't started.
    bool enter() noexcept;
    void leave() noexcept { producers.fetch_sub(1, std::memory_order_release); }

    // For producers alone:

    /// A record for a message of this level, or null.
    LogRecord* acquire(u32 level) noexcept;
    /// Has a record written and released, now or by the worker.
    void submit(LogRecord* record) noexcept;
    /// Whether a sink takes such a message, once everything before it is written.
    bool isEnabled(const char* tag, u32 level) noexcept;

    /// Waits until nothing is queued, at most that long. False when the time ran out.
    bool waitUntilIdle(i64 nanoseconds) const noexcept;

    /// In the child of a fork: gives up the thread, which isn't there.
    /// Keeps the road that was left behind before it.
    void forget(WorkerRoad* leftBefore) noexcept
    {
        worker.forget();
        leftBehind = leftBefore;
    }

private:
    static constexpr std::size_t kPoolSize = 1024;

    struct FilterQuery;

    void release(LogRecord* record) noexcept;
    void push(LogRecord* record) noexcept;
    void run() noexcept;
    void process(LogRecord* record) noexcept;
    bool onWorker() const noexcept { return workerId.load(std::memory_order_relaxed) == platform::currentThreadId(); }

    Options options;
    std::atomic<bool> started{false};
    std::atomic<bool> running{false};
    std::atomic<bool> ending{false};
    std::atomic<u32> producers{0};
    std::atomic<u32> workerId{0};

    HeldList<LogRecord> freeList;
    HeldList<LogRecord> reservedList;
    Semaphore reservedCount{0};
    HeldList<LogRecord> queue;
    std::atomic<u32> queued{0}; // records pushed and not yet written
    Semaphore work{0};
    thread worker;
    WorkerRoad* leftBehind = nullptr; // so that no leak checker takes it for lost

    LogRecord freePool[kPoolSize];
    LogRecord reservedPool[kPoolSize];
};

/// The road, or null while the log was never started (or not since the fork that made this process).
WorkerRoad* workerRoad() noexcept;

/// In the child of a fork.
void forgetWorkerThreads() noexcept;
} // namespace zr::log
