#include "nodes/FakeSpotLights.h"

#include <cmath>

#include <zr/checked.h>
namespace model
{
namespace
{
/// Turns a direction by the upper left 3 by 3 of `m` and brings it to length 1.
vec3f turned(const vec3f& direction, const f64* m)
{
    vec3f result;
    for (int column = 0; column < 3; ++column)
        result[column] = static_cast<f32>(static_cast<f64>(direction.x()) * m[column] +
                                          static_cast<f64>(direction.y()) * m[4 + column] +
                                          static_cast<f64>(direction.z()) * m[8 + column]);
    const f32 length = std::sqrt(result.x() * result.x() + result.y() * result.y() + result.z() * result.z());
    if (length > 0.0f)
        for (int axis = 0; axis < 3; ++axis)
            result[axis] /= length;
    return result;
}
} // namespace

void FakeSpotLightsNode::moveLightAt(std::size_t light, const f64* m)
{
    if (!directions.empty())
    {
        vec3f& direction = zr::at(directions, light);
        direction = turned(direction, m);
    }
    moveLight(lights[light], m);
}

bool FakeSpotLightsNode::setDirections(zr::vector<vec3f> list)
{
    directions = std::move(list);
    if (directions.empty()) return false;
    version = kDirectionsVersion;
    return true;
}
} // namespace model
