#pragma once

#include "Vertices.h"
#include "nodes/BaseRenderNode.h"
#include <zr/checked.h>

namespace model
{
/// Light sprites that are given as vertices, one for each light. No script makes one.
class FakeSpotLights3Node final : public NodeClass<FakeSpotLights3Node, BaseRenderNode>
{
public:
    u64 getNumControlNodes() const override { return controls.size(); }
    ObjectPtr<Node> getControlNode(u64 index) const override { return zr::at(controls, index); }
    void setControlNode(u64 index, ObjectPtr<Node> node) override { zr::at(controls, index) = std::move(node); }
    bool applyMatrix(u32 index, const f64* m) override
    {
        vertices.applyMatrix(m, index);
        return true;
    }

    void setArgument(u32, u32) override {}
    u32 getArgument(u32) const override { return kNoArgument; }
    /// Two for each vertex, as the nearest f32 and at most 2^32 - 1.
    u32 getPrimitiveCount() const override
    {
        const f32 primitives = 2.0f * static_cast<f32>(vertices.getVertexCount());
        return primitives < 4294967296.0f ? static_cast<u32>(primitives) : 0xFFFFFFFFu;
    }
    Box getBoundingBox(u32 index) const override { return vertices.computeBox(index); }
    zr::vector<Box> getBoundingBoxes() const override { return vertices.computeBoxes(controls.size()); }

    zr::vector<ObjectPtr<Node>> controls;
    Vertices vertices;
};
} // namespace model
