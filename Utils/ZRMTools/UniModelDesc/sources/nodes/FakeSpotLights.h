#pragma once

#include "nodes/FakeLights.h"
#include <zr/checked.h>

namespace model
{
/// One light sprite with, possibly, a back of its own.
struct FakeSpotLight : FakeOmniLight
{
    vec2f backUvMin;
    vec2f backUvMax;
    bool backSide = false;
};

/// A node that spot lights hang on.
struct SpotControl
{
    ObjectPtr<Node> parent;
    vec3f direction;
};

inline ObjectPtr<Node>& nodeOf(SpotControl& control)
{
    return control.parent;
}
inline const ObjectPtr<Node>& nodeOf(const SpotControl& control)
{
    return control.parent;
}

/// The version from which a record has the directions.
constexpr u32 kDirectionsVersion = 2;

/// A set of light sprites that are seen from one side. Version 1, or 2 with directions.
class FakeSpotLightsNode : public FakeLightsNode<FakeSpotLightsNode, FakeSpotLight, SpotControl>
{
public:
    FakeSpotLightsNode() { version = 1; }

    /// Moves one light as a projective point and, when there are directions, turns its own.
    /// @throws std::out_of_range "Expected idx < size()" for a light without a direction, with nothing changed
    void moveLightAt(std::size_t light, const f64* m);

    /// Replaces the directions; a list with entries makes the node version 2. Returns whether it has.
    bool setDirections(zr::vector<vec3f> list);

    /// One for each light, or none; checked at writing.
    zr::vector<vec3f> directions;
};

class AnimatedFakeSpotLightsNode final : public AnimatedLightsNode<AnimatedFakeSpotLightsNode, FakeSpotLightsNode>
{
};
} // namespace model
