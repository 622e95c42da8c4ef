#include <zr/log/Listeners.h>

#include <atomic>
#include <mutex>

#include <platform/threads.h>
#include <zr/containers.h>
#include <zr/log/Control.h>
#include <zr/log/Line.h>
#include <zr/threads/CriticalSection.h>

namespace zr::log
{
namespace
{
struct Entry
{
    Listener listener;
    void* context;

    bool operator==(const Entry&) const = default;
};

constinit CriticalSection lock;
constinit std::atomic<u32> callingThread{0}; // of the call in progress, 0: none

constinit vector<Entry>* entries = nullptr; // under the lock; made for the first listener, and never ends
} // namespace

void callListeners(const LogRecord& record) noexcept
{
    if (insideListener()) return;
    const std::lock_guard guard(lock);
    if (!entries) return;
    callingThread.store(platform::currentThreadId(), std::memory_order_relaxed);
    const f64 base = static_cast<f64>(lineSettings.timeBase.load(std::memory_order_relaxed));
    const Message message{record.time,  record.tag,         record.text.c_str(),
                          record.level, base + record.time, record.threadName};
    for (const Entry& entry : *entries)
        entry.listener(message, entry.context);
    callingThread.store(0, std::memory_order_relaxed);
}

bool insideListener() noexcept
{
    return callingThread.load(std::memory_order_relaxed) == platform::currentThreadId();
}

void forgetListenerThreads() noexcept
{
    lock.forgetHolder();
    callingThread.store(0, std::memory_order_relaxed);
}

void addListener(Listener listener, void* context)
{
    const std::lock_guard guard(lock);
    if (!entries) entries = new vector<Entry>;
    entries->push_back({listener, context});
}

void removeListener(Listener listener, void* context) noexcept
{
    const std::lock_guard guard(lock);
    if (entries) std::erase(*entries, Entry{listener, context});
}
} // namespace zr::log
