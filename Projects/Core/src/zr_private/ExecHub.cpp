#include <zr_private/ExecHub.h>

#include <algorithm>
#include <chrono>

#include <zr/assert/Assert.h>
#include <zr/log/Log.h>

namespace zr
{
namespace
{
/// How often a lane is asked in one round.
constexpr array<i32, ExecHub::Levels> kWeights{{8, 4, 2, 1, 1}};
/// A lane that has gone so many rounds without a task is asked once more; and where the count stops.
constexpr i32 kStarving = 64;
constexpr i32 kMostStarvation = 128;

u64 steadyNanoseconds()
{
    return static_cast<u64>(std::chrono::steady_clock::now().time_since_epoch() / std::chrono::nanoseconds(1));
}
/// Counts a worker while it looks for something to do.
class Counted
{
public:
    explicit Counted(std::atomic<u32>& counter) noexcept : count(counter)
    {
        count.fetch_add(1, std::memory_order_relaxed);
    }
    Counted(const Counted&) = delete;
    Counted& operator=(const Counted&) = delete;
    ~Counted() { count.fetch_sub(1, std::memory_order_relaxed); }

private:
    std::atomic<u32>& count;
};
} // namespace

ExecHub::ExecHub(const char* hubName) : schedule(std::make_shared<const Schedule>()), name(hubName)
{
    ZR_LOG(log::kCoreTag, log::kInfo, "[ExecHub] name=%s created.", name.c_str());
}

HubBinding ExecHub::attach_executor(const char* executorName, std::span<const int> lanes, const ExecutorPtr& executor)
{
    array<u64, Levels> regs;
    regs.fill(RegState::kInvalid);
    for (const int lane : lanes)
    {
        const int prio = std::clamp(lane, 0, Levels - 1);
        zr_assert(prio >= 0 && prio < Levels, "Invalid lane %d for executor %s", lane, executorName);
        u64& id = regs[static_cast<std::size_t>(prio)];
        zr_assert(regs[prio] == RegState::kInvalid, "Duplicate lane %d for executor %s", lane, executorName);
        if (id == RegState::kInvalid) id = attach(static_cast<u32>(prio), executorName, executor);
    }
    return {std::make_shared<RegState>(*this, regs), [](ExecHub* hub, u32 count) noexcept { hub->notify(count); },
            this};
}

u64 ExecHub::attach(u32 lane, const char* executorName, const ExecutorPtr& executor)
{
    const u64 id = nextId.fetch_add(1, std::memory_order_relaxed);
    for (;;)
    {
        const Snapshot current = schedule.load();
        auto changed = std::make_shared<Schedule>(*current);
        (*changed)[lane].push_back({id, lane, executor, 0, executorName});
        if (schedule.replace(current, std::move(changed))) return id;
    }
}

void ExecHub::detach(u32 lane, u64 id)
{
    const auto isMeant = [id](const Registration& registration) { return registration.id == id; };
    for (;;)
    {
        const Snapshot current = schedule.load();
        const auto& list = (*current)[lane];
        const auto found = std::find_if(list.begin(), list.end(), isMeant);
        if (found == list.end()) return;
        auto changed = std::make_shared<Schedule>(*current);
        (*changed)[lane].erase((*changed)[lane].begin() + (found - list.begin()));
        if (schedule.replace(current, std::move(changed))) return;
    }
}

bool ExecHub::run(const u64* spinDeadline, WorkerView* view)
{
    WorkerView own;
    WorkerView& mine = view ? *view : own;
    const auto tryOnce = [&]
    {
        schedule.refresh(mine.schedule, mine.version);
        return tryRun(*mine.schedule);
    };

    if (tryOnce()) return true;
    const Counted counted(sleepers);
    if (spinDeadline)
        while (steadyNanoseconds() < *spinDeadline)
            if (tryOnce()) return true;
    mine = {};
    semaphore.acquire();
    return tryOnce();
}

bool ExecHub::tryRun(const Schedule& lanes)
{
    for (u32 lane = 0; lane < kNumLanes; ++lane)
    {
        const bool isStarving = starvation[lane].load(std::memory_order_relaxed) >= kStarving;
        if (lanes[lane].empty() || !runLane(lanes, lane, kWeights[lane] + (isStarving ? 1 : 0))) continue;
        settleStarvation(lane);
        return true;
    }
    return false;
}

bool ExecHub::runLane(const Schedule& lanes, u32 lane, i32 attempts)
{
    const vector<Registration>& list = lanes[lane];
    const std::size_t count = list.size();
    for (i32 attempt = 0; attempt < attempts; ++attempt)
    {
        // A single executor comes first whatever the cursor says, and nobody else then waits for its cache line.
        const std::size_t start = count == 1 ? 0 : cursors[lane].fetch_add(1, std::memory_order_relaxed) % count;
        for (std::size_t i = 0; i < count; ++i)
            if (list[(start + i) % count].executor->runOneOf(lane, "ExecHub")) return true;
    }
    return false;
}

void ExecHub::settleStarvation(u32 servedLane) noexcept
{
    for (u32 lane = 0; lane < kNumLanes; ++lane)
    {
        std::atomic<i32>& count = starvation[lane];
        const i32 rounds = count.load(std::memory_order_relaxed);
        // Counts that have settled aren't written: all workers read them.
        if (lane == servedLane && rounds != 0) count.store(0, std::memory_order_relaxed);
        if (lane != servedLane && rounds < kMostStarvation) count.fetch_add(1, std::memory_order_relaxed);
    }
}

RegState::~RegState()
{
    for (u32 lane = 0; lane < kNumLanes; ++lane)
        if (ids[lane] != kInvalid) hub.detach(lane, ids[lane]);
}
} // namespace zr
