#pragma once

#include "nodes/BaseMeshRenderNode.h"
#include <zr/checked.h>

namespace model
{
/// One node that a mesh hangs on, and the damage argument of the part that hangs there.
struct ParentEntry
{
    ObjectPtr<Node> parent;
    u32 argument = kNoArgument;
};

/// A mesh that isn't merged has one.
using ParentEntries = zr::small_vector<ParentEntry, 1>;

/// A mesh on one or, merged, on several nodes: POSITION0's fourth float says to which entry of `parents` a vertex
/// belongs.
class RenderNode : public NodeClass<RenderNode, BaseMeshRenderNode>
{
public:
    RenderNode() : parents(1) {}

    u64 getNumControlNodes() const override { return parents.size(); }
    ObjectPtr<Node> getControlNode(u64 index) const override { return zr::at(parents, index).parent; }
    void setControlNode(u64 index, ObjectPtr<Node> node) override { zr::at(parents, index).parent = std::move(node); }
    void forEachArgument(const std::function<void(u32)>& function) const override;

    void setArgument(u32 index, u32 argument) override { zr::at(parents, index).argument = argument; }
    u32 getArgument(u32 index) const override { return zr::at(parents, index).argument; }

    /// Takes a mesh of one part: one parent entry without an argument remains, and POSITION0's fourth floats become 0.
    /// Nothing happens when vertices (no attribute), indices or material are missing or the format doesn't fit.
    void setGeometry(Vertices newVertices, Indices newIndices) override;
    /// Takes a mesh of several parts as it is, when the format fits; otherwise nothing changes.
    virtual void setGeometry(Vertices newVertices, Indices newIndices, ParentEntries newParents);

    /// 1 marks a water mask. A value other than 0 makes the node version 1.
    void setPurpose(u32 value);

    ParentEntries parents;
    u32 purpose = 0;
};
} // namespace model
