#pragma once

#include "nodes/Node.h"

namespace model
{
/// The distances to the camera at which one level is used, squared.
struct LodLevel
{
    f64 nearBound = 0.0;
    f64 farBound = 0.0;
};

/// Each child is used in a range of distances to the camera.
class LodNode final : public NodeClass<LodNode, Node>
{
public:
    /// One for each child, in the order of the children.
    zr::vector<LodLevel> levels;

    void setLevels(zr::vector<LodLevel> list) { levels = std::move(list); }
    const zr::vector<LodLevel>& getLevels() const { return levels; }

    int transformMoveRule() const override { return 1; }
    bool isOptimizationBarrier() const override { return true; }
};
} // namespace model
