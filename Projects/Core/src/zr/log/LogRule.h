#pragma once

#include <string_view>

#include <zr/log/Control.h>

namespace zr::log
{
/// A pattern of a rule with its match state.
struct Pattern
{
    char text[128] = {};
    u32 wildcard = 0; ///< whether any rest matches
    u32 end = 0;      ///< behind the last character that is compared
    u32 start = 0;    ///< 1 behind the lead of an exclusion, else 0

    void set(const char* pattern) noexcept;

    enum Result
    {
        kNone,
        kAccepts,
        kRejects,
    };
    Result match(std::string_view name) const noexcept;
};

/// One entry of a sink's rule list.
struct LogRule
{
    enum Flag : u32
    {
        kTestLevels = 2,
        kTestTag = 4,
        kTestThread = 8,
    };

    u32 flags = 0; ///< what is tested
    Pattern tag;
    u32 levels = 0;
    Pattern thread;

    LogRule() = default;
    explicit LogRule(const Rule& rule) noexcept;

    /// The levels of which this rule could accept a message.
    u32 acceptedLevels() const noexcept;
};

/// Whether the first rule that decides accepts a message; none does so when the list is at its end.
bool rulesPass(std::span<const LogRule> rules, std::string_view tag, u32 level, std::string_view thread) noexcept;
} // namespace zr::log
