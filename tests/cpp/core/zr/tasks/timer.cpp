#include <zr/tasks/timer.h>

#include <atomic>
#include <thread>

#include <gtest/gtest.h>

#include <zr/tasks/LaneExecutor.h>

#include "Soak.h"

namespace
{
using zr::TimerKind;

/// Kinds 0 to 2 go to one executor with one thread, the others to two queues that nobody drains by himself.
class Targets : public zr::ITimerTargets
{
public:
    ~Targets()
    {
        isStopping = true;
        executor.finish();
    }
    void send(TimerKind kind, std::function<void()> call, const char* name) override
    {
        ++sent;
        if (zr::SyncTaskQueue* queue = syncQueue(kind))
            queue->push(std::move(call), nullptr, name);
        else
            executor.push_task(std::move(call), zr::AsyncTaskPriority::kNormal, nullptr, name);
    }
    zr::SyncTaskQueue* syncQueue(TimerKind kind) override
    {
        return kind == TimerKind::kSync1 ? &queues[0] : kind == TimerKind::kSync2 ? &queues[1] : nullptr;
    }
    void help(TimerKind) override
    {
        if (zr::LaneExecutor::isWithinTask()) executor.runOne("help");
    }

    std::atomic<int> sent{0};
    zr::SyncTaskQueue queues[2];
    zr::LaneExecutor executor{"test"};

private:
    std::atomic<bool> isStopping{false};
    std::jthread worker{[this]
                        {
                            while (!isStopping)
                                if (!executor.runOne("worker")) std::this_thread::yield();
                        }};
};

template <class Condition>
void waitUntil(Condition condition)
{
    while (!condition())
        std::this_thread::yield();
}
} // namespace

TEST(Timer, CallsUntilTheFunctionSaysNo)
{
    Targets targets;
    zr::Timer timer(targets);
    std::atomic<int> calls{0};
    timer.add(TimerKind::kIo, [&] { return ++calls < 3; }, 0.002);
    std::atomic<int> others{0};
    timer.add(TimerKind::kCpuHigh, [&] { return ++others, true; }, 0.002);
    waitUntil([&] { return calls == 3; });
    const int before = others;
    waitUntil([&] { return others >= before + 3; }); // as much time as would do for more calls
    EXPECT_EQ(calls, 3);
}

TEST(Timer, HasOneCallOnItsWayAndRunsTheQueueInWhichARemovedOneWaits)
{
    Targets targets;
    zr::Timer timer(targets);
    std::atomic<int> ticks{0};
    bool ran = false;
    const zr::u64 id = timer.add(TimerKind::kSync1, [&] { return ran = true; }, 0.001);
    timer.add(TimerKind::kSync2, [] { return true; }, 0.001);
    timer.add(TimerKind::kIo, [&] { return ++ticks, true; }, 0.001);
    waitUntil([&] { return ticks >= 5; });
    EXPECT_EQ(targets.queues[0].getPending(), 1u);
    EXPECT_EQ(targets.queues[1].getPending(), 1u);
    timer.remove(id);
    EXPECT_TRUE(ran);
}

STRESS_TEST(Timer, RemovesAnEntryForGood)
{
    Targets targets;
    zr::Timer timer(targets);
    for (int round = 0; round < 50; ++round)
    {
        std::atomic<int> calls{0};
        std::atomic<bool> isGone{false};
        const zr::u64 id = timer.add(
            TimerKind::kCpuNormal,
            [&]
            {
                EXPECT_FALSE(isGone);
                return ++calls, true;
            },
            0.0);
        if (round % 2) waitUntil([&] { return calls > 0; });
        timer.remove(id);
        isGone = true;
        timer.remove(id);
    }
}

TEST(Timer, LetsAFunctionRemoveItselfOrAnotherOne)
{
    Targets targets;
    zr::Timer timer(targets);
    for (const TimerKind kind : {TimerKind::kCpuHigh, TimerKind::kSync1})
    {
        std::atomic<zr::u64> own{0};
        std::atomic<int> calls{0};
        const auto held = std::make_shared<int>(0);
        std::atomic<bool> isAlive{false};
        own = timer.add(
            kind,
            [&, weak = std::weak_ptr<int>(held), keep = held]
            {
                waitUntil([&] { return own != 0; });
                timer.remove(own);
                isAlive = !weak.expired();
                ++calls;
                return true;
            },
            0.001);
        waitUntil([&] { return targets.queues[0].run(0.0), calls > 0; });
        waitUntil([&] { return held.use_count() == 1; }); // the function dies behind its call
        EXPECT_TRUE(isAlive);
    }
    // The call of the other one stands behind this task on the only thread.
    std::atomic<bool> ran{false};
    targets.executor.push_task(
        [&]
        {
            const int before = targets.sent;
            const zr::u64 other = timer.add(TimerKind::kCpuHigh, [] { return true; }, 0.0);
            waitUntil([&] { return targets.sent > before; });
            timer.remove(other);
            ran = true;
        },
        zr::AsyncTaskPriority::kNormal, nullptr, "");
    waitUntil([&] { return ran.load(); });
}

TEST(Timer, SettlesACallThatRaises)
{
    Targets targets;
    zr::Timer timer(targets);
    const zr::u64 id = timer.add(TimerKind::kSync1, []() -> bool { throw std::runtime_error("call"); }, 0.001);
    for (int round = 0; round < 2; ++round)
    {
        waitUntil([&] { return targets.queues[0].getPending() == 1; });
        EXPECT_THROW(targets.queues[0].run(1.0), std::runtime_error);
    }
    try
    {
        timer.remove(id); // a third call may be on its way
    }
    catch (const std::runtime_error&)
    {
        timer.remove(id);
    }
}
