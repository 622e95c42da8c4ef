#include "inc/FakeLights.h"

namespace pyzrm
{
FakeOmniLights::FakeOmniLights(const zr::string& name)
    : FakeOmniLights(name, "model::FakeOmniLightsNode", "fake_omni_lights2")
{
}

FakeOmniLights::FakeOmniLights(const zr::string& name, const char* className, const char* materialName)
    : FakeLights(name, className, materialName),
      sizeFactors(addProperty("sizeFactors", model::vec3f(20.0f, 1000.0f, 0.0f)))
{
    addProperty("luminance", 1.0f);
}

void FakeOmniLights::set(const zr::vector<Ref<FakeOmniLight>>& lights)
{
    zr::vector<model::FakeOmniLight> list;
    list.reserve(lights.size());
    for (const auto& light : lights)
        list.push_back(light->get());
    node->setLights(std::move(list));
}

void FakeOmniLights::setMinSizeInPixels(f32 pixels)
{
    sizeFactors->setValue(model::vec3f(pixels, sizeFactors->getValue().y(), 0.0f));
}

void FakeOmniLights::setMaxDistance(f32 distance)
{
    sizeFactors->setValue(model::vec3f(sizeFactors->getValue().x(), distance, 0.0f));
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
    : FakeLights(name, className, materialName),
      minSizeInPixels(addProperty("minSizeInPixels", 20.0f)),
      maxDistance(addProperty("maxDistance", 1000.0f)),
      coneSetup(addProperty("coneSetup", model::vec3f(1.0f, 0.8f, 0.05f)))
{
    addProperty("luminance", 1.0f);
}

void FakeSpotLights::set(const zr::vector<Ref<FakeSpotLight>>& lights)
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
} // namespace pyzrm
