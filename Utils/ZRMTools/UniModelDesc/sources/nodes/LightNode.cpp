#include "nodes/LightNode.h"

#include "base/ObjectRegistry.h"

namespace model
{
namespace
{
PropertyPtr makeFloat(const char* name, f32 value)
{
    const auto property = create<FloatProperty>();
    property->setName(name);
    property->setValue(value);
    return property;
}

PropertyPtr makeColor()
{
    const auto property = create<Vec3fProperty>();
    property->setName("color");
    return property;
}
} // namespace

LightNode::LightNode()
    : radiusFactor(makeFloat("radiusFactor", 0.0f)),
      densityFactor(makeFloat("densityFactor", 1.0f)),
      nearDistance(makeFloat("nearDistance", 0.0f)),
      color(makeColor()),
      brightness(makeFloat("brightness", 0.0f)),
      phi(makeFloat("phi", 0.0f)),
      theta(makeFloat("theta", 0.0f)),
      distance(makeFloat("distance", 0.0f)),
      specularAmount(makeFloat("specularAmount", 1.0f)),
      softness(makeFloat("softness", 0.0f))
{
    version = 2;
}

void LightNode::forEachArgument(const std::function<void(u32)>& function) const
{
    BaseNode::forEachArgument(function);
    for (const PropertyPtr* property : getLightProperties())
        reportArgument(property->get(), function);
}

void LightNode::setVolumeType(u32 type)
{
    volumeType = type;
    if (type != 4) version = kVolumeVersion;
}

void LightNode::set(PropertyPtr& field, const PropertyPtr& property)
{
    if (property) field = property;
}

void LightNode::setVolume(PropertyPtr& field, const PropertyPtr& property, f32 defaultValue)
{
    const auto* given = dynamic_cast<const FloatProperty*>(property.get());
    if (!given || given->getValue() == defaultValue) return;
    field = property;
    version = kVolumeVersion;
}
} // namespace model
