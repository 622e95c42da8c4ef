// Empty tasks against oneTBB's task group and Boost.Asio's thread pool, the object pool against malloc, and how long a
// sleeping worker takes to wake. The rivals take turns, so that a drift of the machine touches all; best of the rounds.
#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <thread>
#include <vector>

#include <boost/asio/post.hpp>
#include <boost/asio/thread_pool.hpp>
#include <fmt/format.h>
#include <tbb/global_control.h>
#include <tbb/task_arena.h>
#include <tbb/task_group.h>

#include "support/measure.h"
#include <zr/log/Control.h>
#include <zr/tasks/LaneExecutor.h>
#include <zr_private/ExecHubThreadPool.h>

namespace
{
using bench::Clock;
using zr::AsyncTaskPriority;

constexpr int kRounds = 5;

constexpr int kTasks = 1000000;

/// All threads, the calling one among them, run what the calling one pushed.
void ours(zr::ExecHubThreadPool& pool, const zr::HubBinding& binding, zr::Executor& executor, int burst)
{
    for (int done = 0; done < kTasks; done += burst)
    {
        for (int i = 0; i < burst; ++i)
        {
            executor.push_task([] {}, AsyncTaskPriority::kHighest, nullptr, "empty");
            if (i == 0) binding.notify(binding.hub, static_cast<zr::u32>(pool.getThreadCount()));
        }
        while (executor.runOneOf(0, "main"))
        {
        }
        executor.wait();
    }
}

void theirs(tbb::task_arena& arena, int burst)
{
    arena.execute(
        [burst]
        {
            for (int done = 0; done < kTasks; done += burst)
            {
                tbb::task_group group;
                for (int i = 0; i < burst; ++i)
                    group.run([] {});
                group.wait();
            }
        });
}

void post(boost::asio::thread_pool& pool, int burst)
{
    for (int done = 0; done < kTasks; done += burst)
    {
        std::atomic<int> left{burst};
        for (int i = 0; i < burst; ++i)
            boost::asio::post(pool, [&left] { left.fetch_sub(1, std::memory_order_release); });
        while (left.load(std::memory_order_acquire) != 0)
            std::this_thread::yield();
    }
}

void benchTasks(int numThreads, int burst)
{
    zr::ExecHubThreadPool pool("bench");
    pool.start(numThreads - 1, zr::thread::Priority::Normal, "bench");
    const zr::ExecutorPtr executor(new zr::LaneExecutor("bench"));
    const int lanes[] = {0};
    const zr::HubBinding binding = pool.getHub().attach_executor("bench", lanes, executor);

    const tbb::global_control limit(tbb::global_control::max_allowed_parallelism, static_cast<std::size_t>(numThreads));
    tbb::task_arena arena(numThreads);
    boost::asio::thread_pool asioPool(static_cast<std::size_t>(numThreads));
    const std::vector<double> best = bench::bestByTurns(
        {
            [&] { ours(pool, binding, *executor, burst); },
            [&] { theirs(arena, burst); },
            [&] { post(asioPool, burst); },
        },
        kRounds);
    const std::string threads = bench::threadsText(static_cast<std::size_t>(numThreads));
    const auto print = [&](const char* peer, double seconds)
    {
        bench::row(
            fmt::format("empty tasks, bursts of {}, {}, {}", fmt::group_digits(burst), threads, peer),
            best[0] / seconds, 1.0,
            fmt::format("{} ({:.0f} ns a task, {:.0f} ns)", peer, best[0] / kTasks * 1e9, seconds / kTasks * 1e9));
    };
    print("oneTBB's task group", best[1]);
    print("Boost.Asio's pool", best[2]);
}

constexpr int kElements = 2000000;
constexpr std::size_t kElementSize = 192;

/// Each thread takes and gives back a few elements at a time.
template <class Take, class Give>
void churn(int numThreads, Take take, Give give)
{
    std::vector<std::jthread> threads;
    for (int i = 0; i < numThreads; ++i)
        threads.emplace_back(
            [=]
            {
                std::array<void*, 16> held;
                for (int round = 0; round < kElements / static_cast<int>(held.size()); ++round)
                {
                    for (void*& element : held)
                        *static_cast<char*>(element = take()) = 1;
                    for (void* element : held)
                        give(element);
                }
            });
}

/// Each thread takes elements that its neighbour gives back, as tasks are.
template <class Take, class Give>
void handOver(int numThreads, Take take, Give give)
{
    struct alignas(64) Ring
    {
        std::array<std::atomic<void*>, 256> places{};
    };
    std::vector<Ring> rings(static_cast<std::size_t>(numThreads));
    std::vector<std::jthread> threads;
    for (std::size_t thread = 0; thread < rings.size(); ++thread)
        threads.emplace_back(
            [&, thread]
            {
                Ring& to = rings[thread];
                Ring& from = rings[(thread + 1) % rings.size()];
                for (std::size_t i = 0; i < kElements / 4; ++i)
                {
                    if (void* const old = to.places[i % 256].exchange(take(), std::memory_order_acq_rel)) give(old);
                    if (void* const got = from.places[i % 256].exchange(nullptr, std::memory_order_acq_rel)) give(got);
                }
            });
    threads.clear();
    for (Ring& ring : rings)
        for (std::atomic<void*>& place : ring.places)
            if (void* const left = place) give(left);
}

void benchPool(int numThreads)
{
    zr::ObjectPool pool(kElementSize, 1024, "bench");
    const auto take = [&pool] { return pool.acquire(); };
    const auto give = [&pool](void* element) { pool.release(element); };
    const auto allocate = [] { return std::malloc(kElementSize); };
    const auto release = [](void* element) { std::free(element); };
    const std::vector<double> best = bench::bestByTurns(
        {
            [&] { churn(numThreads, take, give); },
            [&] { churn(numThreads, allocate, release); },
            [&] { handOver(numThreads, take, give); },
            [&] { handOver(numThreads, allocate, release); },
        },
        kRounds);
    const std::string threads = bench::threadsText(static_cast<std::size_t>(numThreads));
    const auto print = [&](const char* what, std::size_t our, int elements)
    {
        bench::row(fmt::format("object pool, {}, {}", what, threads), best[our] / best[our + 1],
                   numThreads > 1 ? 0.5 : bench::kNoAim,
                   fmt::format("malloc and free ({:.1f} ns an element)", best[our] / elements * 1e9));
    };
    print("each thread its own", 0, kElements);
    print("handed to the next thread", 2, kElements / 4);
}

void benchWakeUp()
{
    zr::ExecHubThreadPool pool("bench");
    pool.start(1, zr::thread::Priority::Normal, "bench");
    const zr::ExecutorPtr executor(new zr::LaneExecutor("bench"));
    const int lanes[] = {0};
    const zr::HubBinding binding = pool.getHub().attach_executor("bench", lanes, executor);
    std::vector<double> latencies;
    for (int i = 0; i < 1000; ++i)
    {
        std::this_thread::sleep_for(std::chrono::microseconds(200));
        Clock::time_point end;
        const Clock::time_point start = Clock::now();
        executor->push_task([&end] { end = Clock::now(); }, AsyncTaskPriority::kHighest, nullptr, "wake");
        binding.notify(binding.hub, 1);
        executor->wait();
        latencies.push_back(std::chrono::duration<double>(end - start).count());
    }
    std::nth_element(latencies.begin(), latencies.begin() + 500, latencies.end());
    std::printf("a sleeping worker is at its task after %.1f us (median)\n", latencies[500] * 1e6);
}
} // namespace

int main()
{
    zr::log::setDebuggerOnly(true);
    for (const int burst : {kTasks, 1000})
        for (const int threads : {1, 2, 4})
            benchTasks(threads, burst);
    for (const int threads : {1, 4})
        benchPool(threads);
    benchWakeUp();
}
