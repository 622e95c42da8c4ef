#pragma once
// What all programs share: wall time of rivals that take turns, and rows for the table that ./dev bench ends with, as
// in rows.py.
#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

namespace bench
{
using Clock = std::chrono::steady_clock;
using Work = std::function<void()>;

inline double secondsOf(const Work& work)
{
    const Clock::time_point start = Clock::now();
    work();
    return std::chrono::duration<double>(Clock::now() - start).count();
}

/// Best time of each; they take turns, so that a drift of the machine touches all.
inline std::vector<double> bestByTurns(const std::vector<Work>& rivals, int rounds)
{
    std::vector<double> best(rivals.size(), 1e9);
    for (int round = 0; round < rounds; ++round)
        for (std::size_t i = 0; i < rivals.size(); ++i)
            best[i] = std::min(best[i], secondsOf(rivals[i]));
    return best;
}

constexpr double kNoAim = 0.0;

/// Prints a line and keeps it; the ratio should be at most `aim`, judged by the digits that are shown.
inline void row(const std::string& name, double ratio, double aim, const std::string& details)
{
    const char* const verdict = aim == kNoAim ? "" : std::round(100.0 * ratio) <= 100.0 * aim ? "met" : "missed";
    std::printf("%-60s %6.2f x %s", name.c_str(), ratio, details.c_str());
    if (aim != kNoAim) std::printf("   (aim: at most %g, %s)", aim, verdict);
    std::puts("");
    std::fflush(stdout);
    const char* const path = std::getenv("ZRM_BENCH_ROWS");
    std::FILE* const file = path ? std::fopen(path, "a") : nullptr;
    if (!file) return;
    const std::string aimText = aim == kNoAim ? "null" : std::to_string(aim);
    std::fprintf(file, "{\"program\": \"%s\", \"row\": \"%s\", \"ratio\": %.4f, \"aim\": %s}\n",
                 program_invocation_short_name, name.c_str(), ratio, aimText.c_str());
    std::fclose(file);
}

inline std::string threadsText(std::size_t count)
{
    return std::to_string(count) + (count == 1 ? " thread" : " threads");
}
} // namespace bench
