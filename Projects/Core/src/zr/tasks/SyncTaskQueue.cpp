#include <zr/tasks/SyncTaskQueue.h>

#include <chrono>

#include <zr/log/Log.h>
#include <zr/tasks/ProcessPool.h>
#include <zr/threads/SpinWait.h>
#include <zr/threads/thread.h>

namespace zr
{
namespace
{
using Clock = std::chrono::steady_clock;

/// Seconds; a task that takes more is named in the log.
constexpr f64 kLongTask = 0.004;

constinit ProcessPool pool{sizeof(MainTask), 1024, "Projects/Core/src/zr/tasks/MainTask"};

f64 secondsBetween(Clock::time_point start, Clock::time_point end)
{
    return std::chrono::duration<f64>(end - start).count();
}
} // namespace

/// Makes the calling thread the drainer, unless there is another one. Within a task of its own it is that already.
class SyncTaskQueue::Draining
{
public:
    explicit Draining(std::atomic<u32>& drainingThread) noexcept : drainer(drainingThread)
    {
        const u32 self = thread::currentThreadId();
        u32 other = 0;
        isOutermost = drainer.compare_exchange_strong(other, self, std::memory_order_acquire);
        isMine = isOutermost || other == self;
    }
    Draining(const Draining&) = delete;
    Draining& operator=(const Draining&) = delete;
    ~Draining()
    {
        if (isOutermost) drainer.store(0, std::memory_order_release);
    }

    bool isMine;

private:
    std::atomic<u32>& drainer;
    bool isOutermost;
};

/// Counts a task as done when it goes, also by an exception.
class SyncTaskQueue::Settling
{
public:
    Settling(MainTask* dequeued, std::atomic<u32>& queuePending) noexcept : task(dequeued), pending(queuePending) {}
    Settling(const Settling&) = delete;
    Settling& operator=(const Settling&) = delete;
    ~Settling()
    {
        const BarrierPtr group = std::move(task->barrier);
        pool.destroy(task);
        pending.fetch_sub(1, std::memory_order_release);
        if (group) group->done();
    }

    MainTask* const task;

private:
    std::atomic<u32>& pending;
};

SyncTaskQueue::SyncTaskQueue() : stub(nullptr, {}), tail(&stub)
{
    stub.next = &stub;
}

SyncTaskQueue::~SyncTaskQueue()
{
    if (getPending() == 0) return;
    ZR_LOG(log::kCoreTag, log::kWarning, "zr::SyncTaskQueue is destructed with pending tasks on board");
    while (MainTask* const task = take())
        Settling dropped(task, pending);
}

void SyncTaskQueue::push(std::function<void()> function, const BarrierPtr& barrier, std::string_view name)
{
    MainTask* const task = pool.create<MainTask>(barrier, name);
    task->function = std::move(function);
    link(task);
}

void SyncTaskQueue::push(MainTask::PlainFunction function, void* context, const BarrierPtr& barrier,
                         std::string_view name)
{
    MainTask* const task = pool.create<MainTask>(barrier, name);
    task->plain = function;
    task->context = context;
    link(task);
}

void SyncTaskQueue::link(MainTask* task)
{
    pending.fetch_add(1, std::memory_order_relaxed);
    if (task->barrier) task->barrier->add();
    task->next.store(&stub, std::memory_order_relaxed);
    MainTask* const last = tail.hold();
    last->next.store(task, std::memory_order_release);
    tail.letGo(task);
}

MainTask* SyncTaskQueue::take() noexcept
{
    MainTask* const first = stub.next.load(std::memory_order_acquire);
    if (first == &stub) return nullptr;
    SpinWait wait;
    for (;;)
    {
        MainTask* const next = first->next.load(std::memory_order_acquire);
        if (next != &stub)
        {
            stub.next.store(next, std::memory_order_relaxed);
            return first;
        }
        // It looks like the last one. The head goes first: once the tail is the stub, a pusher may set it.
        stub.next.store(&stub, std::memory_order_relaxed);
        if (tail.replaceIf(first, &stub)) return first;
        stub.next.store(first, std::memory_order_relaxed);
        wait();
    }
}

f64 SyncTaskQueue::run(f64 budget)
{
    const Clock::time_point start = Clock::now();
    const Draining draining(drainer);
    while (MainTask* const task = draining.isMine ? take() : nullptr)
    {
        const Settling settling(task, pending);
        const Clock::time_point before = Clock::now();
        task->call();
        const Clock::time_point after = Clock::now();
        if (const f64 seconds = secondsBetween(before, after); seconds > kLongTask)
            ZR_LOG(log::kCoreTag, log::kWarning, "too long synchronous task '%.*s', duration: %fms",
                   static_cast<int>(task->name.view().size()), task->name.view().data(), seconds * 1000.0);
        if (secondsBetween(start, after) > budget) break;
    }
    return secondsBetween(start, Clock::now());
}
} // namespace zr
