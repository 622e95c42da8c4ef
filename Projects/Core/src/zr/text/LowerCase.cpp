#include <zr/text/LowerCase.h>

#include <algorithm>
#include <iterator>

#include <zr/text/Utf8.h>

namespace zr
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
#include "LowerCaseTable.inc"
};
} // namespace

u32 toLowerCase(u32 character) noexcept
{
    const Mapping* const mapping = std::lower_bound(std::begin(kMappings), std::end(kMappings), character,
                                                    [](const Mapping& entry, u32 key) { return entry.last < key; });
    if (mapping == std::end(kMappings) || character < mapping->first) return character;
    if ((character - mapping->first) % mapping->step != 0) return character;
    return static_cast<u32>(static_cast<i32>(character) + mapping->delta);
}

string toLowerCase(std::string_view text)
{
    string lowered;
    lowered.reserve(text.size());
    const char* const end = text.data() + text.size();
    for (const char* at = text.data(); at != end;)
    {
        // Nearly all texts are ASCII only, and no texture's name should cost a search for each of its letters.
        if (const char letter = *at; static_cast<u8>(letter) < 0x80)
        {
            lowered += letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter + ('a' - 'A')) : letter;
            ++at;
            continue;
        }
        const u32 character = readCharacter(at, end);
        if (character == kNoCharacter)
            lowered += *at++;
        else
            appendCharacter(lowered, toLowerCase(character));
    }
    return lowered;
}
} // namespace zr
