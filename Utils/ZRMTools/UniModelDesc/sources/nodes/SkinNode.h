#pragma once

#include "nodes/BaseMeshRenderNode.h"
#include <zr/checked.h>

namespace model
{
/// The bones of a skin: tree nodes that are also an `IBone`, or null. The references count, because a script may drop
/// its bones, and a pass may take them out of the tree, while the skin lives on.
using Bones = zr::vector<ObjectPtr<Node>>;

/// Puts `node` at the place when it is an `IBone`; otherwise nothing changes.
/// @throws std::out_of_range "Expected idx < size()"
void setBone(Bones& bones, u64 index, ObjectPtr<Node> node);

/// A mesh that bones deform. POSITION0's fourth float packs four bone numbers.
class SkinNode final : public NodeClass<SkinNode, BaseMeshRenderNode>
{
public:
    u64 getNumControlNodes() const override { return bones.size(); }
    ObjectPtr<Node> getControlNode(u64 index) const override { return zr::at(bones, index); }
    /// A node that is no `IBone` (or null) leaves the entry as it is.
    void setControlNode(u64 index, ObjectPtr<Node> node) override { setBone(bones, index, std::move(node)); }
    void forEachArgument(const std::function<void(u32)>& function) const override;

    void setArgument(u32, u32 value) override { argument = value; }
    u32 getArgument(u32) const override { return argument; }

    void setGeometry(Vertices newVertices, Indices newIndices) override;

    /// New entries are null.
    void resizeBones(std::size_t size) { bones.resize(size); }

    /// Entry 0 is the control node, the others are the bones of the skin.
    Bones bones;
    /// The damage argument of the whole skin.
    u32 argument = kNoArgument;
    /// Not set when there is none; a version of 1 or above has it in the file.
    Box skinBox;
};
} // namespace model
