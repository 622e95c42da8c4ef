#include <zr_private/CoreTasks.h>

#include <algorithm>
#include <mutex>
#include <optional>

#include <fmt/format.h>

#include <zr/log/Log.h>
#include <zr/tasks/LaneExecutor.h>

namespace zr
{
namespace
{
constexpr u32 kGameWanted = 2;
/// Classes of threads and pools, as an `IThreadPolicy` knows them.
constexpr u32 kCpuThreads = 0;
constexpr u32 kIoThreads = 2;
constexpr u32 kCpuPoolClass = 1;
constexpr u32 kIoPoolClass = 7;

std::atomic<u32> wantedMode{0};
std::atomic<u32> startingThread{0};

void startPipeline(ExecHubThreadPool& pool, const char* name, u32 poolClass, thread::Priority priority, u32 count)
{
    IThreadPolicy* const policy = threadPolicy();
    if (!policy)
    {
        ZR_LOG(log::kCoreTag, log::kInfo, "IThreadPolicy policy is not avalible");
        pool.start(static_cast<i32>(count), priority, name);
        return;
    }
    std::optional<vector<thread::ThreadInfo>> infos = policy->getPoolInfos(poolClass, count);
    if (!infos) infos.emplace(count);
    for (thread::ThreadInfo& info : *infos)
        info.priority = priority;
    pool.start(static_cast<i32>(infos->size()), infos->data(), name);
}

/// A new executor on all lanes of a pool's hub.
CoreTasks::ExecutorHandle makeExecutor(ExecHubThreadPool& pool, const char* name)
{
    static constexpr int kAllLanes[] = {0, 1, 2, 3, 4};
    const ExecutorPtr executor(new LaneExecutor(name));
    return {pool.getHub().attach_executor(name, kAllLanes, executor), executor};
}
} // namespace

void CoreTasks::ExecutorHandle::push(std::function<void()> function, AsyncTaskPriority priority,
                                     const BarrierPtr& barrier, std::string_view name) const
{
    executor->push_task(std::move(function), priority, barrier, name);
    binding.notify(binding.hub, 1);
}

CoreTasks::ThreadCounts chooseThreadCounts()
{
    CoreTasks::ThreadCounts counts;
    IThreadPolicy* const policy = threadPolicy();
    const u32 cpus = policy ? policy->getThreadCount(kCpuThreads) : thread::cpuCount();
    const u32 reserved = policy ? policy->getReservedThreadCount(kIoThreads) : 0;
    const u32 others = !policy ? 4 : reserved != 0 ? 2 : 3;
    counts.high = std::min(cpus, 2u);
    counts.io = reserved != 0 ? reserved : std::min(cpus, 2u);
    counts.cpu = std::min(std::max(cpus > others ? cpus - others : 0, 2u), cpus);
    return counts;
}

CoreTasks::CoreTasks()
{
    startingThread = thread::currentThreadId();
    counts = chooseThreadCounts();
    const std::lock_guard guard(lock);
    mode = wantedMode == kGameWanted ? Mode::Game : Mode::Boot;
    if (mode == Mode::Game)
        configureForGame();
    else
        configureForBoot();
}

CoreTasks::~CoreTasks()
{
    {
        const std::lock_guard guard(lock);
    }
    timer.stop();
    finishExecutors();
}

void CoreTasks::configureForBoot()
{
    cpuExecutor = makeExecutor(cpuPool, "BootExecutor");
    ioExecutor = cpuExecutor;
    startPipeline(cpuPool, "AsyncBootPipeline", kCpuPoolClass, thread::Priority::Normal, thread::cpuCount());
}

void CoreTasks::configureForGame()
{
    ioExecutor = makeExecutor(ioPool, "ioExecutor");
    cpuExecutor = makeExecutor(cpuPool, "generalExecutor");
    const u32 cpuThreads = counts.high + counts.cpu;
    startPipeline(cpuPool, "AsyncCpuPipeline", kCpuPoolClass, thread::Priority::Normal, cpuThreads);
    startPipeline(ioPool, "AsyncIOPipeline", kIoPoolClass, thread::Priority::Idle, counts.io);
    const std::string text = fmt::format("Created game pool: h:{} n:{}", cpuThreads, counts.io);
    ZR_LOG(log::kCoreTag, log::kInfo, "%s", text.c_str());
}

/// Nothing is queued or running behind it. What a thread of the host pushes later is its own affair.
void CoreTasks::finishExecutors()
{
    for (const ExecutorHandle* handle : {&ioExecutor, &cpuExecutor})
        if (handle->executor) handle->executor->finish();
}

void CoreTasks::send(TimerKind kind, std::function<void()> call, const char* name)
{
    if (SyncTaskQueue* const queue = syncQueue(kind))
        queue->push(std::move(call), nullptr, name);
    else if (kind == TimerKind::kIo)
        ioExecutor.push(std::move(call), AsyncTaskPriority::kNormal, nullptr, name);
    else
        cpuExecutor.push(std::move(call),
                         kind == TimerKind::kCpuHigh ? AsyncTaskPriority::kHigh : AsyncTaskPriority::kNormal, nullptr,
                         name);
}

SyncTaskQueue* CoreTasks::syncQueue(TimerKind kind)
{
    return kind == TimerKind::kSync1 ? &syncQueue1 : kind == TimerKind::kSync2 ? &syncQueue2 : nullptr;
}

void CoreTasks::help(TimerKind kind)
{
    // Elsewhere the pool's threads get there by themselves.
    if (!LaneExecutor::isWithinTask()) return;
    const ExecutorHandle& handle = kind == TimerKind::kIo ? ioExecutor : cpuExecutor;
    const AsyncTaskPriority lane = kind == TimerKind::kCpuHigh ? AsyncTaskPriority::kHigh : AsyncTaskPriority::kNormal;
    handle.executor->runOneOf(static_cast<u32>(lane), "Timer");
}

namespace
{
std::atomic<CoreTasks*> running{nullptr};
/// Held during a start, so that there is never a second one beside it.
CriticalSection starting;

struct StopAtExit
{
    ~StopAtExit()
    {
        stopCoreTasks();
        delete setThreadPolicy(nullptr);
    }
} stopAtExit;

/// The child of a fork has none of the threads, and their locks may be held: all of it is left alone.
void forgetCoreTasks() noexcept
{
    running = nullptr;
    starting.forgetHolder();
}
} // namespace

void startCoreTasks()
{
    static const bool isRegistered = (platform::onForkedChild(forgetCoreTasks), true);
    static_cast<void>(isRegistered);
    const std::lock_guard guard(starting);
    if (!running.load()) running = new CoreTasks;
}

void stopCoreTasks()
{
    delete running.exchange(nullptr);
}

CoreTasks* coreTasks() noexcept
{
    return running.load(std::memory_order_acquire);
}

void setWantedCoreMode(u32 wanted) noexcept
{
    wantedMode = wanted;
}

u32 mainThreadId() noexcept
{
    return startingThread;
}
} // namespace zr
