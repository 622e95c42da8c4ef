#pragma once

#include "nodes/TransformNode.h"

namespace model
{
/// A node that turns to the camera. Its version, 1, is a property of its own from the start.
class BillboardNode final : public NodeClass<BillboardNode, TransformNode>
{
public:
    BillboardNode() { setVersion(1); }

    u32 mode = 0;
    u32 axisMode = 0;
    vec3d axis;

    int transformMoveRule() const override { return 1; }
    void applyMatrix(const f64*) override {}
};
} // namespace model
