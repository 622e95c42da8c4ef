#include "nodes/ArgVisibilityNode.h"

#include <algorithm>
#include <cmath>

#include "base/INodeVisitor.h"

namespace model
{
namespace
{
using Range = std::pair<f64, f64>;

/// By start; NaN stands behind every number.
bool startsBefore(const Range& a, const Range& b)
{
    return a.first < b.first || (std::isnan(b.first) && !std::isnan(a.first));
}

/// Puts the ranges in order and joins those that overlap.
void clean(zr::vector<Range>& ranges)
{
    for (Range& range : ranges)
        if (range.first > range.second) std::swap(range.first, range.second);
    std::stable_sort(ranges.begin(), ranges.end(), startsBefore);

    std::size_t current = 0;
    for (std::size_t i = 1; i < ranges.size(); ++i)
    {
        if (ranges[current].second > ranges[i].first)
            ranges[current].second = std::max(ranges[current].second, ranges[i].second);
        else
            ranges[++current] = ranges[i];
    }
    ranges.resize(current + 1);
}
} // namespace

void ArgVisibilityNode::accept(INodeVisitor& visitor) const
{
    visitor.visit(*this);
}

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
    for (const VisibilityArgument& entry : arguments)
        if (entry.argument != kNoArgument) function(entry.argument);
}

bool ArgVisibilityNode::isOwnVisible(const IModelArguments& values) const
{
    return std::all_of(arguments.begin(), arguments.end(),
                       [&](const VisibilityArgument& entry)
                       {
                           const f64 value = static_cast<f64>(values.get(entry.argument));
                           return std::any_of(entry.ranges.begin(), entry.ranges.end(),
                                              [value](const Range& range)
                                              { return value >= range.first && value < range.second; });
                       });
}
} // namespace model
