#include "bind/Binder.h"
#include "bind/describe.h"
#include "inc/FakeLights.h"

namespace pyzrm
{
namespace
{
/// One sprite of either kind.
template <class Light>
Binder<Light> bindSprite()
{
    Binder<Light> binder;
    binder.template constructor<>()
        .method("setPos", &Light::setPos)
        .method("setSize", &Light::setSize)
        .method("setUV", &Light::setUV);
    return binder;
}

template <class Lights>
Binder<Lights> bindSet()
{
    Binder<Lights> binder;
    binder.template constructor<const zr::string&>()
        .method("set", &Lights::set)
        .method("setTexture", &Lights::setTexture)
        .method("setMinSizeInPixels", &Lights::setMinSizeInPixels)
        .method("setMaxDistance", &Lights::setMaxDistance)
        .method("setLuminance", &Lights::setLuminance)
        .method("setShiftToCamera", &Lights::setShiftToCamera);
    return binder;
}

template <class Lights>
void bindAnimated(const char* nativeName)
{
    Binder<Lights>()
        .template constructor<const zr::string&>()
        .method("setAnimationArg", &Lights::setAnimationArg)
        .method("setLightsAnimation", &Lights::setLightsAnimation)
        .method("setControlNode", &Lights::setControlNode)
        .repr(nativeName, describeNodes);
}
} // namespace

void bindFakeLights()
{
    using FakeSpotLight = FakeSpotLights::FakeSpotLight;

    Binder<IRenderNode>().constructor<>().define<zr::string>("hasBlock", [](IRenderNode& self, const zr::string& name)
                                                             { return self.hasBlock(name.c_str()); });

    bindSprite<FakeOmniLights::FakeOmniLight>();
    bindSet<FakeOmniLights>()
        .method("setControlNode", &FakeOmniLights::setControlNode)
        .repr("FakeOmniLights", describeNodes);
    bindAnimated<AnimatedFakeOmniLights>("AnimatedFakeOmniLights");

    bindSprite<FakeSpotLight>()
        .method("setBackUV", &FakeSpotLight::setBackUV)
        .method("setBackSide", &FakeSpotLight::setBackSide)
        .method("setDirection", &FakeSpotLight::setDirection);
    bindSet<FakeSpotLights>()
        .method("setConeSetup", &FakeSpotLights::setConeSetup)
        .method("setControlNode", &FakeSpotLights::setControlNode)
        .repr("FakeSpotLights", describeNodes);
    bindAnimated<AnimatedFakeSpotLights>("AnimatedFakeSpotLights");
}
} // namespace pyzrm
