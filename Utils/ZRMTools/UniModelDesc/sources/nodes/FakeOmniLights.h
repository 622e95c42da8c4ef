#pragma once

#include "nodes/FakeLights.h"
#include <zr/checked.h>

namespace model
{
/// A set of light sprites that look the same from all sides.
class FakeOmniLightsNode : public FakeLightsNode<FakeOmniLightsNode, FakeOmniLight, ObjectPtr<Node>>
{
public:
    /// Moves one light as a projective point.
    void moveLightAt(std::size_t light, const f64* m) { moveLight(lights[light], m); }
};

class AnimatedFakeOmniLightsNode final : public AnimatedLightsNode<AnimatedFakeOmniLightsNode, FakeOmniLightsNode>
{
};
} // namespace model
