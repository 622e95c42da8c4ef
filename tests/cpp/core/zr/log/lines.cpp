#include <zr/log/Control.h>
#include <zr/log/Log.h>

#include <algorithm>
#include <csignal>
#include <vector>

#include <fmt/format.h>
#include <gtest/gtest.h>
#include <sys/resource.h>

#include "../../capture.h"

namespace
{
using namespace zr::log;
using capture::countOf;
using capture::onTerminal;
using capture::standardErrorOf;

// Standard error is looked at once, with the first line: here it is no terminal, whoever runs the tests.
const std::string firstLine = standardErrorOf([] { write("T", kInfo, "first"); });

std::string consoleLine(const char* tag, zr::u32 level, const std::string& text)
{
    return standardErrorOf([&] { EXPECT_TRUE(write(tag, level, "%s", text.c_str())); });
}

TEST(Log, ConsoleLines)
{
    const std::string longTag(100, 't');
    const std::string thread = fmt::format(" ({}): ", gettid());
    const std::string heapText(5000, 'y');
    struct
    {
        const char* tag;
        zr::u32 level;
        std::string text;
        std::string line;
    } const cases[] = {
        {"TAG", kInfo, "100%", "INFO    TAG" + thread + "100%\n"},
        {"TAG", kError | 0x8000, "a\n", "ERROR   TAG" + thread + "a\n"},
        {"TAG", kErrorOnce, "a\nb", "ERROR_ONCE TAG" + thread + "a\nb\n"},
        {"TAG", 3 & ~kAlert, "", "UNKNOWN TAG" + thread + "\n"},
        {nullptr, kDebug, heapText, "DEBUG   <NULL>" + thread + heapText + "\n"},
        {longTag.c_str(), kWarning, "a", "WARNING " + std::string(64, 't') + thread + "a\n"},
    };
    for (const auto& test : cases)
    {
        const std::string line = consoleLine(test.tag, test.level, test.text);
        std::string time = line.substr(0, 24);
        EXPECT_TRUE(time.starts_with("1970-01-01 0")) << line;
        std::replace_if(time.begin(), time.end(), [](char c) { return c >= '0' && c <= '9'; }, '9');
        EXPECT_EQ(time, "9999-99-99 99:99:99.999 ");
        EXPECT_EQ(line.substr(24), test.line);
    }
    EXPECT_EQ(consoleLine("TAG", kTrace, "for sinks alone"), "");
    for (const std::size_t length : {std::size_t{70'000}, std::size_t{100'000'000}})
    {
        const std::string line = consoleLine("TAG", kInfo, std::string(length, 'z'));
        EXPECT_EQ(line.size(), 65535u);
        EXPECT_EQ(line.substr(65533), "z\n");
    }
}

/// The file of a sink that was open while `action` ran.
std::string sinkFile(zr::u32 format, std::vector<Rule> rules, const std::function<void()>& action)
{
    const capture::File file;
    Sink* const sink = openSink(file.path.c_str(), format, rules);
    standardErrorOf(action);
    closeSink(sink);
    return file.content();
}

TEST(Log, TheFirstRuleThatDecides)
{
    const std::string self = std::to_string(gettid());
    const std::string notSelf = "-" + self;
    const std::pair<std::vector<Rule>, std::string> cases[] = {
        {{}, ""},
        {{{}}, "0123"},
        {{{.levels = kError | kAlert}}, "13"},
        {{{.tag = "A"}}, ""},
        {{{.tag = "A*"}}, "01"},
        {{{.tag = "*"}}, "0123"},
        {{{.tag = ""}}, "3"},
        {{{.tag = "-AB"}, {}}, "023"},
        {{{.tag = "-A1*"}, {.tag = "A*"}, {.levels = kInfo}}, "12"},
        {{{.levels = kError, .tag = "-A*"}, {.tag = "A*"}}, "0"},
        {{{.tag = "B", .thread = notSelf.c_str()}, {.thread = self.c_str()}}, "013"},
        {{{.tag = "B", .thread = "other"}, {.levels = kError, .thread = "*"}}, "13"},
    };
    const auto log = []
    {
        write("A1", kInfo, "0");
        write("AB", kError, "1");
        write("B", kInfo, "2");
        write("", kError, "3");
    };
    for (const auto& [rules, expected] : cases)
    {
        std::string passed = sinkFile(0, rules, log);
        std::erase(passed, '\n');
        EXPECT_EQ(passed, expected) << "case " << passed;
    }
}

TEST(Log, RepeatedMessagesAreCounted)
{
    const auto log = []
    {
        for (const char* text = "aaabab--"; *text; ++text)
            write(*text == 'a' ? "A" : "B", kInfo, "%c", *text);
    };
    EXPECT_EQ(sinkFile(kDropRepeated | kLabel | kTag, {{}}, log),
              "INFO    A: a\nWARNING LOG: 2 duplicate message(s) skipped.\nINFO    B: b\nINFO    A: a\nINFO    B: b\n"
              "INFO    B: -\nWARNING LOG: 1 duplicate message(s) skipped.\n");
    EXPECT_EQ(sinkFile(0, {{}}, log), "a\na\na\nb\na\nb\n-\n-\n");
}

TEST(Log, AFullDiskHarmsNoProcess)
{
    const pid_t child = fork();
    if (child == 0)
    {
        alarm(20);
        std::signal(SIGXFSZ, SIG_IGN);
        const capture::File disk; // has room for a line and a half
        openSink(disk.path.c_str(), 0, std::vector<Rule>{{.levels = kTrace}});
        rlimit limit;
        getrlimit(RLIMIT_FSIZE, &limit);
        for (const rlim_t size : {rlim_t{9}, rlim_t{9}, limit.rlim_max})
        {
            limit.rlim_cur = size;
            setrlimit(RLIMIT_FSIZE, &limit);
            write("T", kTrace, "line %d", static_cast<int>(size));
        }
        _exit(disk.content().starts_with("line 9\nli\nline ") ? 0 : 1);
    }
    EXPECT_EQ(capture::endOf(child), 0);
}

TEST(Log, AlertsAreAskedAboutUntilIgnored)
{
    setAlertHandler(alertBox); // other tests take it away
    const auto alerts = []
    {
        for (const char* text : {"one", "two", "three"})
            write("T", kAlert, "%s", text);
    };
    const auto ignored = onTerminal("what\n\nI\n", alerts);
    EXPECT_EQ(countOf(ignored, "(I)gnore"), 3u) << "one again for the unknown answer, two for the second alert";
    EXPECT_EQ(countOf(ignored, "): three\n\033[0m"), 1u) << ignored;
    EXPECT_EQ(countOf(onTerminal("r\na\n\n", alerts), "(I)gnore"), 3u);
    EXPECT_TRUE(onTerminal("\x04\x04\x04", alerts).ends_with("end: 0\n")) << "the input ends";
}
} // namespace
