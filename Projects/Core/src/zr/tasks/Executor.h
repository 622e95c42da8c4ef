#pragma once

#include <functional>
#include <string_view>

#include <zr/SharedGroupBarrier.h>

namespace zr
{
/// The lane of a task; lane 0 is looked at first.
enum class AsyncTaskPriority : u32
{
    kHighest = 0,
    kHigh = 1,
    kNormal = 2,
    kLow = 3,
    kLowest = 4,
};
constexpr u32 kNumLanes = 5;

/// Takes tasks from any thread and runs them on whatever thread asks it to. It has no threads of its own.
class Executor : public SharedLite
{
public:
    using PlainFunction = void (*)(void* context);

    virtual ~Executor() = default;

    /// Drops all that is queued, without calling it, and waits for what runs.
    virtual void finish() = 0;
    /// Returns when no task is outstanding.
    virtual void wait() = 0;
    /// The same, but for so many microseconds at most; null waits as long as it takes. Tells whether no task is
    /// outstanding now.
    virtual bool waitFor(const u64* microseconds) = 0;

    /// Runs the next task of the first lane that has one; false when none has. What a task raises passes through, with
    /// the task counted as done.
    virtual bool runOne(const char* caller) = 0;
    /// The same for one lane; a lane beyond the last counts as the last.
    virtual bool runOneOf(u32 lane, const char* caller) = 0;

    /// Queues a task. Its barrier, which may be null, counts it until it is done or dropped. While `finish` is at work
    /// the task is dropped at once.
    /// @throws std::runtime_error "SimpleQueueExecutor enqueue failed"
    virtual void push_task(std::function<void()> function, AsyncTaskPriority priority, const BarrierPtr& barrier,
                           std::string_view name) = 0;
    virtual void push_task(PlainFunction function, void* context, AsyncTaskPriority priority, const BarrierPtr& barrier,
                           std::string_view name) = 0;
};

using ExecutorPtr = Ptr<Executor, DefaultDeleter>;

/// An executor whose tasks lie in lanes.
class BandedExecutor : public Executor
{
};
} // namespace zr
