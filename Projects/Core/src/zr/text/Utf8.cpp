#include <zr/text/Utf8.h>

namespace zr
{
u32 readCharacter(const char*& at, const char* end) noexcept
{
    const auto lead = static_cast<u8>(*at);
    const int numMore = lead < 0x80 ? 0 : lead < 0xC2 ? -1 : lead < 0xE0 ? 1 : lead < 0xF0 ? 2 : lead < 0xF5 ? 3 : -1;
    if (numMore < 0 || end - at <= numMore) return kNoCharacter;

    u32 character = numMore == 0 ? lead : lead & (0x3Fu >> numMore);
    for (int i = 1; i <= numMore; ++i)
    {
        const auto byte = static_cast<u8>(at[i]);
        if ((byte & 0xC0u) != 0x80u) return kNoCharacter;
        character = (character << 6) | (byte & 0x3Fu);
    }
    constexpr u32 kSmallest[] = {0, 0x80, 0x800, 0x10000};
    if (character < kSmallest[numMore] || character > 0x10FFFF || (character >= 0xD800 && character < 0xE000))
        return kNoCharacter;
    at += numMore + 1;
    return character;
}

void appendCharacter(string& text, u32 character)
{
    const auto tail = [&text, character](int shift)
    { text += static_cast<char>(0x80u | ((character >> shift) & 0x3Fu)); };
    if (character < 0x80)
    {
        text += static_cast<char>(character);
    }
    else if (character < 0x800)
    {
        text += static_cast<char>(0xC0u | (character >> 6));
        tail(0);
    }
    else if (character < 0x10000)
    {
        text += static_cast<char>(0xE0u | (character >> 12));
        tail(6);
        tail(0);
    }
    else
    {
        text += static_cast<char>(0xF0u | (character >> 18));
        tail(12);
        tail(6);
        tail(0);
    }
}
} // namespace zr
