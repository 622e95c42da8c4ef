#include "nodes/FakeOmniLights.h"

#include "base/INodeVisitor.h"
#include "nodes/FakeLights.h"

namespace model
{
void FakeOmniLightsNode::accept(INodeVisitor& visitor) const
{
    visitor.visit(*this);
}

bool FakeOmniLightsNode::applyMatrix(u32 index, const f64* m)
{
    for (FakeOmniLight& light : lights)
        if (light.controlIndex == index) moveLight(light, m);
    return true;
}

Box FakeOmniLightsNode::getBoundingBox(u32 index) const
{
    return boxOfLights(lights, index);
}

zr::vector<Box> FakeOmniLightsNode::getBoundingBoxes() const
{
    return boxesOfLights(lights, controls.size());
}

void FakeOmniLightsNode::setLights(zr::vector<FakeOmniLight> list)
{
    lights = std::move(list);
    controls.resize(1);
}

void AnimatedFakeOmniLightsNode::accept(INodeVisitor& visitor) const
{
    visitor.visit(*this);
}

void AnimatedFakeOmniLightsNode::forEachArgument(const std::function<void(u32)>& function) const
{
    FakeOmniLightsNode::forEachArgument(function);
    if (argument != kNoArgument) function(argument);
}
} // namespace model
