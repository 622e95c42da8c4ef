#include "io/LowerCase.h"

#include <algorithm>
#include <iterator>

namespace model
{
namespace
{
/// Every `step`th character from `first` to `last` moves by `delta`.
struct Mapping
{
    u32 first;
    u32 last;
    u32 step;
    i32 delta;
};

constexpr Mapping kMappings[] = {
#include "io/LowerCaseTable.inc"
};

constexpr u32 kInvalid = 0xFFFFFFFFu;

/// Reads one character and moves behind it. What is no shortest UTF-8 form of a character, a surrogate included, gives
/// `kInvalid` and moves nothing.
u32 readCharacter(const char*& at, const char* end)
{
    const auto lead = static_cast<u8>(*at);
    const int numMore = lead < 0x80 ? 0 : lead < 0xC2 ? -1 : lead < 0xE0 ? 1 : lead < 0xF0 ? 2 : lead < 0xF5 ? 3 : -1;
    if (numMore < 0 || end - at <= numMore) return kInvalid;

    u32 character = numMore == 0 ? lead : lead & (0x3Fu >> numMore);
    for (int i = 1; i <= numMore; ++i)
    {
        const auto byte = static_cast<u8>(at[i]);
        if ((byte & 0xC0u) != 0x80u) return kInvalid;
        character = (character << 6) | (byte & 0x3Fu);
    }
    constexpr u32 kSmallest[] = {0, 0x80, 0x800, 0x10000};
    if (character < kSmallest[numMore] || character > 0x10FFFF || (character >= 0xD800 && character < 0xE000))
        return kInvalid;
    at += numMore + 1;
    return character;
}

void appendCharacter(zr::string& text, u32 character)
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
} // namespace

u32 toLowerCase(u32 character)
{
    const Mapping* const mapping = std::lower_bound(std::begin(kMappings), std::end(kMappings), character,
                                                    [](const Mapping& entry, u32 key) { return entry.last < key; });
    if (mapping == std::end(kMappings) || character < mapping->first) return character;
    if ((character - mapping->first) % mapping->step != 0) return character;
    return static_cast<u32>(static_cast<i32>(character) + mapping->delta);
}

zr::string toLowerCase(const zr::string& text)
{
    zr::string lowered;
    lowered.reserve(text.size());
    const char* const end = text.data() + text.size();
    for (const char* at = text.data(); at != end;)
    {
        const u32 character = readCharacter(at, end);
        if (character == kInvalid)
            lowered += *at++;
        else
            appendCharacter(lowered, toLowerCase(character));
    }
    return lowered;
}
} // namespace model
