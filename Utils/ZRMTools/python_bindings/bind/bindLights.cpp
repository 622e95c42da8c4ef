#include "bind/Binder.h"
#include "inc/Lights.h"

namespace pyzrm
{
void bindLights()
{
    using Name = const zr::string&;
    const auto name = [](const PointLight& light) { return light.getName(); };

    Binder<ILight>()
        .constructor<>()
        .method("setVolumeRadiusFactor", &ILight::setVolumeRadiusFactor)
        .method("setVolumeDensityFactor", &ILight::setVolumeDensityFactor)
        .method("setVolumeNearDistance", &ILight::setVolumeNearDistance)
        .method("setVolumeType", &ILight::setVolumeType);
    Binder<OmniLight>()
        .constructor<Name>()
        .method("setColor", &OmniLight::setColor)
        .method("setBrightness", &OmniLight::setBrightness)
        .method("setDistance", &OmniLight::setDistance)
        .method("setSpecularAmount", &OmniLight::setSpecularAmount)
        .method("setSoftness", &OmniLight::setSoftness)
        .method("setControlNode", &OmniLight::setControlNode)
        .repr("OmniLight", name);
    Binder<SpotLight>()
        .constructor<Name>()
        .method("setColor", &SpotLight::setColor)
        .method("setBrightness", &SpotLight::setBrightness)
        .method("setDistance", &SpotLight::setDistance)
        .method("setSpecularAmount", &SpotLight::setSpecularAmount)
        .method("setSoftness", &SpotLight::setSoftness)
        .method("setPhi", &SpotLight::setPhi)
        .method("setTheta", &SpotLight::setTheta)
        .method("setAngles", &SpotLight::setAngles)
        .method("setControlNode", &SpotLight::setControlNode)
        .repr("SpotLight", name);
}
} // namespace pyzrm
