#include <zr/log/WorkerRoad.h>

#include <cmath>
#include <exception>
#include <mutex>

#include <platform/clock.h>
#include <zr/log/Alert.h>
#include <zr/log/Console.h>
#include <zr/log/Line.h>
#include <zr/log/Listeners.h>
#include <zr/log/Log.h>
#include <zr/log/LogClock.h>
#include <zr/log/Sinks.h>
#include <zr/threads/CriticalSection.h>

namespace zr::log
{
namespace
{
constinit std::atomic<WorkerRoad*> road{nullptr};
constinit std::atomic<u32> reservedMask{0x8000 | kAlert | kError | kErrorOnce | kTrace};
constinit std::atomic<u64> dropped{0};
constinit CriticalSection controlLock; // one start or stop at a time

/// The order of the pushes, of what `HeldList::takeAll` gave.
LogRecord* reversed(LogRecord* record) noexcept
{
    LogRecord* result = nullptr;
    while (record)
    {
        LogRecord* const next = record->next;
        record->next = result;
        result = record;
        record = next;
    }
    return result;
}
} // namespace

struct WorkerRoad::FilterQuery : LogRecord
{
    bool passes = false;
    Semaphore answered{0};
};

WorkerRoad::WorkerRoad() noexcept
{
    for (LogRecord& record : freePool)
        freeList.push(&record);
    for (LogRecord& record : reservedPool)
        reservedList.push(&record);
    reservedCount.release(kPoolSize);
}

bool WorkerRoad::start(const Options& newOptions) noexcept
{
    options = newOptions;
    ending.store(false, std::memory_order_relaxed);
    if (!options.synchronous)
    {
        try
        {
            worker = thread([this] { run(); }, 0, "LogWorker");
        }
        catch (const std::exception&)
        {
            return false;
        }
    }
    const f64 base = static_cast<f64>(platform::wallClockSeconds()) - clockSeconds();
    lineSettings.timeBase.store(static_cast<i64>(std::llround(base)), std::memory_order_relaxed);
    running.store(true, std::memory_order_relaxed);
    started.store(true);
    updateUnwantedLevels(true);
    return true;
}

void WorkerRoad::stop() noexcept
{
    if (!started.load()) return;
    // A handler or listener that ends the process: stop would wait for the message that it is called for.
    if (onWorker() || insideListener() || insideAlertHandler()) return;
    updateUnwantedLevels(false);
    started.store(false);
    // Those who wait for a reserved record get one, as the worker goes on.
    for (SpinWait wait; producers.load() != 0;)
        wait();
    running.store(false, std::memory_order_relaxed);
    if (!worker.joinable()) return;
    ending.store(true, std::memory_order_relaxed);
    work.release();
    worker.join();
}

bool WorkerRoad::enter() noexcept
{
    if (!started.load(std::memory_order_relaxed)) return false;
    producers.fetch_add(1);
    if (started.load()) return true;
    leave();
    return false;
}

LogRecord* WorkerRoad::acquire(u32 level) noexcept
{
    LogRecord* record = nullptr;
    if (options.allReserved || level & reservedMask.load(std::memory_order_relaxed))
    {
        // The worker and what runs on it would wait for themselves.
        const bool mayWait = running.load(std::memory_order_relaxed) && !onWorker() && !insideListener();
        if (mayWait) reservedCount.acquire();
        if (mayWait || reservedCount.tryAcquire()) record = reservedList.pop();
    }
    else
        record = freeList.pop();
    if (!record) dropped.fetch_add(1, std::memory_order_relaxed);
    return record;
}

void WorkerRoad::release(LogRecord* record) noexcept
{
    record->reset();
    if (record >= freePool && record < freePool + kPoolSize)
        freeList.push(record);
    else
    {
        reservedList.push(record);
        reservedCount.release();
    }
}

void WorkerRoad::push(LogRecord* record) noexcept
{
    queued.fetch_add(1, std::memory_order_relaxed);
    queue.push(record);
    work.release();
}

void WorkerRoad::submit(LogRecord* record) noexcept
{
    if (!options.synchronous)
        push(record);
    else
        process(record);
}

void WorkerRoad::process(LogRecord* record) noexcept
{
    if (record->kind == RecordKind::FilterQuery)
    {
        auto* const query = static_cast<FilterQuery*>(record);
        query->passes = sinksTake(query->tagView(), query->level, query->threadNameView());
        query->answered.release(); // the query is its asker's again
        return;
    }
    writeToSinks(*record, options.synchronous);
    writeToConsole(*record);
    callListeners(*record);
    release(record);
}

void WorkerRoad::run() noexcept
{
    workerId.store(platform::currentThreadId(), std::memory_order_relaxed);
    for (;;)
    {
        work.acquire();
        for (LogRecord* record = reversed(queue.takeAll()); record;)
        {
            LogRecord* const next = record->next;
            process(record);
            queued.fetch_sub(1, std::memory_order_release);
            record = next;
        }
        // Nobody pushes any more when `ending` is set, so an empty queue stays empty.
        if (ending.load(std::memory_order_relaxed) && queue.isEmpty()) break;
    }
    workerId.store(0, std::memory_order_relaxed);
}

bool WorkerRoad::isEnabled(const char* tag, u32 level) noexcept
{
    FilterQuery query;
    query.kind = RecordKind::FilterQuery;
    query.fill(tag, level);
    if (options.synchronous || onWorker()) return sinksTake(query.tagView(), level, query.threadNameView());
    push(&query);
    query.answered.acquire();
    return query.passes;
}

bool WorkerRoad::waitUntilIdle(i64 nanoseconds) const noexcept
{
    if (onWorker()) return false;
    const u64 start = platform::monotonicNanoseconds();
    for (SpinWait wait; queued.load(std::memory_order_acquire) != 0;)
    {
        if (static_cast<i64>(platform::monotonicNanoseconds() - start) > nanoseconds) return false;
        wait();
    }
    return true;
}

WorkerRoad* workerRoad() noexcept
{
    return road.load(std::memory_order_acquire);
}

bool start(const Options& options) noexcept
{
    const std::lock_guard guard(controlLock);
    WorkerRoad* current = workerRoad();
    if (!current) // it is never freed: somebody may be on it at any time
        road.store(current = new (zr_malloc(sizeof(WorkerRoad))) WorkerRoad, std::memory_order_release);
    return !current->isStarted() && current->start(options);
}

void stop() noexcept
{
    const std::lock_guard guard(controlLock);
    if (WorkerRoad* const current = workerRoad()) current->stop();
}

bool flush(i64 nanoseconds) noexcept
{
    const WorkerRoad* const current = workerRoad();
    return !current || current->waitUntilIdle(nanoseconds);
}

u64 droppedMessages() noexcept
{
    return dropped.load(std::memory_order_relaxed);
}

void setReservedMask(u32 levels) noexcept
{
    reservedMask.store(levels, std::memory_order_relaxed);
}

void forgetWorkerThreads() noexcept
{
    controlLock.forgetHolder();
    // What the fork found half done stays so; the next start makes a road of its own.
    static constinit WorkerRoad* leftBehind = nullptr;
    if (WorkerRoad* const current = road.exchange(nullptr))
    {
        current->forget(leftBehind);
        leftBehind = current;
    }
}

namespace
{
/// What is queued when the process ends in the ordinary way still gets written.
struct StopAtExit
{
    ~StopAtExit() { stop(); }
} stopAtExit;
} // namespace
} // namespace zr::log
