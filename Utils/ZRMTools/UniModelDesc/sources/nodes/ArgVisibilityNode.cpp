#include "nodes/ArgVisibilityNode.h"

#include <algorithm>
#include <cmath>

namespace model
{
namespace
{
/// By start; NaN stands behind every number.
bool startsBefore(const VisibilityRange& a, const VisibilityRange& b)
{
    return a.start < b.start || (std::isnan(b.start) && !std::isnan(a.start));
}

/// Puts the ranges in order and joins those that overlap.
void clean(zr::vector<VisibilityRange>& ranges)
{
    for (VisibilityRange& range : ranges)
        if (range.start > range.end) std::swap(range.start, range.end);
    std::stable_sort(ranges.begin(), ranges.end(), startsBefore);

    std::size_t current = 0;
    for (std::size_t i = 1; i < ranges.size(); ++i)
    {
        if (ranges[current].end > ranges[i].start)
            ranges[current].end = std::max(ranges[current].end, ranges[i].end);
        else
            ranges[++current] = ranges[i];
    }
    ranges.resize(current + 1);
}
} // namespace

void ArgVisibilityNode::setArguments(zr::vector<VisibilityArgument> list)
{
    std::stable_sort(list.begin(), list.end(),
                     [](const VisibilityArgument& a, const VisibilityArgument& b) { return a.argument < b.argument; });
    std::erase_if(list, [](const VisibilityArgument& entry) { return entry.ranges.empty(); });
    for (VisibilityArgument& entry : list)
        clean(entry.ranges);
    arguments = std::move(list);
}

bool ArgVisibilityNode::hasNoRanges() const
{
    return std::all_of(arguments.begin(), arguments.end(),
                       [](const VisibilityArgument& entry) { return entry.ranges.empty(); });
}

void ArgVisibilityNode::forEachArgument(const std::function<void(u32)>& function) const
{
    Node::forEachArgument(function);
    reportArguments(arguments, function);
}

bool ArgVisibilityNode::isOwnVisible(const IModelArguments& values) const
{
    return std::all_of(arguments.begin(), arguments.end(),
                       [&](const VisibilityArgument& entry)
                       {
                           const f64 value = static_cast<f64>(values.get(entry.argument));
                           return std::any_of(entry.ranges.begin(), entry.ranges.end(),
                                              [value](const VisibilityRange& range)
                                              { return value >= range.start && value < range.end; });
                       });
}
} // namespace model
