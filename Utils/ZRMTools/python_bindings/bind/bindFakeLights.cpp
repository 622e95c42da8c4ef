#include "bind/Binder.h"
#include "bind/describe.h"
#include "inc/FakeLights.h"

namespace pyzrm
{
void bindFakeLights()
{
    using Name = const zr::string&;
    using FakeOmniLight = FakeOmniLights::FakeOmniLight;
    using FakeSpotLight = FakeSpotLights::FakeSpotLight;

    Binder<IRenderNode>().constructor<>().method("hasBlock", [](Ref<IRenderNode> self, const zr::string& name)
                                                 { return self->hasBlock(name.c_str()); });

    Binder<FakeOmniLight>()
        .constructor<>()
        .method("setPos", &FakeOmniLight::setPos)
        .method("setSize", &FakeOmniLight::setSize)
        .method("setUV", &FakeOmniLight::setUV);
    Binder<FakeOmniLights>()
        .constructor<Name>()
        .method("set", &FakeOmniLights::set)
        .method("setTexture", &FakeOmniLights::setTexture)
        .method("setMinSizeInPixels", &FakeOmniLights::setMinSizeInPixels)
        .method("setMaxDistance", &FakeOmniLights::setMaxDistance)
        .method("setLuminance", &FakeOmniLights::setLuminance)
        .method("setShiftToCamera", &FakeOmniLights::setShiftToCamera)
        .method("setControlNode", &FakeOmniLights::setControlNode)
        .repr("FakeOmniLights", describeNodes);
    Binder<AnimatedFakeOmniLights>()
        .constructor<Name>()
        .method("setAnimationArg", &AnimatedFakeOmniLights::setAnimationArg)
        .method("setLightsAnimation", &AnimatedFakeOmniLights::setLightsAnimation)
        .method("setControlNode", &AnimatedFakeOmniLights::setControlNode)
        .repr("AnimatedFakeOmniLights", describeNodes);

    Binder<FakeSpotLight>()
        .constructor<>()
        .method("setPos", &FakeSpotLight::setPos)
        .method("setSize", &FakeSpotLight::setSize)
        .method("setUV", &FakeSpotLight::setUV)
        .method("setBackUV", &FakeSpotLight::setBackUV)
        .method("setBackSide", &FakeSpotLight::setBackSide)
        .method("setDirection", &FakeSpotLight::setDirection);
    Binder<FakeSpotLights>()
        .constructor<Name>()
        .method("set", &FakeSpotLights::set)
        .method("setTexture", &FakeSpotLights::setTexture)
        .method("setMinSizeInPixels", &FakeSpotLights::setMinSizeInPixels)
        .method("setMaxDistance", &FakeSpotLights::setMaxDistance)
        .method("setLuminance", &FakeSpotLights::setLuminance)
        .method("setShiftToCamera", &FakeSpotLights::setShiftToCamera)
        .method("setConeSetup", &FakeSpotLights::setConeSetup)
        .method("setControlNode", &FakeSpotLights::setControlNode)
        .repr("FakeSpotLights", describeNodes);
    Binder<AnimatedFakeSpotLights>()
        .constructor<Name>()
        .method("setAnimationArg", &AnimatedFakeSpotLights::setAnimationArg)
        .method("setLightsAnimation", &AnimatedFakeSpotLights::setLightsAnimation)
        .method("setControlNode", &AnimatedFakeSpotLights::setControlNode)
        .repr("AnimatedFakeSpotLights", describeNodes);
}
} // namespace pyzrm
