#pragma once

#include <functional>
#include <optional>
#include <string_view>

#include <platform/threads.h>
#include <zr/containers.h>

namespace zr
{
/// A thread of the system with the settings that the task system controls. It starts with the object and is joined
/// by the destructor at the latest. Objects are not shared between threads: start and join belong to the owner.
class thread
{
public:
    /// What the scheduler makes of a thread; other values change nothing.
    enum class Priority : u32
    {
        Idle = 0, ///< only when nobody else wants the processor, and in background mode
        Low = 1,
        Normal = 2,
        High = 3,
        Critical = 4,
    };

    struct ThreadInfo
    {
        Priority priority = Priority::Normal;
        u32 memoryPriority = 5; ///< 0 to 5
        u32 throttling = 2;     ///< power throttling: 0 never, 1 always, 2 as the system decides
        u64 affinity = 0;       ///< processors, one bit each; 0: none given
        i8 idealCore = -1;      ///< negative: none

        bool operator==(const ThreadInfo&) const = default;
    };

    /// No thread.
    thread() noexcept = default;

    /// Starts a thread that calls `function`, under `name` (UTF-8, may be empty; the system gets 127 bytes of it).
    /// A setting that the system refuses is ignored; the thread makes them itself before it calls the function. An
    /// exception that leaves the function ends the process.
    ///
    /// Raises `std::system_error` when the system can't create the thread.
    thread(std::function<void()> function, const ThreadInfo& info, std::string_view name);
    thread(std::function<void()> function, Priority priority, u64 affinity, std::string_view name);
    thread(std::function<void()> function, u64 affinity, std::string_view name);

    thread(thread&& other) noexcept;
    /// Joins the thread that this object had before.
    thread& operator=(thread&& other);
    ~thread();

    /// Whether a thread is attached, running or ended.
    bool joinable() const noexcept { return static_cast<bool>(handle); }

    /// Waits for the thread's end; nothing when there is no thread. `std::system_error` when the system can't wait,
    /// with the thread given up.
    void join();

    /// In the child of a fork alone: gives up the thread, which isn't there, without waiting.
    void forget() noexcept { handle = {}; }

    const ThreadInfo& getInfo() const noexcept { return info; }
    /// The name in full.
    const basic_string<char>& getName() const noexcept { return name; }
    /// 0 when there is no thread.
    u32 getId() const noexcept { return handle.id; }

    /// The number of processors that the process may use.
    static u32 cpuCount() noexcept { return platform::processorCount(); }
    static u32 currentThreadId() noexcept { return platform::currentThreadId(); }

private:
    platform::ThreadHandle handle;
    ThreadInfo info;
    basic_string<char> name;
};

/// A host's say in the threads of the core; see `setThreadPolicy`.
class IThreadPolicy
{
public:
    virtual ~IThreadPolicy() = default;
    /// The settings of a pool's threads; none: the pool's own.
    virtual std::optional<vector<thread::ThreadInfo>> getPoolInfos(u32 poolClass, u32 threads) = 0;
    /// Called before the new thread runs; may change its settings.
    virtual void onThreadCreated(const char* name, thread::ThreadInfo& info, u32 threadId) = 0;
    virtual void onThreadJoining(u32 threadId) = 0;
    /// Nobody calls it; it keeps its place in the order.
    virtual void reserved() = 0;
    virtual u32 getThreadCount(u32 threadClass) = 0;
    virtual u32 getReservedThreadCount(u32 threadClass) = 0;
};

/// The process-wide policy; null at the start.
IThreadPolicy* threadPolicy() noexcept;
/// Sets the policy, null for none, and gives the one before. The core never ends a policy by itself: who ends the
/// runtime at unload does, after the last pool.
IThreadPolicy* setThreadPolicy(IThreadPolicy* policy) noexcept;

/// The affinity of named threads that have none of their own; 0, at the start, means none.
void setDefaultAffinity(u64 mask) noexcept;
} // namespace zr
