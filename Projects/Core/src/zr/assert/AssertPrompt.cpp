#include <zr/assert/AssertPrompt.h>

#include <cctype>
#include <optional>

#include <platform/console.h>
#include <platform/debugger.h>
#include <zr/assert/SkipRules.h>

namespace zr
{
namespace
{
constexpr std::string_view kFirstLine =
    "Assert notifications in Release build can be disabled by setting config variable "
    "\"disableReleaseAssertNotifications\" to true.\n\n";

constexpr std::string_view kHelp =
    "\nAssertion window help\n\n"
    "This is the help for the custom Orvane assertion window.\n\n"
    "When it appears\n"
    "It appears when the condition of a zr_assert is false: the program found a fault of its own. Please report it, "
    "with the text above, even if the program survives.\n\n"
    "What the choices do\n"
    "  a   Abort: ends the program at once. Nothing is saved.\n"
    "  r   Retry (Debug break): stops in a debugger, which is started if none is attached. The program ends if there\n"
    "      is none.\n"
    "  i   Ignore: goes on as if the condition held.\n\n"
    "How to ignore the same failure from now on\n"
    "Letters behind Ignore make a rule that lasts until the program ends. A later failure is skipped in silence if it\n"
    "is the same in everything that they name:\n"
    "  l   Location: file, line and column\n"
    "  f   Function: the function's full signature\n"
    "  m   Message: the message, where there is one\n"
    "  c   Callstack: the whole way there, where it is known\n"
    "So \"i\" ignores this failure alone, \"il\" every failure at this place whatever its message, and \"ifm\" this "
    "message\n"
    "anywhere in this function.\n\n"
    "Shortcuts\n"
    "Each choice and each mark is one letter, large or small, followed by Enter. Enter alone is Abort.\n";

struct Mark
{
    SkipFlag flag;
    char letter;
    std::string_view label;
};
constexpr Mark kMarks[] = {
    {kSameLocation, 'l', " (L)ocation"},
    {kSameFunction, 'f', " (F)unction"},
    {kSameMessage, 'm', " (M)essage"},
    {kSameCallstack, 'c', " (C)allstack"},
};

char lower(char letter) noexcept
{
    return static_cast<char>(std::tolower(static_cast<unsigned char>(letter)));
}

/// The marks of the letters behind Ignore; none when one of them isn't offered.
std::optional<u8> parseMarks(const char* letters, u8 offered) noexcept
{
    u8 flags = 0;
    for (; *letters; ++letters)
    {
        if (*letters == ' ') continue;
        u8 found = 0;
        for (const Mark& mark : kMarks)
            if (mark.letter == lower(*letters)) found = mark.flag & offered;
        if (!found) return {};
        flags |= found;
    }
    return flags;
}
} // namespace

AssertAnswer askAboutAssertion(std::string_view report, u8 offered) noexcept
{
    const auto label = [&](std::size_t i) { return offered & kMarks[i].flag ? kMarks[i].label : std::string_view(); };
    const std::string_view question[] = {"\nAssertion failed!\n\n",
                                         kFirstLine,
                                         report,
                                         "\n\n[A]bort, (R)etry (Debug break), (I)gnore with same",
                                         label(0),
                                         label(1),
                                         label(2),
                                         label(3),
                                         ", (H)elp: "};
    const std::string_view help[] = {kHelp, "\nAbort, Retry, Ignore with same..., Help: "};
    bool wantsHelp = false;
    char answer[32];
    while (
        platform::askOnTerminal(wantsHelp ? std::span<const std::string_view>(help) : question, answer, sizeof(answer)))
    {
        const char choice = lower(answer[0]);
        wantsHelp = choice == 'h';
        if (choice == 'a' || choice == '\0') break;
        if (choice == 'r') return {AssertChoice::Retry, 0};
        if (choice == 'i')
            if (const auto marks = parseMarks(answer + 1, offered)) return {AssertChoice::Ignore, *marks};
    }
    return {};
}

void tellDebuggerIsMissing() noexcept
{
    const std::string_view parts[] = {"\nDebug break failed!\n\nFailed to launch debugger. Maybe, ",
                                      platform::debuggerName(), " is missing from system folder.\n\n(O)k: "};
    char answer[8];
    static_cast<void>(platform::askOnTerminal(parts, answer, sizeof(answer)));
}
} // namespace zr
