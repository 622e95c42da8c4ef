#include <zr/log/LogRule.h>

#include <cstring>

namespace zr::log
{
void Pattern::set(const char* pattern) noexcept
{
    const std::size_t length = strnlen(pattern, sizeof(text) - 1);
    std::memcpy(text, pattern, length);
    text[length] = '\0';
    start = text[0] == '-' ? 1 : 0;
    wildcard = length > start && text[length - 1] == '*' ? 1 : 0;
    end = static_cast<u32>(length) - wildcard;
}

Pattern::Result Pattern::match(std::string_view name) const noexcept
{
    const std::string_view wanted(text + start, end - start);
    if (wildcard ? !name.starts_with(wanted) : name != wanted) return kNone;
    return start == 0 ? kAccepts : kRejects;
}

LogRule::LogRule(const Rule& rule) noexcept : levels(rule.levels)
{
    if (rule.levels) flags |= kTestLevels;
    if (rule.tag)
    {
        flags |= kTestTag;
        tag.set(rule.tag);
    }
    if (rule.thread)
    {
        flags |= kTestThread;
        thread.set(rule.thread);
    }
}

u32 LogRule::acceptedLevels() const noexcept
{
    if (tag.start != 0 || thread.start != 0) return 0;
    return flags & kTestLevels ? levels : ~u32{0};
}

bool rulesPass(std::span<const LogRule> rules, std::string_view tag, u32 level, std::string_view thread) noexcept
{
    for (const LogRule& rule : rules)
    {
        if (rule.flags & LogRule::kTestLevels && (level & rule.levels) == 0) continue;
        if (rule.flags & LogRule::kTestTag)
        {
            const Pattern::Result result = rule.tag.match(tag);
            if (result == Pattern::kRejects) return false;
            if (result == Pattern::kNone) continue;
        }
        if (!(rule.flags & LogRule::kTestThread)) return true;
        const Pattern::Result result = rule.thread.match(thread);
        if (result != Pattern::kNone) return result == Pattern::kAccepts;
    }
    return false;
}
} // namespace zr::log
