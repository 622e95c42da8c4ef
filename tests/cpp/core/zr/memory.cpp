#include <zr/InlineString.h>
#include <zr/memory.h>

#include <csignal>

#include <gtest/gtest.h>

#include <zr/log/Control.h>

// A sanitizer's heap ends the process by itself when it is asked for too much; here it must answer as any other.
extern "C" [[gnu::visibility("default")]] const char* __asan_default_options();
extern "C" [[gnu::visibility("default")]] const char* __tsan_default_options();
extern "C" const char* __asan_default_options()
{
    return "allocator_may_return_null=1";
}
extern "C" const char* __tsan_default_options()
{
    return "allocator_may_return_null=1";
}

TEST(MemoryDeathTest, ExhaustionEndsTheProcessWithAReportAndARequestForNothingDoesNot)
{
    zr::log::setAlertHandler(nullptr); // would ask whoever runs the tests on a terminal
    void* block = zr_realloc(zr_malloc(0), 0);
    ASSERT_NE(block, nullptr);
    std::free(block);
    EXPECT_DEATH(zr_realloc(nullptr, SIZE_MAX / 2), "Out of memory in zr_realloc for 9223372036854775807 bytes\\.\n");
    EXPECT_DEATH(zr::InlineString<4>().reserve(UINT64_MAX), "Out of memory in zr_malloc");
    const auto failAgain = [](int)
    {
        std::signal(SIGABRT, SIG_DFL);
        zr::outOfMemoryHandler("zr_realloc", 7);
    };
    EXPECT_DEATH((std::signal(SIGABRT, failAgain), zr::outOfMemoryHandler("zr_malloc", 5)),
                 "Out of memory in zr_malloc for 5 bytes\\.\n.*: More out of memory in zr_realloc for 7 bytes\\.\n");
}
