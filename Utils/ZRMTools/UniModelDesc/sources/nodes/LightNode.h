#pragma once

#include "materials/PropertiesSet.h"
#include "nodes/BaseNode.h"
#include "nodes/Node.h"

namespace model
{
/// A real light. Version 2, or 3 once a volume setting other than the default was given.
///
/// The properties are never null: a setter ignores a null object.
class LightNode final : public BaseNode
{
public:
    LightNode();

    u32 getType() const override { return kLightNode; }
    void accept(INodeVisitor& visitor) const override;

    u64 getNumControlNodes() const override { return 1; }
    ObjectPtr<Node> getControlNode(u64) const override { return control; }
    void setControlNode(u64, ObjectPtr<Node> node) override { control = std::move(node); }
    /// The node's properties, then color to softness; the volume settings aren't reported.
    void forEachArgument(const std::function<void(u32)>& function) const override;

    /// Only a `FloatProperty` whose value differs from the default is taken; anything else changes nothing.
    void setVolumeRadiusFactor(const PropertyPtr& property) { setVolume(radiusFactor, property, 0.0f); }
    void setVolumeDensityFactor(const PropertyPtr& property) { setVolume(densityFactor, property, 1.0f); }
    void setVolumeNearDistance(const PropertyPtr& property) { setVolume(nearDistance, property, 0.0f); }
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

    ObjectPtr<Node> control;
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
