#include "inc/FakeLights.h"

#include "utils/mesh/DamageSplit.h"

namespace pyzrm
{
namespace
{
/// Textures have their origin at the other end of v.
model::vec2f flipped(const Float2& uv)
{
    return {std::get<0>(uv), 1.0f - std::get<1>(uv)};
}

model::MaterialPtr makeMaterial(const char* materialName)
{
    model::MaterialPtr material(new model::PropertiesSet());
    material->setMaterialName(materialName);
    material->setBlending(1);
    return material;
}

/// A new property at the end of the material's list.
template <class V>
model::ObjectPtr<model::StaticProperty<V>> addProperty(const model::MaterialPtr& material, const char* name, V value)
{
    auto property = makeStatic(name, value);
    material->properties.set(property);
    return property;
}

void putLuminance(const model::MaterialPtr& material, const PropertyFloat& luminance)
{
    luminance.get()->setName("luminance");
    material->properties.set(luminance.get());
}
} // namespace

zr::vector<f32> sampleAnimation(const ArgumentKeys<f32>& animation)
{
    zr::vector<f32> samples;
    samples.reserve(animation.size() * model::kSamplesPerLight);
    i64 expected = 0;
    for (const auto& [light, list] : animation)
    {
        if (light.value != expected++) return {};
        model::Keys<f32> keys = toKeys(list);
        model::sortKeys(keys);
        model::simplifyKeys(keys, model::kPropertyTolerance);
        for (u32 k = 0; k < model::kSamplesPerLight; ++k)
            samples.push_back(model::evaluateKeys(keys, k / f64(model::kSamplesPerLight - 1)));
    }
    return samples;
}

void FakeOmniLights::FakeOmniLight::setUV(const Float2& first, const Float2& second)
{
    light.uvMin = flipped(first);
    light.uvMax = flipped(second);
}

FakeOmniLights::FakeOmniLights(const zr::string& name)
    : FakeOmniLights(name, "model::FakeOmniLightsNode", "fake_omni_lights2")
{
}

FakeOmniLights::FakeOmniLights(const zr::string& name, const char* className, const char* materialName)
    : material(makeMaterial(materialName)),
      node(model::create<model::FakeOmniLightsNode>(className))
{
    node->setMaterial(material);
    node->setName(name.c_str());
    shiftToCamera = addProperty(material, "shiftToCamera", 0.0f);
    sizeFactors = addProperty(material, "sizeFactors", model::vec3f(20.0f, 1000.0f, 0.0f));
    addProperty(material, "luminance", 1.0f);
}

void FakeOmniLights::set(const std::vector<Ref<FakeOmniLight>>& lights)
{
    zr::vector<model::FakeOmniLight> list;
    list.reserve(lights.size());
    for (const auto& light : lights)
        list.push_back(light->get());
    node->setLights(std::move(list));
}

void FakeOmniLights::setTexture(const zr::string& name)
{
    material->setTexture(0, name.c_str());
}

void FakeOmniLights::setMinSizeInPixels(f32 pixels)
{
    sizeFactors->setValue(model::vec3f(pixels, sizeFactors->getValue().y(), 0.0f));
}

void FakeOmniLights::setMaxDistance(f32 distance)
{
    sizeFactors->setValue(model::vec3f(sizeFactors->getValue().x(), distance, 0.0f));
}

void FakeOmniLights::setLuminance(Ref<PropertyFloat> luminance)
{
    putLuminance(material, *luminance);
}

FakeSpotLights::FakeSpotLight::FakeSpotLight()
{
    light.backUvMax = model::vec2f(0.25f, 0.5f);
}

void FakeSpotLights::FakeSpotLight::setUV(const Float2& first, const Float2& second)
{
    light.uvMin = flipped(first);
    light.uvMax = flipped(second);
}

void FakeSpotLights::FakeSpotLight::setBackUV(const Float2& first, const Float2& second)
{
    light.backUvMin = flipped(first);
    light.backUvMax = flipped(second);
}

FakeSpotLights::FakeSpotLights(const zr::string& name)
    : FakeSpotLights(name, "model::FakeSpotLightsNode", "fake_spot_lights2")
{
}

FakeSpotLights::FakeSpotLights(const zr::string& name, const char* className, const char* materialName)
    : material(makeMaterial(materialName)),
      node(model::create<model::FakeSpotLightsNode>(className))
{
    node->setMaterial(material);
    node->setName(name.c_str());
    shiftToCamera = addProperty(material, "shiftToCamera", 0.0f);
    minSizeInPixels = addProperty(material, "minSizeInPixels", 20.0f);
    maxDistance = addProperty(material, "maxDistance", 1000.0f);
    coneSetup = addProperty(material, "coneSetup", model::vec3f(1.0f, 0.8f, 0.05f));
    addProperty(material, "luminance", 1.0f);
}

void FakeSpotLights::set(const std::vector<Ref<FakeSpotLight>>& lights)
{
    if (lights.empty()) return;
    zr::vector<model::FakeSpotLight> list;
    zr::vector<model::vec3f> directions;
    list.reserve(lights.size());
    directions.reserve(lights.size());
    for (const auto& light : lights)
    {
        list.push_back(light->get());
        directions.push_back(light->getDirection());
    }
    node->setDirections(std::move(directions));
    material->setMaterialName("fake_spot_lights2_wdir");
    node->setLights(std::move(list));
}

void FakeSpotLights::setTexture(const zr::string& name)
{
    material->setTexture(0, name.c_str());
}

void FakeSpotLights::setLuminance(Ref<PropertyFloat> luminance)
{
    putLuminance(material, *luminance);
}

AnimatedFakeOmniLights::AnimatedFakeOmniLights(const zr::string& name)
    : FakeOmniLights(name, "model::AnimatedFakeOmniLightsNode", "animated_fake_omni_lights2"),
      arg(addProperty(material, "arg", -1.0f))
{
}

model::AnimatedFakeOmniLightsNode& AnimatedFakeOmniLights::animatedNode() const
{
    return static_cast<model::AnimatedFakeOmniLightsNode&>(*node);
}

void AnimatedFakeOmniLights::setAnimationArg(f32 argument)
{
    arg->setValue(argument);
    animatedNode().setAnimationArgument(model::argumentFromFloat(argument));
}

void AnimatedFakeOmniLights::setLightsAnimation(const ArgumentKeys<f32>& animation)
{
    animatedNode().setSamples(sampleAnimation(animation));
}

AnimatedFakeSpotLights::AnimatedFakeSpotLights(const zr::string& name)
    : FakeSpotLights(name, "model::AnimatedFakeSpotLightsNode", "animated_fake_spot_lights2"),
      arg(addProperty(material, "arg", -1.0f))
{
}

model::AnimatedFakeSpotLightsNode& AnimatedFakeSpotLights::animatedNode() const
{
    return static_cast<model::AnimatedFakeSpotLightsNode&>(*node);
}

void AnimatedFakeSpotLights::setAnimationArg(f32 argument)
{
    arg->setValue(argument);
    animatedNode().setAnimationArgument(model::argumentFromFloat(argument));
}

void AnimatedFakeSpotLights::setLightsAnimation(const ArgumentKeys<f32>& animation)
{
    animatedNode().setSamples(sampleAnimation(animation));
}
} // namespace pyzrm
