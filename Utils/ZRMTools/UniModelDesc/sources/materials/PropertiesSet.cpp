#include "materials/PropertiesSet.h"

namespace model
{
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
    return name == other.name && blending == other.blending && vertexFormat == other.vertexFormat &&
           channels == other.channels && materialName == other.materialName && depthBias == other.depthBias &&
           castsShadow == other.castsShadow && shadowFlag2 == other.shadowFlag2 && decalId == other.decalId &&
           billboard == other.billboard && billboardMode1 == other.billboardMode1 &&
           billboardMode2 == other.billboardMode2 && textures.isEqual(other.textures) &&
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
