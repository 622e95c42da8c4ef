#pragma once

#include <atomic>
#include <string_view>

#include <zr/containers.h>
#include <zr/threads/thread.h>
#include <zr_private/ExecHub.h>

namespace zr
{
/// Threads that run a hub's tasks. Started and stopped by its owner; the hub may be used from anywhere.
class ExecHubThreadPool
{
public:
    /// A pool without threads; its hub gets the same name.
    explicit ExecHubThreadPool(const char* poolName);
    ExecHubThreadPool(const ExecHubThreadPool&) = delete;
    ExecHubThreadPool& operator=(const ExecHubThreadPool&) = delete;
    ~ExecHubThreadPool() { stop(); }

    ExecHub& getHub() noexcept { return hub; }

    /// Stops what runs, then starts threads that are called `name`-0, `name`-1 and so on. None for a count below 1.
    /// @throws std::system_error when the system has no thread; those that were started before it run on
    void start(i32 count, thread::Priority priority, std::string_view name);
    void start(i32 count, const thread::ThreadInfo* infos, std::string_view name);

    /// Ends the threads: each finishes the task that it is at. Tasks that are queued stay so.
    void stop();

    std::size_t getThreadCount() const noexcept { return threads.size(); }

private:
    void work();

    ExecHub hub;
    /// A point of the steady clock in nanoseconds, until when idle workers look on before they sleep: they never do.
    u64 spinDeadline = 0;
    vector<thread> threads;
    std::atomic<bool> isStopping{false};
    string name;
};
} // namespace zr
