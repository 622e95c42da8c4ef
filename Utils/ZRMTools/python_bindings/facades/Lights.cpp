#include "inc/Lights.h"

#include <stdexcept>

#include "compute/InnerAngle.h"

namespace pyzrm
{
namespace
{
model::PropertyPtr makeTheta(const model::IProperty& phi, const model::IProperty& blend)
{
    constexpr const char* kName = "EMPTY_NAME";
    if (!phi.isAnimated() && !blend.isAnimated())
        return makeStatic(kName, innerAngle(valueAt(phi, 0.0f), valueAt(blend, 0.0f)));
    const auto& driver = dynamic_cast<const model::IAnimatedProperty&>(phi.isAnimated() ? phi : blend);
    model::Keys<f32> keys = innerAngleKeys(phi, blend);
    model::sortKeys(keys);
    model::simplifyKeys(keys, model::kPropertyTolerance);
    return makeAnimated(kName, driver.getArgument(), std::move(keys));
}
} // namespace

ILight::ILight(const zr::string& name, u8 lightType) : node(model::create<model::LightNode>())
{
    node->setName(name.c_str());
    node->lightType = lightType;
}

const model::ObjectPtr<model::LightNode>& ILight::getNode() const
{
    if (!node) throw std::invalid_argument("An ILight is no light.");
    return node;
}

void SpotLight::setAngles(Ref<PropertyFloat> phi, Ref<PropertyFloat> blend)
{
    setPhi(phi);
    light().setTheta(makeTheta(*phi->get(), *blend->get()));
}
} // namespace pyzrm
