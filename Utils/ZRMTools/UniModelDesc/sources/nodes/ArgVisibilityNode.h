#pragma once

#include <utility>

#include "nodes/Node.h"

namespace model
{
/// Ranges of an argument's value, each from its first number up to but not including its second.
struct VisibilityArgument
{
    u32 argument = kNoArgument;
    zr::vector<std::pair<f64, f64>> ranges;
};

/// What hangs below is visible while each argument lies in one of its ranges.
class ArgVisibilityNode final : public Node
{
public:
    zr::vector<VisibilityArgument> arguments;

    /// Takes the list over, sorted by argument, without entries that have no range; in each entry the ranges are put in
    /// order, sorted and merged where they overlap (ranges that only touch stay apart).
    void setArguments(zr::vector<VisibilityArgument> list);
    const zr::vector<VisibilityArgument>& getArguments() const { return arguments; }
    /// No entry has a range.
    bool hasNoRanges() const;

    u32 getType() const override { return kArgVisibilityNode; }
    void accept(INodeVisitor& visitor) const override;

    void forEachArgument(const std::function<void(u32)>& function) const override;
    bool isVisibilityNode() const override { return true; }

protected:
    bool isOwnVisible(const IModelArguments& values) const override;
};
} // namespace model
