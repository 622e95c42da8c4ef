// normalizePath against its table of states, written out character by character.
#include <string>
#include <vector>

#include <zr/text/LowerCase.h>
#include <zr/text/Utf8.h>
#include <zrvfs/normalizePath.h>

#include "support.h"

namespace
{
/// What a state does on a slash, a dot and any other character: "^" pushes a marker, "<" goes back to the last one or
/// writes "/..", "@" stands for the character, anything else is written; then the next state.
constexpr const char* kTable[9][3] = {
    {"1", "3", "^@8"},  {"1", "/3", "^/@8"},      {"2", "5", "^/@8"}, {"7", "4", ".@8"}, {"..2", "...8", "..@8"},
    {"2", "6", "/.@8"}, {"<2", "/...8", "/..@8"}, {"7", "3", "@8"},   {"2", "@8", "@8"},
};

class Machine
{
public:
    std::string run(std::string_view path, bool isLowering)
    {
        const char* const end = path.data() + path.size();
        for (const char* at = path.data(); at != end;)
        {
            const char* const before = at;
            const zr::u32 character = zr::readCharacter(at, end);
            if (character == zr::kNoCharacter) ++at;
            std::string text(before, at);
            if (isLowering && character <= 0xFFFF)
            {
                zr::string lowered;
                zr::appendCharacter(lowered, zr::toLowerCase(character));
                text = lowered;
            }
            act(text == "/" || text == "\\" ? 0 : text == "." ? 1 : 2, text);
        }
        if (state == 1 || state == 2) out += '/';
        if (state == 4) out += "..";
        if (state == 6) act(0, "");
        return out;
    }

private:
    void act(int column, const std::string& character)
    {
        const std::string_view action = kTable[state][column];
        for (const char step : action.substr(0, action.size() - 1))
        {
            if (step == '^')
                markers.push_back(out.size());
            else if (step == '@')
                out += character;
            else if (step != '<')
                out += step;
            else if (markers.empty())
                out += "/..";
            else
            {
                out.resize(markers.back());
                markers.pop_back();
            }
        }
        state = action.back() - '0';
    }

    int state = 0;
    std::string out;
    std::vector<std::size_t> markers;
};
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string_view path(reinterpret_cast<const char*>(data), size);
    for (const bool isLowering : {false, true})
        fuzz::check(zrvfs::normalizePath(path, isLowering).view() == Machine().run(path, isLowering));

    const zrvfs::PathString source = zrvfs::normalizeSource(path);
    const bool isAbsolute = !path.empty() && (path.front() == '/' || path.front() == '\\');
    fuzz::check(isAbsolute || !source.view().starts_with('/'));
    fuzz::checkPaths(path, false);
    fuzz::checkPaths(path, true);
    return 0;
}
