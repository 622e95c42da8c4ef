#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "io/MemBinaryFileW.h"

using namespace model;

namespace
{
std::string textOf(const zr::vector<u8>& bytes)
{
    return {bytes.begin(), bytes.end()};
}

std::string bytesOf(MemBinaryFileW& file)
{
    const ByteBuffer& bytes = file.getBytes();
    return {bytes.data(), bytes.data() + bytes.size()};
}
} // namespace

TEST(MemBinaryFileW, EveryWriteIsAnInsertion)
{
    std::mt19937 random(1);
    const auto below = [&random](std::size_t limit)
    { return std::uniform_int_distribution<std::size_t>(0, limit - 1)(random); };
    for (int round = 0; round < 200; ++round)
    {
        MemBinaryFileW file;
        std::vector<char> plain;
        std::size_t cursor = 0;
        const auto insert = [&](const std::string& bytes)
        {
            plain.insert(plain.begin() + static_cast<std::ptrdiff_t>(cursor), bytes.begin(), bytes.end());
            cursor += bytes.size();
        };
        for (int step = 0; step < 60; ++step)
        {
            const auto letter = static_cast<char>('a' + below(26));
            switch (below(8))
            {
            case 0:
                cursor = below(3) ? plain.size() : below(plain.size() + 1);
                file.seek(cursor);
                break;
            case 1:
                file.writeU32(0x04030201u);
                insert("\x01\x02\x03\x04");
                break;
            case 2:
                file.writeU8(static_cast<u8>(letter));
                insert({letter});
                break;
            case 3:
            {
                // Long ones outgrow the room in front and the capacity behind.
                const std::string bytes(below(20) == 0 ? below(400000) : below(40), letter);
                EXPECT_EQ(file.write(bytes.data(), bytes.size()), bytes.size());
                insert(bytes);
                break;
            }
            case 4:
            {
                const std::size_t size = below(5000);
                std::fill_n(file.append(size), size, static_cast<u8>(letter));
                insert(std::string(size, letter));
                break;
            }
            case 5:
                file.writeF64(1.0);
                insert(std::string("\0\0\0\0\0\0\xF0\x3F", 8));
                break;
            default:
                break;
            }
            ASSERT_EQ(file.tell(), cursor);
        }
        ASSERT_TRUE(bytesOf(file) == std::string(plain.begin(), plain.end())) << "round " << round;
        const ByteBuffer taken = file.takeBytes();
        ASSERT_EQ(taken.size(), plain.size());
        file.writeU8('x');
        ASSERT_EQ(bytesOf(file), "x");
    }
}

TEST(MemBinaryFileW, Fields)
{
    MemBinaryFileW file;
    file.writeU16(0x0201);
    file.writeU64(0x0807060504030201u);
    file.writeF32(1.0f);
    file.writeVec2f({1.0f, 0.0f});
    file.writeRawName(std::string_view("a\0b", 3));
    EXPECT_EQ(bytesOf(file), std::string("\1\2\1\2\3\4\5\6\7\x08\0\0\x80\x3F\0\0\x80\x3F\0\0\0\0\3\0\0\0a\0b", 29));

    const std::size_t start = file.tell();
    file.writeVec3f({});
    file.writeVec4f({});
    file.writeVec3d({});
    file.writeVec4d({});
    file.writeMatrixf({});
    file.writeMatrixd({});
    EXPECT_EQ(file.tell() - start, 12u + 16 + 24 + 32 + 64 + 128);
    EXPECT_TRUE(file.isOpen());
    EXPECT_STREQ(file.name(), "buffer");
}

TEST(MemBinaryFileW, StringsAreIndices)
{
    MemBinaryFileW file;
    for (const char* text : {"b", "a", "", "b"})
        file.writeString(text);
    file.writeString(std::string_view("a\0cut", 5));
    EXPECT_EQ(bytesOf(file), std::string("\0\0\0\0\1\0\0\0\2\0\0\0\0\0\0\0\1\0\0\0", 20));
    EXPECT_EQ(textOf(file.getStrings().serialize()), std::string("b\0a\0\0", 5));
}

TEST(MemBinaryFileW, ASeekBehindTheEndAppends)
{
    MemBinaryFileW file;
    file.writeU8('a');
    file.seek(100);
    EXPECT_EQ(file.tell(), 100u);
    file.writeU8('b');
    EXPECT_EQ(bytesOf(file), "ab");
}

TEST(StringPool, NumbersInTheOrderOfFirstUse)
{
    // Pages of 16 bytes: strings fill a page to its last byte, pass it, and exceed it.
    StringPool pool(16);
    std::string table;
    for (int i = 0; i < 3000; ++i)
    {
        const std::string text = std::to_string(i % 1500) + std::string(static_cast<std::size_t>(i % 1500 % 40), '.');
        const auto index = static_cast<u32>(i % 1500);
        if (i < 1500) table += text + '\0';
        ASSERT_EQ(pool.indexOf(text), index);
        ASSERT_STREQ(pool.intern(text), text.c_str());
        ASSERT_EQ(pool.intern(text), pool.intern(text));
    }
    EXPECT_EQ(textOf(pool.serialize()), table);
    EXPECT_EQ(textOf(StringPool(16).serialize()), "");
}

TEST(StringPool, LongStringsAreStoredWhole)
{
    StringPool pool(4096);
    const std::string exact(4095, 'x');
    const std::string longer(100000, 'y');
    EXPECT_EQ(pool.indexOf("short"), 0u);
    EXPECT_EQ(pool.indexOf(longer), 1u);
    EXPECT_EQ(pool.indexOf(exact), 2u);
    EXPECT_EQ(pool.indexOf("after"), 3u);
    EXPECT_EQ(textOf(pool.serialize()),
              std::string("short\0", 6) + longer + '\0' + exact + '\0' + std::string("after\0", 6));
}
