#include <zr/log/Log.h>

#include <new>

#include <platform/threads.h>
#include <zr/log/Alert.h>
#include <zr/log/Console.h>
#include <zr/log/Control.h>
#include <zr/log/Listeners.h>
#include <zr/log/LogClock.h>
#include <zr/log/LogRecord.h>
#include <zr/log/Sinks.h>
#include <zr/log/WorkerRoad.h>

namespace zr::log
{
namespace
{
constinit std::atomic<bool> debuggerOnly{false};

/// The road of messages while the log isn't started: the calling thread writes them, one thread at a time.
class DirectRoad
{
public:
    /// The one record; null while another thread has it. Acquire and release hand its content on.
    static LogRecord* acquire() noexcept
    {
        bool expected = false;
        if (!busy.compare_exchange_strong(expected, true, std::memory_order_acquire, std::memory_order_relaxed))
            return nullptr;
        // Made once, under the flag, and never ended: statics of others log while they end.
        alignas(LogRecord) static constinit char storage[sizeof(LogRecord)] = {};
        static constinit LogRecord* record = nullptr;
        if (!record) record = new (storage) LogRecord;
        return record;
    }

    static void submit(LogRecord* record) noexcept
    {
        if (debuggerOnly.load(std::memory_order_relaxed))
            writeToDebugger(*record);
        else
        {
            writeToSinks(*record, false);
            writeToConsole(*record);
        }
        record->reset();
        forget();
    }

    static void forget() noexcept { busy.store(false, std::memory_order_release); }

private:
    static inline constinit std::atomic<bool> busy{false};
};

/// The road that one message takes from its record on, whatever starts or stops meanwhile.
class Road
{
public:
    Road() noexcept : worker(workerRoad())
    {
        if (worker && !worker->enter()) worker = nullptr;
    }
    Road(const Road&) = delete;
    Road& operator=(const Road&) = delete;
    ~Road()
    {
        if (worker) worker->leave();
    }

    LogRecord* acquire(u32 level) noexcept { return worker ? worker->acquire(level) : DirectRoad::acquire(); }
    void submit(LogRecord* record) noexcept { worker ? worker->submit(record) : DirectRoad::submit(record); }

private:
    WorkerRoad* worker;
};

/// The other threads of the process are no more: what they held is free, and the worker's road is left behind.
void forgetOtherThreads() noexcept
{
    forgetWorkerThreads();
    forgetSinkThreads();
    forgetConsoleThreads();
    forgetListenerThreads();
    DirectRoad::forget();
}

[[maybe_unused]] const int forkHandler = (platform::onForkedChild(forgetOtherThreads), 0);
} // namespace

bool write(const char* tag, u32 level, const char* format, ...) noexcept
{
    if (isUnwanted(level)) return true;
    Road road;
    LogRecord* const record = road.acquire(level);
    if (!record)
    {
        raiseAlert("...message is too long...", level);
        return false;
    }
    record->fill(tag, level);
    std::va_list arguments;
    va_start(arguments, format);
    record->format(format, arguments);
    va_end(arguments);
    raiseAlert(record->text.c_str(), level);
    record->time = clockSeconds(); // of the end of an alert, not of its beginning
    road.submit(record);
    return true;
}

bool isEnabled(const char* tag, u32 level) noexcept
{
    WorkerRoad* const worker = workerRoad();
    if (!worker || !worker->enter()) return false;
    const bool result = worker->isEnabled(tag, level);
    worker->leave();
    return result;
}

void setDebuggerOnly(bool only) noexcept
{
    debuggerOnly.store(only, std::memory_order_relaxed);
}
} // namespace zr::log
