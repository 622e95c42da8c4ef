#pragma once

#include "RootNode.h"
#include "nodes/BaseRenderNode.h"

namespace model
{
/// Nodes of one class that are to become one. The first is the key: only it was compared with the others.
template <class T>
using Group = zr::vector<ObjectPtr<T>>;

/// When two nodes of one class can be merged, apart from what holds for all classes: they are different objects with
/// the same material and one control node each, no visibility node stands between one of them and their common
/// ancestor, and that is no level-of-detail node.
class MergeRule
{
public:
    virtual ~MergeRule() = default;

    /// What a node must meet by itself, as key and as candidate. It has one control node.
    virtual bool canJoin(const BaseRenderNode& node) const = 0;
    /// Nodes of different variants can't be merged.
    virtual u32 variant(const BaseRenderNode& node) const = 0;
    /// Whether `agree` is true for any two such nodes, as it is for nearly all nodes.
    virtual bool isPlain(const BaseRenderNode& node) const = 0;
    /// The rest, which is neither symmetric nor transitive.
    virtual bool agree(const BaseRenderNode& key, const BaseRenderNode& node) const = 0;
    /// Whether a key below a billboard takes no other node.
    virtual bool isBillboardAlone() const = 0;
};

/// Groups the render nodes that are exactly of one type, in list order: each joins the first group, in the order of
/// their creation, whose key it can be merged with, or starts a new one. Expected linear in the nodes, as long as few
/// of them are not plain.
zr::vector<zr::vector<ObjectPtr<BaseRenderNode>>> groupNodes(const RootNode& root, u32 type, const MergeRule& rule);
} // namespace model
