#include "materials/PropertiesSet.h"

#include <algorithm>
#include <cmath>

namespace model
{
TextureSlot& TextureSlot::operator=(const TextureSlot& other)
{
    name = other.name;
    sampler = other.sampler;
    textureIndex = other.textureIndex;
    return *this;
}

bool TextureSlot::isEqual(const TextureSlot& other) const
{
    return name == other.name && sampler == other.sampler && textureIndex == other.textureIndex &&
           std::equal(std::begin(matrix.m), std::end(matrix.m), std::begin(other.matrix.m),
                      [](f32 a, f32 b) { return std::abs(a - b) <= 1e-5f; });
}

void PropertiesSet::setName(const char* text)
{
    name = text ? text : "";
}

void PropertiesSet::setMaterialName(const char* text)
{
    materialName = text ? text : "";
}

bool PropertiesSet::isEqual(const PropertiesSet& other) const
{
    const auto alike = [](const TextureSlot& a, const TextureSlot& b)
    { return (!a.isUsed() && !b.isUsed()) || a.isEqual(b); };

    return name == other.name && blending == other.blending && vertexFormat == other.vertexFormat &&
           channels == other.channels && materialName == other.materialName && depthBias == other.depthBias &&
           castsShadow == other.castsShadow && shadowFlag2 == other.shadowFlag2 && decalId == other.decalId &&
           billboard == other.billboard && billboardMode1 == other.billboardMode1 &&
           billboardMode2 == other.billboardMode2 &&
           std::equal(textures.begin(), textures.end(), other.textures.begin(), alike) &&
           propertiesEqual(properties, other.properties);
}

MaterialPtr PropertiesSet::clone() const
{
    return MaterialPtr(new PropertiesSet(*this));
}

void PropertiesSet::forEachArgument(const std::function<void(u32)>& function) const
{
    model::forEachArgument(properties, function);
}
} // namespace model
