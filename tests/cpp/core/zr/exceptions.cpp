#include <zr/exceptions.h>

#include <gtest/gtest.h>
#include <zlib.h>

TEST(Exceptions, Texts)
{
    EXPECT_STREQ(zr::ZlibError(Z_DATA_ERROR, "own").what(), "own");
    EXPECT_STREQ(zr::ZlibError(Z_VERSION_ERROR).what(), "incompatible version");
    for (zr::i32 code : {3, -7, INT32_MAX, INT32_MIN}) // zlib's table of texts has an end on both sides
        EXPECT_STREQ(zr::ZlibError(code).what(), "");
    EXPECT_STREQ(zr::ZstdError(zr::u64(-72)).what(), "Src size is incorrect");
    const zr::ExtException error("text", ZR_HERE);
    EXPECT_STREQ(zr::ExtException(error).what(), "text") << "without the place";
    EXPECT_STREQ(error.getFile(), "tests/cpp/core/zr/exceptions.cpp");
    EXPECT_EQ(error.getLine(), __LINE__ - 3);
}
