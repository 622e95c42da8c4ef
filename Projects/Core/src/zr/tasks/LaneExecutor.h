#pragma once

#include <array>
#include <atomic>
#include <memory>

#include <concurrentqueue.h>

#include <zr/containers.h>
#include <zr/tasks/Executor.h>
#include <zr/tasks/ObjectPool.h>
#include <zr/tasks/taskName.h>

namespace zr
{
/// The record of a pushed task.
struct ExecutorTask
{
    ExecutorTask(std::function<void()>&& call, const BarrierPtr& group, std::string_view text)
        : function(std::move(call)),
          barrier(group),
          name(text)
    {
    }

    // What every task needs comes first, in one cache line; most names are short.
    std::function<void()> function;
    BarrierPtr barrier;
    TaskName name;
};

/// An executor with one lock-free queue a lane. Tasks of one lane that one thread pushed come out in that order.
class LaneExecutor final : public BandedExecutor
{
public:
    explicit LaneExecutor(std::string_view executorName);
    /// Tasks in flight are a failed assertion.
    ~LaneExecutor() override;

    void finish() override;
    void wait() override { barrier->wait(); }
    bool waitFor(const u64* microseconds) override;
    bool runOne(const char* caller) override;
    bool runOneOf(u32 lane, const char* caller) override;
    void push_task(std::function<void()> function, AsyncTaskPriority priority, const BarrierPtr& group,
                   std::string_view taskName) override;
    void push_task(PlainFunction function, void* context, AsyncTaskPriority priority, const BarrierPtr& group,
                   std::string_view taskName) override;

    const string& getName() const noexcept { return name; }

    /// Whether the calling thread is within a task of some executor: if it waited for another task, that might wait for
    /// it.
    static bool isWithinTask() noexcept;

private:
    struct TaskDeleter
    {
        void operator()(ExecutorTask* task) const noexcept { pool->destroy(task); }
        ObjectPool* pool;
    };
    using TaskPtr = std::unique_ptr<ExecutorTask, TaskDeleter>;
    using Queue = moodycamel::ConcurrentQueue<TaskPtr>;
    class Settling;

    Queue& queueOf(u32 lane) noexcept { return queues[std::min(lane, kNumLanes - 1)]; }

    string name;
    /// Before the queues, which give what is left in them back to it.
    ObjectPool tasks;
    std::array<Queue, kNumLanes> queues;
    std::atomic<bool> isStopping{false};
    /// Counts every task of this executor.
    BarrierPtr barrier;
};
} // namespace zr
