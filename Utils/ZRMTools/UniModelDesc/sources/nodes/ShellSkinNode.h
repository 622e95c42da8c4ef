#pragma once

#include "nodes/ShellNode.h"
#include "nodes/SkinNode.h"
#include <zr/checked.h>

namespace model
{
/// A collision mesh that bones deform. No script makes one.
class ShellSkinNode final : public NodeClass<ShellSkinNode, MeshShellNode>
{
public:
    /// The control nodes are the bones; `setControlNode` still sets `control`.
    u64 getNumControlNodes() const override { return bones.size(); }
    ObjectPtr<Node> getControlNode(u64 index) const override { return zr::at(bones, index); }

    u32 getPrimitiveCount() const { return indices.getPrimitiveCount(); }

    Bones bones;
    u32 argument = kNoArgument;
    Box skinBox;
};
} // namespace model
