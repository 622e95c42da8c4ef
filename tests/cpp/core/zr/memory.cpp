#include <zr/InlineString.h>
#include <zr/array.h>
#include <zr/checked.h>
#include <zr/containers.h>
#include <zr/exceptions.h>

#include <csignal>
#include <functional>
#include <string>

#include <gtest/gtest.h>
#include <zlib.h>

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

namespace
{
using zr::u64;

template <class Error>
std::string textOf(const std::function<void()>& action)
{
    try
    {
        action();
    }
    catch (const Error& error)
    {
        return error.what();
    }
    return "nothing was raised";
}

TEST(Containers, CheckedAccessRaises)
{
    zr::vector<int> none;
    const zr::vector<int> two{1, 2};
    zr::array<int, 3> three;
    const std::pair<std::function<void()>, const char*> cases[] = {
        {[&] { zr::at(none, 0); }, "Expected idx < size()"},
        {[&] { zr::at(two, 2); }, "Expected idx < size()"},
        {[&] { zr::at(two, SIZE_MAX); }, "Expected idx < size()"},
        {[&] { zr::back(none); }, "Expected !empty()"},
        {[&] { zr::front(none); }, "Call front() on empty vector."},
        {[&] { three[3] = 0; }, "zr::array: index out of range"},
    };
    for (const auto& [action, text] : cases)
        EXPECT_EQ(textOf<std::out_of_range>(action), text);
    EXPECT_EQ(zr::at(two, 1) + zr::back(two) + zr::front(two) + three[2], 5);
}

TEST(Containers, OverLongRequestsAreLengthErrors)
{
    zr::vector<u64> values;
    EXPECT_THROW(values.reserve(SIZE_MAX / 4), std::length_error);
    zr::small_vector<u64, 2> few;
    EXPECT_THROW(few.reserve(SIZE_MAX), std::length_error);
}

TEST(Memory, ARequestForNothingIsNoFailure)
{
    void* block = zr_malloc(0);
    ASSERT_NE(block, nullptr);
    block = zr_realloc(block, 100);
    block = zr_realloc(block, 0);
    ASSERT_NE(block, nullptr);
    std::free(block);
    std::free(zr_realloc(nullptr, 3));
}

TEST(MemoryDeathTest, ExhaustionEndsTheProcessWithAReport)
{
    EXPECT_DEATH(zr_malloc(std::size_t{1} << 62), "Out of memory in zr_malloc for 4611686018427387904 bytes\\.\n");
    EXPECT_DEATH(zr_realloc(nullptr, std::size_t{1} << 62),
                 "Out of memory in zr_realloc for 4611686018427387904 bytes");
    EXPECT_DEATH(zr::InlineString<4>().reserve(UINT64_MAX), "Out of memory in zr_malloc");
}

TEST(MemoryDeathTest, AFailureDuringTheReportEndsTheProcessToo)
{
    const auto failAgain = [](int)
    {
        std::signal(SIGABRT, SIG_DFL);
        zr::outOfMemoryHandler("zr_realloc", 7);
    };
    EXPECT_DEATH(
        {
            std::signal(SIGABRT, failAgain);
            zr::outOfMemoryHandler("zr_malloc", 5);
        },
        "Out of memory in zr_malloc for 5 bytes\\.\nMore out of memory in zr_realloc for 7 bytes\\.\n");
}

TEST(Exceptions, Texts)
{
    EXPECT_EQ(textOf<zr::ReadError>([] { throw zr::ReadFormatError(); }), "Not enough input data");
    EXPECT_EQ(textOf<zr::ReadError>([] { throw zr::ZlibError(Z_DATA_ERROR); }), "data error");
    EXPECT_EQ(textOf<zr::ReadError>([] { throw zr::ZlibError(Z_DATA_ERROR, "own"); }), "own");
    // zlib's table of texts ends at these codes.
    EXPECT_EQ(textOf<zr::ReadError>([] { throw zr::ZlibError(Z_VERSION_ERROR); }), "incompatible version");
    for (zr::i32 code : {3, -7, INT32_MAX, INT32_MIN})
        EXPECT_EQ(textOf<zr::ReadError>([=] { throw zr::ZlibError(code); }), "");
    EXPECT_EQ(textOf<zr::ReadError>([] { throw zr::ZstdError(u64(-72)); }), "Src size is incorrect");
}

TEST(Exceptions, ExtExceptionKeepsItsPlaceApart)
{
    try
    {
        ZR_RAISE("text");
    }
    catch (const zr::ExtException& error)
    {
        const zr::ExtException copy = error;
        EXPECT_STREQ(copy.what(), "text");
        EXPECT_STREQ(copy.getFile(), "tests/cpp/core/basics.cpp");
        EXPECT_GT(copy.getLine(), 0);
    }
}

TEST(InlineString, GrowsByTheRule)
{
    zr::InlineString<255> text;
    std::string expected;
    for (int i = 0; i < 255; ++i)
    {
        text.append(char('a' + i % 26));
        expected += char('a' + i % 26);
    }
    EXPECT_EQ(text.capacity(), 255u);
    text.append('!');
    EXPECT_EQ(text.capacity(), 461u);
    EXPECT_EQ(text.c_str(), expected + "!");
    text.append(std::string(206, '.')); // one more than fits
    EXPECT_EQ(text.capacity(), 832u);
    text.clear();
    EXPECT_EQ(text.capacity(), 832u);
    EXPECT_STREQ(text.c_str(), "");
}

TEST(InlineString, ItsOwnTextCanBeAppended)
{
    zr::InlineString<4> text("abcd");
    text.append(text.view());
    text.append(text.view().substr(6));
    EXPECT_STREQ(text.c_str(), "abcdabcdcd");
}

TEST(InlineString, CopiesAndMovesKeepTheText)
{
    for (const char* content : {"", "abc", "longer than the inline area"})
    {
        zr::InlineString<8> text(content);
        zr::InlineString<8> copy = text;
        zr::InlineString<8> moved = std::move(text);
        EXPECT_STREQ(copy.c_str(), content);
        EXPECT_STREQ(moved.c_str(), content);
        EXPECT_STREQ(text.c_str(), ""); // NOLINT: moved-from is empty
        text = zr::InlineString<8>("another text on the heap");
        text = std::move(moved);
        EXPECT_STREQ(text.c_str(), content);
        text = *&text;
        EXPECT_STREQ(text.c_str(), content);
    }
}
} // namespace
