#pragma once

#include "nodes/TransformNode.h"

namespace model
{
/// A node that turns to the camera.
class BillboardNode final : public TransformNode
{
public:
    BillboardNode() { setVersion(1); }

    u32 mode = 0;
    u32 axisMode = 0;
    vec3d axis;

    u32 getType() const override { return kBillboardNode; }
    void accept(INodeVisitor& visitor) const override;

    int transformMoveRule() const override { return 1; }
    void applyMatrix(const f64*) override {}
};
} // namespace model
