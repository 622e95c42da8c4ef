#include <cstring>
#include <string>

#include <gtest/gtest.h>

#include "Random.h"
#include "io/MemBinaryFileW.h"

using namespace model;

namespace
{
std::string bytesOf(MemBinaryFileW& file)
{
    const ByteBuffer& bytes = file.getBytes();
    return {bytes.data(), bytes.data() + bytes.size()};
}

std::string joined(const FileParts& file)
{
    std::string whole;
    for (const auto part : file.parts)
        whole.append(part.begin(), part.end());
    return whole;
}
} // namespace

// Against a plain string, at every place, with blocks that outgrow the room in front and the capacity behind.
TEST(MemBinaryFileW, EveryWriteIsAnInsertion)
{
    test::Random random(1);
    for (int round = 0; round < 200; ++round)
    {
        MemBinaryFileW file;
        std::string plain;
        std::size_t cursor = 0;
        for (int step = 0; step < 60; ++step)
        {
            std::string block(random.below(20) ? random.below(40) : random.below(400000),
                              static_cast<char>('a' + random.below(26)));
            const u32 action = random.below(5);
            if (action == 0)
            {
                cursor = random.below(3) ? plain.size() : random.below(plain.size() + 1);
                file.seek(cursor);
                if (random.below(10) == 0) file.reserve(random.below(100000));
                continue;
            }
            if (action == 1)
                file.writeU32(0x04030201u), block = "\x01\x02\x03\x04";
            else if (action == 2)
                file.writeF64(1.0), block = std::string("\0\0\0\0\0\0\xF0\x3F", 8);
            else if (action == 3)
                std::fill_n(file.append(block.size()), block.size(), static_cast<u8>(block.empty() ? 0 : block[0]));
            else
                EXPECT_EQ(file.write(block.data(), block.size()), block.size());
            plain.insert(cursor, block);
            cursor += block.size();
            ASSERT_EQ(file.tell(), cursor);
        }
        ASSERT_TRUE(bytesOf(file) == plain) << "round " << round;

        // Long blocks that stay where they are, between and in front of others.
        file.seek(plain.size());
        const std::string lasting(random.below(100000), 'L');
        for (const char* text : {"", "text", ""})
        {
            file.writeLasting(lasting.data(), lasting.size());
            file.write(text, std::strlen(text));
            plain += lasting + text;
        }
        cursor = random.below(cursor + 1);
        file.seek(cursor);
        file.write("ab", 2);
        file.write("cd", 2);
        plain.insert(cursor, "abcd");
        ASSERT_TRUE(joined(file.takeParts()) == plain) << "round " << round;

        file.writeU8('x');
        file.seek(100); // behind the end is the end
        file.writeU8('y');
        ASSERT_EQ(bytesOf(file), "xy");
    }
}

// Pages of 16 bytes: strings fill a page to its last byte, pass it, and exceed it.
TEST(StringPool, NumbersInTheOrderOfFirstUse)
{
    StringPool pool(16);
    std::string table;
    for (u32 i = 0; i < 3000; ++i)
    {
        const std::string text = std::to_string(i % 1500) + std::string(i % 1500 % 40, '.');
        if (i < 1500) table += text + '\0';
        ASSERT_EQ(pool.indexOf(text), i % 1500);
        ASSERT_STREQ(pool.intern(text), text.c_str());
    }
    EXPECT_EQ(pool.indexOf(std::string_view("7.......\0cut", 12)), 7u);
    const zr::vector<u8> serialized = pool.serialize();
    EXPECT_EQ(std::string(serialized.begin(), serialized.end()), table);
}
