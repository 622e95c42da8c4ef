#include <zr/assert/SkipRules.h>

#include <algorithm>
#include <cstring>

namespace zr
{
namespace
{
using SkipRule = std::function<bool(const Failure&)>;

/// Never ends: statics of others assert while they end.
vector<SkipRule>& rules()
{
    static auto* const list = new vector<SkipRule>;
    return *list;
}

/// Keeps its own texts of what is compared; those of the location are the program's.
struct Equality
{
    u8 flags;
    source_location_internal location;
    basic_string<char> message;
    basic_string<char> callstack;

    bool operator()(const Failure& failure) const
    {
        const source_location_internal& other = failure.location;
        if (flags & kSameLocation && (location.line != other.line || location.column != other.column ||
                                      std::strcmp(location.file, other.file) != 0))
            return false;
        if (flags & kSameFunction && std::strcmp(location.function, other.function) != 0) return false;
        if (flags & kSameMessage && message != failure.message) return false;
        return !(flags & kSameCallstack) || callstack == failure.callstack;
    }
};
} // namespace

void addSkipRule(u8 flags, const Failure& failure)
{
    Equality rule{flags, failure.location, {}, {}};
    if (flags & kSameMessage) rule.message = failure.message;
    if (flags & kSameCallstack) rule.callstack = failure.callstack;
    rules().push_back(std::move(rule));
}

bool isSkipped(const Failure& failure)
{
    return std::ranges::any_of(rules(), [&](const SkipRule& rule) { return rule(failure); });
}
} // namespace zr
