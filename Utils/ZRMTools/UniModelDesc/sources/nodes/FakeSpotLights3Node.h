#pragma once

#include "Vertices.h"
#include "nodes/BaseRenderNode.h"
#include <zr/checked.h>

namespace model
{
/// Light sprites that are given as vertices, one for each light.
class FakeSpotLights3Node final : public BaseRenderNode
{
public:
    u32 getType() const override { return kFakeSpotLights3Node; }
    void accept(INodeVisitor& visitor) const override;

    u64 getNumControlNodes() const override { return controls.size(); }
    ObjectPtr<Node> getControlNode(u64 index) const override { return zr::at(controls, index); }
    void setControlNode(u64 index, ObjectPtr<Node> node) override { zr::at(controls, index) = std::move(node); }
    bool applyMatrix(u32 index, const f64* m) override;

    void setArgument(u32, u32) override {}
    u32 getArgument(u32) const override { return kNoArgument; }
    u32 getPrimitiveCount() const override;
    Box getBoundingBox(u32 index) const override { return vertices.computeBox(index); }
    zr::vector<Box> getBoundingBoxes() const override { return vertices.computeBoxes(controls.size()); }

    zr::vector<ObjectPtr<Node>> controls;
    Vertices vertices;
};
} // namespace model
