#pragma once

#include "nodes/ShellNode.h"

namespace model
{
struct Segment
{
    vec3f start;
    vec3f end;
};

/// Line segments for collision tests.
class SegmentsNode final : public NodeClass<SegmentsNode, BaseShellNode>
{
public:
    /// Moves both ends of every segment; the index plays no part.
    bool applyMatrix(u32 index, const f64* m) override;

    Box getBoundingBox() const override;
    bool isEmpty() const override { return segments.empty(); }
    /// Removes the segments whose ends differ by at most 1e-5 on each axis.
    u32 removeDegenerates() override;

    zr::vector<Segment>& getSegments() { return segments; }
    const zr::vector<Segment>& getSegments() const { return segments; }

    zr::vector<Segment> segments;
};
} // namespace model
