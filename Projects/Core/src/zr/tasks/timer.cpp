#include <zr/tasks/timer.h>

#include <algorithm>
#include <chrono>
#include <mutex>
#include <thread>
#include <utility>

#include <fmt/format.h>

#include <platform/clock.h>
#include <zr/log/Log.h>
#include <zr/tasks/ProcessPool.h>

namespace zr
{
namespace
{
/// Seconds: the wait without entries, and the shortest one.
constexpr f64 kLongestWait = 1000.0;
constexpr f64 kShortestWait = 0.0011;

constinit ProcessPool pool{sizeof(TimerEntry), 128, "Projects/Core/src/zr/tasks/timer"};

std::atomic<u32> nextTimer{0};
std::atomic<u64> nextEntry{1};

/// The entry whose function runs on this thread.
thread_local const TimerEntry* calling = nullptr;

f64 now()
{
    return static_cast<f64>(platform::monotonicNanoseconds()) * 1e-9;
}
} // namespace

void TimerEntry::Deleter::operator()(TimerEntry* entry) const noexcept
{
    pool.destroy(entry);
}

Timer::Timer(ITimerTargets& timerTargets) : state(std::make_shared<State>())
{
    state->targets = &timerTargets;
    state->self = state;
    worker = thread([own = state] { own->run(); }, thread::Priority::Normal, 0,
                    fmt::format("TaskQueueTimer{}", nextTimer.fetch_add(1)));
}

Timer::~Timer()
{
    stop();
    // Entries that are on their way live on with their calls.
    const std::lock_guard guard(state->lock);
    state->entries.clear();
}

void Timer::stop()
{
    state->isRunning = false;
    state->changes.release();
    worker.join();
}

u64 Timer::add(TimerKind kind, std::function<bool()> function, f64 interval)
{
    const u64 id = nextEntry.fetch_add(1);
    EntryPtr entry(pool.create<TimerEntry>(kind, std::move(function), interval, id));
    {
        const std::lock_guard guard(state->lock);
        state->entries.push_back(std::move(entry));
    }
    state->changes.release();
    return id;
}

void Timer::remove(u64 id)
{
    const EntryPtr entry = state->take(id);
    if (!entry) return;
    state->changes.release();
    if (calling != entry.get()) waitForCall(*entry);
}

void Timer::waitForCall(const TimerEntry& entry)
{
    SyncTaskQueue* const queue = state->targets->syncQueue(entry.kind);
    while (entry.isBusy.load(std::memory_order_acquire))
    {
        if (queue)
            queue->run(1e10);
        else
            state->targets->help(entry.kind);
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

void Timer::State::run()
{
    f64 wait = kLongestWait;
    f64 last = now();
    while (isRunning)
    {
        changes.acquireFor(static_cast<i64>(std::max(wait, kShortestWait) * 1e9));
        const f64 time = now();
        wait = tick(time - last);
        last = time;
    }
}

/// Sends what is due after `passed` seconds more. Gives the seconds until there is something to do again.
f64 Timer::State::tick(f64 passed)
{
    f64 wait = kLongestWait;
    const std::lock_guard guard(lock);
    for (const EntryPtr& entry : entries)
    {
        if (entry->elapsed < 0.0)
        {
            entry->elapsed = 0.0;
            wait = std::min(wait, entry->interval);
            continue;
        }
        entry->elapsed += passed;
        if (entry->interval > entry->elapsed)
        {
            wait = std::min(wait, entry->interval - entry->elapsed);
            continue;
        }
        if (!entry->isBusy.exchange(true, std::memory_order_acquire)) send(entry);
        wait = std::min(wait, entry->interval);
    }
    return wait;
}

void Timer::State::send(const EntryPtr& entry)
{
    targets->send(entry->kind, [own = self.lock(), entry] { own->call(entry); }, log::kCoreTag);
}

/// Runs an entry's function. Its period starts anew when it goes, also by an exception.
class Timer::State::Calling
{
public:
    Calling(State& timerState, TimerEntry& called)
        : state(timerState),
          entry(called),
          outer(std::exchange(calling, &called))
    {
    }
    Calling(const Calling&) = delete;
    Calling& operator=(const Calling&) = delete;
    ~Calling()
    {
        calling = outer;
        const std::lock_guard guard(state.lock);
        entry.elapsed = 0.0;
        entry.isBusy.store(false, std::memory_order_release);
    }

    bool operator()() const { return entry.function(); }

private:
    State& state;
    TimerEntry& entry;
    const TimerEntry* const outer;
};

void Timer::State::call(const EntryPtr& entry)
{
    const bool goesOn = Calling(*this, *entry)();
    if (!goesOn && take(entry->id)) changes.release();
}

Timer::EntryPtr Timer::State::take(u64 id)
{
    const std::lock_guard guard(lock);
    const auto found =
        std::find_if(entries.begin(), entries.end(), [id](const EntryPtr& entry) { return entry->id == id; });
    if (found == entries.end()) return {};
    EntryPtr entry = std::move(*found);
    if (found != entries.end() - 1) *found = std::move(entries.back());
    entries.pop_back();
    return entry;
}
} // namespace zr
