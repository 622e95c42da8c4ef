#pragma once

#include <utility>

#include "nodes/Node.h"

namespace model
{
/// Each child is used in a range of distances to the camera.
class LodNode final : public Node
{
public:
    /// Near and far bound of each level, as squared distances.
    zr::vector<std::pair<f64, f64>> levels;

    void setLevels(zr::vector<std::pair<f64, f64>> list) { levels = std::move(list); }
    const zr::vector<std::pair<f64, f64>>& getLevels() const { return levels; }

    u32 getType() const override { return kLodNode; }
    void accept(INodeVisitor& visitor) const override;

    int transformMoveRule() const override { return 1; }
    bool isOptimizationBarrier() const override { return true; }
};
} // namespace model
