#pragma once

#include "nodes/Node.h"

namespace model
{
/// Values from `start` up to but not including `end`.
struct VisibilityRange
{
    f64 start = 0.0;
    f64 end = 0.0;
};

/// The ranges of one argument's value.
struct VisibilityArgument
{
    u32 argument = kNoArgument;
    zr::vector<VisibilityRange> ranges;
};

/// What hangs below is visible while each argument lies in one of its ranges.
class ArgVisibilityNode final : public NodeClass<ArgVisibilityNode, Node>
{
public:
    zr::vector<VisibilityArgument> arguments;

    /// Takes the list over, sorted by argument, without entries that have no range; in each entry the ranges are put in
    /// order, sorted and merged where they overlap (ranges that only touch stay apart).
    void setArguments(zr::vector<VisibilityArgument> list);
    const zr::vector<VisibilityArgument>& getArguments() const { return arguments; }
    /// No entry has a range.
    bool hasNoRanges() const;

    void forEachArgument(const std::function<void(u32)>& function) const override;
    bool isVisibilityNode() const override { return true; }

protected:
    bool isOwnVisible(const IModelArguments& values) const override;
};
} // namespace model
