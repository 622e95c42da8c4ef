#pragma once

#include "materials/PropertiesSet.h"
#include "nodes/BaseNode.h"
#include "nodes/Node.h"

namespace model
{
/// Something that is drawn with a material. An index is the number of a control node.
class BaseRenderNode : public BaseNode
{
public:
    BaseRenderNode* asRenderNode() override { return this; }

    const MaterialPtr& getMaterial() const { return material; }
    void setMaterial(MaterialPtr value) { material = std::move(value); }

    /// The properties of the node, then those of the material.
    void forEachArgument(const std::function<void(u32)>& function) const override;

    /// The damage argument of one part; `kNoArgument` for none.
    virtual void setArgument(u32 index, u32 argument) = 0;
    virtual u32 getArgument(u32 index) const = 0;
    virtual u32 getPrimitiveCount() const = 0;
    /// The box of what hangs on one control node, in that node's space; not set when there is nothing.
    virtual Box getBoundingBox(u32 index) const = 0;
    /// `getBoundingBox` of each control node, in one pass over the data.
    virtual zr::vector<Box> getBoundingBoxes() const = 0;

    /// Several nodes may share one.
    MaterialPtr material;
};
} // namespace model
