#include <zr/tasks/LaneExecutor.h>

#include <stdexcept>
#include <utility>

#include <zr/assert/Assert.h>

namespace zr
{
namespace
{
constexpr std::size_t kInitialCapacity = 32;
constexpr u32 kTasksPerChunk = 1024;

/// Tasks that the calling thread is within, one inside the other.
thread_local u32 taskDepth = 0;
} // namespace

/// Counts a task as done when it goes, also by an exception of the task's function. The record goes last: what its
/// function holds may own the group.
class LaneExecutor::Settling
{
public:
    Settling(TaskPtr&& dequeued, SharedGroupBarrier& executorBarrier) noexcept
        : task(std::move(dequeued)),
          ownBarrier(executorBarrier)
    {
        ++taskDepth;
    }
    Settling(const Settling&) = delete;
    Settling& operator=(const Settling&) = delete;
    ~Settling()
    {
        // The record goes back to the executor's pool before the count tells that the executor may go.
        const BarrierPtr group = std::move(task->barrier);
        task.reset();
        --taskDepth;
        ownBarrier.done();
        if (group) group->done();
    }

    TaskPtr task;

private:
    SharedGroupBarrier& ownBarrier;
};

LaneExecutor::LaneExecutor(std::string_view executorName)
    : name(executorName),
      tasks(sizeof(ExecutorTask), kTasksPerChunk, "ExecutorTask", 63),
      queues{Queue(kInitialCapacity), Queue(kInitialCapacity), Queue(kInitialCapacity), Queue(kInitialCapacity),
             Queue(kInitialCapacity)},
      barrier(SharedGroupBarrier::create("LaneExecutor Barrier"))
{
}

LaneExecutor::~LaneExecutor()
{
    if (barrier->getPending() != 0)
    {
        zr_assert(false, "~LaneExecutor(%s): tasks still inflight", name.c_str());
        // Whoever chose to go on gets an end without them.
        finish();
    }
}

bool LaneExecutor::isWithinTask() noexcept
{
    return taskDepth != 0;
}

void LaneExecutor::finish()
{
    isStopping = true;
    // A task whose pusher had looked at the flag before may come behind the look at its queue.
    do
    {
        for (Queue& queue : queues)
            for (TaskPtr task; queue.try_dequeue(task);)
                Settling dropped(std::move(task), *barrier);
    } while (!barrier->waitUntil(std::chrono::steady_clock::now() + std::chrono::milliseconds(1)));
    isStopping = false;
}

bool LaneExecutor::waitFor(const u64* microseconds)
{
    if (!microseconds)
    {
        wait();
        return true;
    }
    using Clock = std::chrono::steady_clock;
    const Clock::time_point now = Clock::now();
    const auto longest = std::chrono::duration_cast<std::chrono::microseconds>(Clock::time_point::max() - now);
    const bool isBounded = *microseconds < static_cast<u64>(longest.count());
    return barrier->waitUntil(isBounded ? now + std::chrono::microseconds(*microseconds) : Clock::time_point::max());
}

bool LaneExecutor::runOne(const char* caller)
{
    for (u32 lane = 0; lane < kNumLanes; ++lane)
        if (runOneOf(lane, caller)) return true;
    return false;
}

bool LaneExecutor::runOneOf(u32 lane, const char*)
{
    TaskPtr task;
    if (!queueOf(lane).try_dequeue(task)) return false;
    const Settling settling(std::move(task), *barrier);
    if (!isStopping.load(std::memory_order_relaxed)) settling.task->function();
    return true;
}

void LaneExecutor::push_task(std::function<void()> function, AsyncTaskPriority priority, const BarrierPtr& group,
                             std::string_view taskName)
{
    if (isStopping.load(std::memory_order_relaxed)) return;
    TaskPtr task(tasks.create<ExecutorTask>(std::move(function), group, taskName), TaskDeleter{&tasks});
    if (group) group->add();
    barrier->add();
    if (queueOf(static_cast<u32>(priority)).enqueue(std::move(task))) return;
    // A queue that can't take the task leaves it where it was.
    {
        Settling dropped(std::move(task), *barrier);
    }
    throw std::runtime_error("SimpleQueueExecutor enqueue failed");
}

void LaneExecutor::push_task(PlainFunction function, void* context, AsyncTaskPriority priority, const BarrierPtr& group,
                             std::string_view taskName)
{
    push_task([function, context] { function(context); }, priority, group, taskName);
}
} // namespace zr
