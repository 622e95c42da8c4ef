#pragma once

#include <array>
#include <atomic>
#include <memory>
#include <span>

#include <zr/array.h>
#include <zr/containers.h>
#include <zr/tasks/Executor.h>
#include <zr/threads/Semaphore.h>
#include <zr_private/SnapshotCell.h>

namespace zr
{
class RegState;
struct HubBinding;

/// A scheduler without threads of its own: executors attach to its lanes, and worker threads ask it for the next task.
///
/// Any thread may call anything at any time. Workers look at a snapshot of the attachments, which no writer changes and
/// which keeps its executors alive, so the search for a task takes no lock.
class alignas(64) ExecHub
{
public:
    static constexpr int Levels = kNumLanes;

    /// One executor on one lane.
    struct Registration
    {
        u64 id;
        u32 lane;
        ExecutorPtr executor;
        u8 flag;
        string name;

        bool operator==(const Registration& other) const { return id == other.id; }
    };
    /// All attachments, by lane. Never changed once it is published.
    using Schedule = array<vector<Registration>, Levels>;
    using Snapshot = SnapshotCell<Schedule>::Snapshot;

    /// What a worker keeps between two calls of `run`, so that a schedule that stays as it is costs nothing.
    struct WorkerView
    {
        Snapshot schedule;
        u64 version = 0;
    };

    /// Logs that it was created.
    explicit ExecHub(const char* hubName);

    /// Attaches an executor to lanes; a lane outside 0 to 4 counts as the nearest. The attachments end with the last
    /// owner of the binding's state, which must not outlive the hub. A lane twice is a failed assertion, and counts
    /// once.
    HubBinding attach_executor(const char* executorName, std::span<const int> lanes, const ExecutorPtr& executor);

    /// Runs the next task. When there is none: tries on until the steady clock's nanoseconds reach `*spinDeadline`
    /// (null: never), then sleeps until it is notified, and tries once more. view     null or the calling worker's own;
    /// it holds nothing while the worker sleeps returns  whether a task ran
    bool run(const u64* spinDeadline, WorkerView* view = nullptr);

    /// Wakes up to `count` sleeping workers, or keeps as many others from falling asleep.
    void notify(u32 count) noexcept { semaphore.release(count); }

    /// Workers within `run` that have found nothing to do so far.
    u32 getSleeperCount() const noexcept { return sleepers.load(std::memory_order_relaxed); }

private:
    friend class RegState;

    bool tryRun(const Schedule& schedule);
    bool runLane(const Schedule& schedule, u32 lane, i32 attempts);
    void settleStarvation(u32 servedLane) noexcept;
    u64 attach(u32 lane, const char* executorName, const ExecutorPtr& executor);
    void detach(u32 lane, u64 id);

    Semaphore semaphore;
    SnapshotCell<Schedule> schedule;
    std::atomic<u64> nextId{0};
    std::atomic<u32> sleepers{0};
    /// Rounds that each lane has gone without a task. Lost updates do no harm: it only steers fairness.
    std::array<std::atomic<i32>, Levels> starvation{};
    std::array<std::atomic<u64>, Levels> cursors{};
    string name;
};

/// Holds attachments: when it goes, they end.
class RegState
{
public:
    static constexpr u64 kInvalid = ~u64{0};

    RegState(ExecHub& owner, const array<u64, ExecHub::Levels>& registrations) : hub(owner), ids(registrations) {}
    RegState(const RegState&) = delete;
    RegState& operator=(const RegState&) = delete;
    ~RegState();

private:
    ExecHub& hub;
    /// By lane; `kInvalid` where nothing is attached.
    const array<u64, ExecHub::Levels> ids;
};

/// What attaching gives: its owner, and how to wake workers for a pushed task: `notify(hub, count)`.
struct HubBinding
{
    std::shared_ptr<RegState> state;
    void (*notify)(ExecHub* hub, u32 count) noexcept = nullptr;
    ExecHub* hub = nullptr;
};
} // namespace zr
