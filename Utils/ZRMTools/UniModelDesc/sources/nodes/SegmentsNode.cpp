#include "nodes/SegmentsNode.h"

#include <algorithm>
#include <cmath>

namespace model
{
namespace
{
void movePoint(vec3f& point, const f64* m)
{
    const f64 x = point.x();
    const f64 y = point.y();
    const f64 z = point.z();
    for (int column = 0; column < 3; ++column)
        point[column] = static_cast<f32>(x * m[column] + y * m[4 + column] + z * m[8 + column] + m[12 + column]);
}

/// Equal infinities agree, though their difference is NaN.
bool agrees(f32 a, f32 b)
{
    return a == b || std::abs(a - b) <= 1e-5f;
}
} // namespace

bool SegmentsNode::applyMatrix(u32, const f64* m)
{
    for (Segment& segment : segments)
    {
        movePoint(segment.start, m);
        movePoint(segment.end, m);
    }
    return true;
}

Box SegmentsNode::getBoundingBox() const
{
    Box box;
    for (const Segment& segment : segments)
        for (const vec3f& point : {segment.start, segment.end})
            box.extend(point.x(), point.y(), point.z());
    return box;
}

u32 SegmentsNode::removeDegenerates()
{
    const auto isDegenerate = [](const Segment& segment)
    {
        const auto& [a, b] = segment;
        return agrees(a.x(), b.x()) && agrees(a.y(), b.y()) && agrees(a.z(), b.z());
    };
    const auto kept = std::remove_if(segments.begin(), segments.end(), isDegenerate);
    const auto removed = segments.end() - kept;
    segments.erase(kept, segments.end());
    return static_cast<u32>(removed);
}
} // namespace model
