#pragma once

#include "nodes/FakeLights.h"
#include <zr/checked.h>

namespace model
{
/// A set of light sprites that look the same from all sides.
class FakeOmniLightsNode : public FakeLightsNode<FakeOmniLightsNode, FakeOmniLight, ObjectPtr<Node>>
{
public:
    /// Moves the lights of this index as projective points.
    bool applyMatrix(u32 index, const f64* m) override
    {
        for (FakeOmniLight& light : lights)
            if (light.controlIndex == index) moveLight(light, m);
        return true;
    }
};

class AnimatedFakeOmniLightsNode final : public AnimatedLightsNode<AnimatedFakeOmniLightsNode, FakeOmniLightsNode>
{
};
} // namespace model
