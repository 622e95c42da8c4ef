#include <zr/text/LowerCase.h>

#include <gtest/gtest.h>

TEST(LowerCase, Texts)
{
    constexpr std::pair<const char*, const char*> cases[] = {
        {"Textures\\WOOD_01.PNG", "textures\\wood_01.png"},
        {"@[`{ ÀÖ×ØÞß ĀāŸ İI ΟΔΟΣ ẞ \u2126 \u212A", "@[`{ àö×øþß āāÿ ii οδοσ ß ω k"},
        {"ДОМ ЁЖ ǅǄ Ა Ꭰ 𐐀 日本", "дом ёж ǆǆ ა ꭰ 𐐨 日本"},
        // No UTF-8: a lone lead, a lone tail, an overlong "A", a surrogate, a number that is too large, a cut end.
        {"A\xC3", "a\xC3"},
        {"\x80Z", "\x80z"},
        {"\xC1\x81", "\xC1\x81"},
        {"\xED\xA0\x80", "\xED\xA0\x80"},
        {"\xF4\x90\x80\x80Q", "\xF4\x90\x80\x80q"},
        {"\xC3Q\xC3\x80", "\xC3q\xC3\xA0"},
        {"\xE2\x84", "\xE2\x84"},
    };
    for (const auto& [given, lowered] : cases)
        EXPECT_EQ(zr::toLowerCase(given), lowered) << given;
    EXPECT_EQ(zr::toLowerCase(std::string_view("A\0B", 3)), zr::string("a\0b", 3));

    zr::u32 mapped = 0;
    for (zr::u32 character = 0; character < 0x110000; ++character)
    {
        const zr::u32 lowered = zr::toLowerCase(character);
        mapped += lowered != character;
        ASSERT_EQ(zr::toLowerCase(lowered), lowered) << "what is lower case stays so: " << character;
    }
    EXPECT_EQ(mapped, 1433u);
}
