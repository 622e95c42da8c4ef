#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/resource.h>
#include <sys/syscall.h>

#include <platform/console.h>

#include "../../policy.h"

namespace
{
using zr::thread;

/// "name kernel's name|policy nice ioClass processors" as a thread with such settings finds them when it runs.
std::string seenBy(const thread::ThreadInfo& info, const std::string& name)
{
    std::string seen;
    const auto look = [&]
    {
        const char* const own = platform::currentThreadName();
        char kernel[32];
        pthread_getname_np(pthread_self(), kernel, sizeof(kernel));
        cpu_set_t set;
        sched_getaffinity(0, sizeof(set), &set);
        seen = fmt::format("{} {}|{} {} {} {}", own ? own : "none", kernel, sched_getscheduler(0),
                           getpriority(PRIO_PROCESS, 0), syscall(SYS_ioprio_get, 1, 0) >> 13, CPU_COUNT(&set));
    };
    thread(look, info, name);
    return seen;
}

TEST(Thread, NamesAndSettingsReachTheSystem)
{
    using enum thread::Priority;
    cpu_set_t set;
    sched_getaffinity(0, sizeof(set), &set);
    const int all = CPU_COUNT(&set);
    zr::i8 first = 0;
    while (!CPU_ISSET(first, &set))
        ++first;
    const int nice = getpriority(PRIO_PROCESS, 0);
    const int higher = geteuid() == 0 ? std::max(nice - 5, -20) : nice;
    const std::string longName = std::string(13, 'a') + "\u00e9\u00e9" + std::string(200, 'b');
    const zr::u64 one = zr::u64{1} << first;
    const std::pair<std::string, std::string> cases[] = {
        {seenBy({}, longName),
         fmt::format("{} {}|0 {} 0 {}", longName.substr(0, 127), longName.substr(0, 15), nice, all)},
        {seenBy({.priority = Idle}, "14 characters\u00e9."),
         fmt::format("14 characters\u00e9. 14 characters\u00e9|5 {} 3 {}", nice, all)},
        {seenBy({.priority = Low}, "15 characters.\u00e9"),
         fmt::format("15 characters.\u00e9 15 characters.|3 {} 0 {}", std::min(nice + 5, 19), all)},
        {seenBy({.priority = High}, "a"), fmt::format("a a|0 {} 0 {}", higher, all)},
        {seenBy({.priority = thread::Priority{5}, .idealCore = first}, "a"), fmt::format("a a|0 {} 0 {}", nice, all)},
        {seenBy({.affinity = one}, "a"), fmt::format("a a|0 {} 0 1", nice)},
        {seenBy({.affinity = one}, "").substr(0, 5) + std::to_string(thread::cpuCount()), fmt::format("none {}", all)},
    };
    for (const auto& [seen, expected] : cases)
        EXPECT_EQ(seen, expected);
}

NotingPolicy policy;

TEST(Thread, AHostsPolicyAndTheDebuggerAreTold)
{
    const auto stream = platform::setDebuggerStream([](const char* text, std::size_t) { policy.told += text; });
    zr::setThreadPolicy(&policy);
    {
        thread first([] { EXPECT_EQ(sched_getscheduler(0), SCHED_BATCH); }, 5, "worker");
        thread second = std::move(first);
        first.join();
        second.join();
        EXPECT_FALSE(second.joinable());
    }
    zr::setThreadPolicy(nullptr);
    platform::setDebuggerStream(stream);
    EXPECT_EQ(policy.told, "worker true\ncreated thread 'worker' (priority:1 mem:5 throttling:2 idealCore:-1 "
                           "affinity:101)\njoining true\n");
}

} // namespace
