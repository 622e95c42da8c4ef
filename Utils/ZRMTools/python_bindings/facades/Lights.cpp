#include "inc/Lights.h"

#include <cmath>
#include <stdexcept>

namespace pyzrm
{
namespace
{
/// The present value of a property, or its value at `time` when it is animated; 0 without keys.
f32 valueAt(const model::IProperty& property, f32 time)
{
    if (const auto* animated = dynamic_cast<const model::AnimatedFloatProperty*>(&property))
        return model::evaluateKeys(animated->getKeys(), time);
    return dynamic_cast<const model::FloatProperty&>(property).getValue();
}

constexpr const char* kThetaName = "EMPTY_NAME";

model::PropertyPtr makeAnimatedTheta(const model::IProperty& phi, const model::IProperty& blend)
{
    const auto& driver = dynamic_cast<const model::IAnimatedProperty&>(phi.isAnimated() ? phi : blend);
    model::Keys<f32> keys;
    keys.reserve(2001);
    for (f32 time = -1.0f; time <= 1.0f; time += 0.001f)
        keys.push_back({time, innerAngle(valueAt(phi, time), valueAt(blend, time))});
    return makeAnimated(kThetaName, driver.getArgument(), std::move(keys), /*reduce=*/true);
}
} // namespace

ILight::ILight(const zr::string& name, u8 lightType) : node(model::create<model::LightNode>("model::LightNode"))
{
    node->setName(name.c_str());
    node->lightType = lightType;
}

const model::ObjectPtr<model::LightNode>& ILight::getNode() const
{
    if (!node) throw std::invalid_argument("An ILight is no light.");
    return node;
}

f32 innerAngle(f32 outer, f32 blend)
{
    // The functions in 64 bits, rounded to 32: C libraries agree on that, but not on their own 32-bit versions.
    const f32 slope = static_cast<f32>(std::tan(static_cast<f64>(outer * 0.5f)));
    const f32 narrowed = slope * (1.0f - blend);
    return 2.0f * static_cast<f32>(std::atan(static_cast<f64>(narrowed)));
}

void SpotLight::setAngles(Ref<PropertyFloat> phi, Ref<PropertyFloat> blend)
{
    const model::IProperty& outer = *phi->get();
    const model::IProperty& narrowing = *blend->get();
    setPhi(phi);
    if (outer.isAnimated() || narrowing.isAnimated())
        light().setTheta(makeAnimatedTheta(outer, narrowing));
    else
        light().setTheta(makeStatic(kThetaName, innerAngle(valueAt(outer, 0.0f), valueAt(narrowing, 0.0f))));
}
} // namespace pyzrm
