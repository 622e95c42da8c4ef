// What a line of the log costs, as ratios to spdlog with the same line in the same run: to standard error behind a
// pipe, to a file, and a DEBUG line that nobody wants. Both sides hand each line to the system before they come back.
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <fmt/format.h>
#include <spdlog/pattern_formatter.h>
#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/sinks/stdout_sinks.h>
#include <spdlog/spdlog.h>
#include <unistd.h>

#include "support/measure.h"
#include <zr/log/Control.h>
#include <zr/log/Log.h>

namespace
{
constexpr int kLines = 50'000;
constexpr int kRounds = 15;
constexpr int kDisabledLines = 20'000'000;

void report(const char* what, int lines, double aim, const bench::Work& our, const bench::Work& peer)
{
    const std::vector<double> best = bench::bestByTurns({our, peer}, kRounds);
    bench::row(what, best[0] / best[1], aim,
               fmt::format("spdlog ({:.1f} ns a line, {:.1f} ns)", best[0] / lines * 1e9, best[1] / lines * 1e9));
}

std::shared_ptr<spdlog::logger> makePeer(spdlog::sink_ptr sink)
{
    auto logger = std::make_shared<spdlog::logger>("BENCH", std::move(sink));
    logger->set_formatter(std::make_unique<spdlog::pattern_formatter>("%Y-%m-%d %H:%M:%S.%e %-7l %n (%t): %v",
                                                                      spdlog::pattern_time_type::utc));
    logger->flush_on(spdlog::level::trace);
    return logger;
}

/// Standard error goes into a pipe that a thread empties, as long as this lives.
class PipedStandardError
{
public:
    PipedStandardError() : before(dup(STDERR_FILENO))
    {
        int ends[2];
        if (pipe(ends) != 0) std::abort();
        dup2(ends[1], STDERR_FILENO);
        close(ends[1]);
        reader = std::thread(
            [from = ends[0]]
            {
                static char part[1 << 16];
                while (read(from, part, sizeof(part)) > 0)
                {
                }
                close(from);
            });
    }
    ~PipedStandardError()
    {
        dup2(before, STDERR_FILENO); // the last writer is gone
        close(before);
        reader.join();
    }

private:
    int before;
    std::thread reader;
};

void benchPipe()
{
    const PipedStandardError piped;
    const auto peer = makePeer(std::make_shared<spdlog::sinks::stderr_sink_mt>());
    report(
        "log, standard error, a pipe", kLines, 1.0,
        []
        {
            for (int i = 0; i < kLines; ++i)
                ZR_LOG("BENCH", zr::log::kInfo, "frame %d of %s took %f ms", i, "the city", 16.25);
        },
        [&]
        {
            for (int i = 0; i < kLines; ++i)
                peer->info("frame {} of {} took {:f} ms", i, "the city", 16.25);
        });
}

void benchFile()
{
    const std::string path = "/tmp/log_bench_" + std::to_string(getpid());
    const zr::log::Rule all[] = {{}};
    using namespace zr::log;
    Sink* const sink = openSink((path + "_ours").c_str(), kUtcTime | kLabel | kTag | kThreadName, all);
    const auto peer = makePeer(std::make_shared<spdlog::sinks::basic_file_sink_mt>(path + "_peers"));
    peer->set_level(spdlog::level::trace);
    const auto our = []
    {
        for (int i = 0; i < kLines; ++i) // TRACE goes to sinks alone
            ZR_LOG("BENCH", kTrace, "frame %d of %s took %f ms", i, "the city", 16.25);
    };
    const auto peers = [&]
    {
        for (int i = 0; i < kLines; ++i)
            peer->trace("frame {} of {} took {:f} ms", i, "the city", 16.25);
    };
    report("log, file", kLines, 1.0, our, peers);
    peer->flush_on(spdlog::level::off);
    report("log, file, spdlog keeps lines back", kLines, bench::kNoAim, our, peers);
    closeSink(sink);
    unlink((path + "_ours").c_str());
    unlink((path + "_peers").c_str());
}

void benchDisabled()
{
    const auto peer = makePeer(std::make_shared<spdlog::sinks::stderr_sink_mt>());
    zr::log::start(); // a started log drops DEBUG lines that no sink wants
    const std::vector<double> best =
        bench::bestByTurns({[]
                            {
                                for (int i = 0; i < kDisabledLines; ++i)
                                    ZR_LOG("BENCH", zr::log::kDebug, "frame %d of %s took %f ms", i, "the city", 16.25);
                            },
                            [&]
                            {
                                for (int i = 0; i < kDisabledLines; ++i)
                                    peer->debug("frame {} of {} took {:f} ms", i, "the city", 16.25);
                            }},
                           kRounds);
    zr::log::stop();
    const double ours = best[0] / kDisabledLines * 1e9;
    bench::row("log, disabled DEBUG line", ours / 2.0, 1.0,
               fmt::format("two nanoseconds ({:.2f} ns, spdlog {:.2f} ns)", ours, best[1] / kDisabledLines * 1e9));
}
} // namespace

int main()
{
    std::printf("spdlog %d.%d.%d\n", SPDLOG_VER_MAJOR, SPDLOG_VER_MINOR, SPDLOG_VER_PATCH);
    benchPipe();
    benchFile();
    benchDisabled();
}
