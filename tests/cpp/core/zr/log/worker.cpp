#include <zr/log/Control.h>
#include <zr/log/Log.h>

#include <algorithm>
#include <cstdlib>
#include <sstream>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <zr/memory.h>

#include "../../capture.h"
#include "Soak.h"

namespace
{
using namespace zr::log;

constexpr int kThreads = 6;
const Rule kAll[] = {{}};

/// The numbers of each thread's lines, in the file's order.
std::vector<std::vector<int>> numbersIn(const std::string& content)
{
    std::vector<std::vector<int>> numbers(kThreads);
    std::istringstream lines(content);
    for (std::string line; std::getline(lines, line);)
    {
        std::size_t thread = kThreads;
        int number = -1;
        std::string rest;
        std::istringstream(line) >> thread >> number >> rest;
        EXPECT_EQ(rest, "end") << line;
        if (thread < kThreads) numbers[thread].push_back(number);
    }
    return numbers;
}

/// Lines of several threads, TRACE: these wait for room, and go to sinks alone.
void logFromThreads(int count)
{
    std::vector<std::jthread> threads;
    for (int thread = 0; thread < kThreads; ++thread)
        threads.emplace_back(
            [=]
            {
                for (int i = 0; i < count; ++i)
                    write("T", kTrace, "%d %d %*s", thread, i, i % 400, "end");
            });
}

std::atomic<int> heard{0};

void countAndLog(const Message& message, void*)
{
    heard += message.tag == std::string_view("T") && message.absoluteTime > 1e9;
    // More than there are records of this kind: a listener must not wait for itself.
    for (int i = 0; heard == 1 && i < 1100; ++i)
        write("L", kError | kTrace, "from a listener");
}

STRESS_TEST(LogWorker, WritesEveryLineOnceAndInOrder)
{
    const Rule onlyT[] = {{.tag = "T"}};
    for (const bool synchronous : {false, true})
    {
        const int count = synchronous ? 300 : 3000;
        const capture::File file;
        ASSERT_TRUE(start({.synchronous = synchronous}));
        EXPECT_TRUE(isUnwanted(kDebug));
        Sink* const sink = openSink(file.path.c_str(), 0, onlyT);
        EXPECT_FALSE(isUnwanted(kDebug));
        EXPECT_TRUE(isEnabled("T", kDebug) && !isEnabled("U", kDebug));
        heard = 0;
        addListener(countAndLog, nullptr);
        logFromThreads(count);
        stop();
        removeListener(countAndLog, nullptr);
        EXPECT_FALSE(isEnabled("T", kDebug));
        closeSink(sink);
        EXPECT_EQ(heard, kThreads * count);
        for (const auto& numbers : numbersIn(file.content()))
        {
            EXPECT_TRUE(std::is_sorted(numbers.begin(), numbers.end()));
            EXPECT_EQ(std::adjacent_find(numbers.begin(), numbers.end()), numbers.end());
            EXPECT_EQ(numbers.size(), static_cast<std::size_t>(count));
        }
    }
}

STRESS_TEST(LogWorker, StartsAndStopsWhileOthersLog)
{
    const capture::File file;
    Sink* const sink = openSink(file.path.c_str(), 0, kAll);
    {
        std::jthread control(
            [](const std::stop_token& stopped)
            {
                for (; !stopped.stop_requested(); stop())
                {
                    start();
                    closeSink(openSink("/dev/null", 0, kAll));
                    isEnabled("T", kError);
                }
            });
        logFromThreads(2000);
    }
    closeSink(sink);
    // Lines on the direct road may be lost; what is there is whole and came once.
    for (auto& numbers : numbersIn(file.content()))
    {
        std::sort(numbers.begin(), numbers.end());
        EXPECT_EQ(std::adjacent_find(numbers.begin(), numbers.end()), numbers.end());
    }
}

// The thread sanitizer lets such a child start no threads, and the heap of the other one may be locked in it for good.
#if !defined(__SANITIZE_THREAD__) && !defined(__SANITIZE_ADDRESS__)
// The child finds locks and flags as threads held them that aren't there.
TEST(LogWorker, AForkedChildLogs)
{
    const capture::File file;
    std::vector<Rule> rules(10'000, {.tag = "other"}); // so the sinks' lock is held nearly always
    rules.push_back({.tag = "T"});
    start();
    Sink* const sink = openSink(file.path.c_str(), 0, rules);
    std::jthread busy(
        [](const std::stop_token& stopped)
        {
            while (!stopped.stop_requested())
                write("busy", kTrace, "%s", "for nobody");
        });
    for (int i = 0; i < 40; ++i)
    {
        const pid_t child = fork();
        if (child == 0)
        {
            alarm(20);
            bool good = write("T", kTrace, "direct") && !isEnabled("T", kError);
            good = good && start() && write("T", kTrace, "child %d end", i) && isEnabled("T", kError);
            std::exit(good ? 0 : 1); // without stop: what is queued gets written
        }
        ASSERT_EQ(capture::endOf(child), 0) << i;
        EXPECT_EQ(capture::countOf(file.content(), "child " + std::to_string(i) + " end\n"), 1u);
    }
    busy.request_stop();
    busy.join();
    stop();
    closeSink(sink);
}
#endif

#if !defined(__SANITIZE_THREAD__) && !defined(__SANITIZE_ADDRESS__) // they need memory of their own
TEST(LogWorkerDeathTest, ExhaustionIsReportedWithoutMemory)
{
    const auto exhaust = [](bool started)
    {
        setAlertHandler(nullptr);
        if (started) start();
        const rlimit limit{std::size_t{1} << 30, std::size_t{1} << 30};
        setrlimit(RLIMIT_AS, &limit);
        for (std::size_t size = std::size_t{1} << 28; size > 0; size /= 2)
            for (void* volatile block = &size; block;)
                block = std::malloc(size);
        zr_malloc(5000); // more than the heap keeps ready for itself
    };
    for (const bool started : {false, true})
        EXPECT_EXIT(exhaust(started), testing::KilledBySignal(SIGABRT), "ALERT .*Out of memory in zr_malloc for 5000 ");
}
#endif
} // namespace
