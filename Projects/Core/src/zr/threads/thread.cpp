#include <zr/threads/thread.h>

#include <algorithm>
#include <atomic>
#include <cstring>
#include <memory>
#include <system_error>
#include <utility>

#include <fmt/format.h>

#include <platform/console.h>
#include <zr/format.h>
#include <zr/log/Log.h>
#include <zr/threads/Semaphore.h>

namespace zr
{
namespace
{
std::atomic<IThreadPolicy*> policy{nullptr};
std::atomic<u64> defaultAffinity{0};

[[noreturn]] void raiseSystemError(platform::Error error, const char* format)
{
    char text[128];
    formatText(text, sizeof(text), format, static_cast<unsigned long long>(error.number));
    throw std::system_error(error.number, std::system_category(), text);
}

/// What a new thread needs; its own as soon as it runs.
struct Start
{
    static constexpr std::size_t kNameLength = 127;

    std::function<void()> function;
    thread::ThreadInfo info; // set before `ready`
    char name[kNameLength + 1];
    Semaphore ready;
};

/// The thread's own settings are made on the thread: by its number alone another could be hit once it has ended.
void applySettings(const thread::ThreadInfo& info, bool named)
{
    platform::setThreadPriority(static_cast<u32>(info.priority));
    platform::setMemoryPriority(info.memoryPriority);
    platform::setPowerThrottling(info.throttling);
    const u64 affinity = info.affinity ? info.affinity : defaultAffinity.load(std::memory_order_relaxed);
    if (named && affinity != 0) platform::setThreadAffinity(affinity);
    if (info.idealCore >= 0) platform::setIdealProcessor(static_cast<u32>(info.idealCore));
}

[[gnu::format(printf, 1, 0)]] void warn(const char* format, platform::Error error)
{
    log::write(log::kCoreTag, log::kWarning, format, static_cast<unsigned long>(platform::currentThreadId()),
               static_cast<unsigned long>(error.number));
}

/// Background mode until `leave`; nothing when it isn't wanted or can't be had.
class BackgroundMode
{
public:
    explicit BackgroundMode(bool wanted)
    {
        if (!wanted) return;
        const platform::Error error = platform::enterBackgroundMode();
        entered = !error;
        if (error) warn("THREAD_MODE_BACKGROUND_BEGIN failed (tid=%lu, err=%lu)", error);
    }

    void leave()
    {
        if (!entered) return;
        if (const platform::Error error = platform::leaveBackgroundMode())
            warn("THREAD_MODE_BACKGROUND_END failed (tid=%lu, err=%lu)", error);
    }

private:
    bool entered = false;
};

void runThread(void* argument)
{
    std::unique_ptr<Start> start(static_cast<Start*>(argument));
    start->ready.acquire();
    // All on this stack: in the child of a fork, where the thread is no more, nothing of it is left over.
    char name[Start::kNameLength + 1];
    std::memcpy(name, start->name, sizeof(name));
    std::function<void()> function = std::move(start->function);
    const thread::ThreadInfo info = start->info;
    start.reset();
    const bool named = name[0] != '\0';
    if (named) platform::nameCurrentThread(name);
    applySettings(info, named);
    BackgroundMode background(info.priority == thread::Priority::Idle);
    try
    {
        function();
    }
    catch (...)
    {
        // Nobody further out will catch it; without this the thread would end in background mode.
        background.leave();
        throw;
    }
    function = nullptr;
    background.leave();
    platform::nameCurrentThread(nullptr);
}
} // namespace

thread::thread(std::function<void()> function, const ThreadInfo& wanted, std::string_view threadName)
    : info(wanted),
      name(threadName)
{
    auto start = std::make_unique<Start>();
    start->function = std::move(function);
    const std::size_t length = std::min(name.size(), Start::kNameLength);
    std::memcpy(start->name, name.data(), length);
    start->name[length] = '\0';
    if (const platform::Error error = platform::startThread(runThread, start.get(), handle))
        raiseSystemError(error, "Error on check if thread is joinable with code %llu.");
    Start* const started = start.release();
    if (IThreadPolicy* const host = threadPolicy()) host->onThreadCreated(name.c_str(), info, handle.id);
    started->info = info;
    started->ready.release();

    const auto text =
        fmt::format("created thread '{}' (priority:{} mem:{} throttling:{} idealCore:{} affinity:{:b})\n",
                    name.empty() ? "unnamed" : name.c_str(), static_cast<u32>(info.priority), info.memoryPriority,
                    info.throttling, static_cast<int>(info.idealCore), info.affinity);
    platform::writeDebugger(text.c_str(), text.size());
}

thread::thread(std::function<void()> function, Priority priority, u64 affinity, std::string_view threadName)
    : thread(std::move(function), ThreadInfo{.priority = priority, .affinity = affinity}, threadName)
{
}

thread::thread(std::function<void()> function, u64 affinity, std::string_view threadName)
    : thread(std::move(function), ThreadInfo{.affinity = affinity}, threadName)
{
}

thread::thread(thread&& other) noexcept
    : handle(std::exchange(other.handle, {})),
      info(other.info),
      name(std::move(other.name))
{
}

thread& thread::operator=(thread&& other)
{
    if (this == &other) return *this;
    join();
    handle = std::exchange(other.handle, {});
    info = other.info;
    name = std::move(other.name);
    return *this;
}

thread::~thread()
{
    join();
}

void thread::join()
{
    if (!joinable()) return;
    if (IThreadPolicy* const host = threadPolicy()) host->onThreadJoining(handle.id);
    if (const platform::Error error = platform::joinThread(std::exchange(handle, {})))
        raiseSystemError(error, "Wait for working thread failed with code %llu.");
}

IThreadPolicy* threadPolicy() noexcept
{
    return policy.load(std::memory_order_acquire);
}

IThreadPolicy* setThreadPolicy(IThreadPolicy* newPolicy) noexcept
{
    return policy.exchange(newPolicy, std::memory_order_acq_rel);
}

void setDefaultAffinity(u64 mask) noexcept
{
    defaultAffinity.store(mask, std::memory_order_relaxed);
}
} // namespace zr
