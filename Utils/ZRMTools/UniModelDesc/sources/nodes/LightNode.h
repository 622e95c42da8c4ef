#pragma once

#include <array>

#include "materials/PropertiesSet.h"
#include "nodes/SingleControlNode.h"

namespace model
{
/// The version from which a light's record has the volume settings.
constexpr u32 kVolumeVersion = 3;

/// A real light. Version 2, or 3 once a volume setting other than the default was given.
///
/// The properties are never null: a setter ignores a null object. They are shared with whoever gave them.
class LightNode final : public NodeClass<LightNode, SingleControlNode>
{
public:
    LightNode();

    /// The node's properties, then `getLightProperties`; the volume settings aren't reported.
    void forEachArgument(const std::function<void(u32)>& function) const override;

    /// Only a `FloatProperty` whose value differs from the default is taken; anything else changes nothing.
    void setVolumeRadiusFactor(const PropertyPtr& property) { setVolume(radiusFactor, property, 0.0f); }
    void setVolumeDensityFactor(const PropertyPtr& property) { setVolume(densityFactor, property, 1.0f); }
    void setVolumeNearDistance(const PropertyPtr& property) { setVolume(nearDistance, property, 0.0f); }
    /// 4 is the default; any other type makes the light version 3.
    void setVolumeType(u32 type);

    void setColor(const PropertyPtr& property) { set(color, property); }
    void setBrightness(const PropertyPtr& property) { set(brightness, property); }
    void setPhi(const PropertyPtr& property) { set(phi, property); }
    void setTheta(const PropertyPtr& property) { set(theta, property); }
    void setDistance(const PropertyPtr& property) { set(distance, property); }
    void setSpecularAmount(const PropertyPtr& property) { set(specularAmount, property); }
    void setSoftness(const PropertyPtr& property) { set(softness, property); }
    TextureSlot& getTexture() { return texture; }
    const TextureSlot& getTexture() const { return texture; }

    /// What every light has, and what a light of version 3 has besides, in the order of the record.
    std::array<const PropertyPtr*, 7> getLightProperties() const
    {
        return {&color, &brightness, &phi, &theta, &distance, &specularAmount, &softness};
    }
    std::array<const PropertyPtr*, 3> getVolumeProperties() const
    {
        return {&radiusFactor, &densityFactor, &nearDistance};
    }

    PropertyPtr radiusFactor;
    PropertyPtr densityFactor;
    PropertyPtr nearDistance;
    u32 volumeType = 4;
    /// 0 omni, 1 spot.
    u8 lightType = 0;
    PropertyPtr color;
    PropertyPtr brightness;
    PropertyPtr phi;
    PropertyPtr theta;
    PropertyPtr distance;
    PropertyPtr specularAmount;
    PropertyPtr softness;
    TextureSlot texture;

private:
    static void set(PropertyPtr& field, const PropertyPtr& property);
    void setVolume(PropertyPtr& field, const PropertyPtr& property, f32 defaultValue);
};
} // namespace model
