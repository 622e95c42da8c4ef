#include <zr/assert/Assert.h>

#include <csignal>

#include <gtest/gtest.h>

#include <zr/log/Control.h>

#include "../../capture.h"

namespace
{
using capture::countOf;
using capture::onTerminal;

int passed = 0;

[[gnu::noinline]] void fail(const char* message)
{
    zr_assert(passed < 0, "%s", message);
    ++passed;
}

TEST(Assert, TheReport)
{
    const auto failures = []
    {
        zr_assert(passed == 0, "not evaluated %d", ++passed);
        fail("one line");
        fail("two\nlines");
        zr_assert(passed < 0);
        fail(std::string(9000, 'm').c_str());
    };
    const std::string shown = onTerminal("i\ni\ni\na\n", failures);
    for (const std::string& part :
         {std::string("Assert notifications in Release build can be disabled by setting config variable "
                      "\"disableReleaseAssertNotifications\" to true.\n\nAssertion failed!\n\n"
                      "Condition: [passed < 0]\nMessage: [one line]\n\n"
                      "Location: \"tests/cpp/core/zr/assert/assertions.cpp\"(20, "),
          std::string("::fail(const char*)]\n\nCallstack:\n"), std::string("Message: [\ntwo\nlines]\n"),
          std::string("[passed < 0]\n\nLocation"), std::string(" (L)ocation (F)unction (C)allstack, (H)elp")})
        EXPECT_GE(countOf(shown, part), 1u) << part << "\nin\n" << shown;
    EXPECT_EQ(countOf(shown, "[" + std::string(9000, 'm') + "]"), 2u) << "on standard error too";
    EXPECT_TRUE(shown.ends_with("end: -6\n"));
}

TEST(Assert, IgnoringByRules)
{
    const std::pair<const char*, std::size_t> cases[] = {
        {"i\ni\ni\ni\n", 4},   {"il\ni\n", 2},      {"i l F\ni\n", 2},  {"if\ni\n", 2}, {"im\ni\ni\n", 3},
        {"i\nilm\ni\ni\n", 4}, {"ix\nI F\ni\n", 3}, {"h\nifl\ni\n", 3}, {"ic\ni\n", 2}, {"IL\nwhat\ni\n", 3},
    };
    const auto failures = []
    {
        const char* const messages[] = {"same", "same", "other"};
        const volatile int count = 3; // volatile: not unrolled into three call stacks
        for (int i = 0; i < count; ++i)
            fail(messages[i]);
        zr_assert(passed < 0);
    };
    for (const auto& [typed, questions] : cases)
        EXPECT_EQ(countOf(onTerminal(typed, failures), "elp: "), questions) << typed;
}

TEST(AssertDeathTest, WithoutATerminal)
{
    const auto alone = [](void (*prepare)())
    {
        setsid();
        prepare();
        fail("nobody there");
        _exit(7);
    };
    const auto logged = []
    {
        const zr::log::Rule all[] = {{}};
        const capture::File file;
        zr::log::openSink(file.path.c_str(), 0, all);
        zr::log::start();
        zr::setAssertNotificationsOff(true);
        fail("logged");
        zr::log::stop();
    };
    EXPECT_EXIT(alone([] {}), testing::KilledBySignal(SIGABRT), "Message: \\[nobody there\\]");
    EXPECT_EXIT(alone([] { zr::setAssertAbortsAtOnce(true); }), testing::KilledBySignal(SIGABRT), "nobody there");
    EXPECT_EXIT(alone(logged), testing::ExitedWithCode(7), "ERROR   ZRCORESTATIC .*Assertion failed!");
}
} // namespace
