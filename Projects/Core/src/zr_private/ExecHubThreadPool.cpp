#include <zr_private/ExecHubThreadPool.h>

#include <algorithm>

#include <fmt/format.h>

namespace zr
{
ExecHubThreadPool::ExecHubThreadPool(const char* poolName) : hub(poolName), name(poolName) {}

void ExecHubThreadPool::start(i32 count, thread::Priority priority, std::string_view threadName)
{
    vector<thread::ThreadInfo> infos(static_cast<std::size_t>(std::max(count, 0)));
    for (thread::ThreadInfo& info : infos)
        info.priority = priority;
    start(count, infos.data(), threadName);
}

void ExecHubThreadPool::start(i32 count, const thread::ThreadInfo* infos, std::string_view threadName)
{
    stop();
    isStopping = false;
    threads.reserve(static_cast<std::size_t>(std::max(count, 0)));
    for (i32 i = 0; i < count; ++i)
        threads.emplace_back([this] { work(); }, infos[i], fmt::format("{}-{}", threadName, i));
}

void ExecHubThreadPool::stop()
{
    isStopping = true;
    // One for the sleep that a worker is in, one for the sleep that it may fall into before it sees the flag.
    hub.notify(2 * static_cast<u32>(threads.size()));
    for (thread& worker : threads)
        worker.join();
    threads.clear();
}

void ExecHubThreadPool::work()
{
    ExecHub::WorkerView view;
    while (!isStopping.load(std::memory_order_acquire))
        hub.run(&spinDeadline, &view);
}
} // namespace zr
