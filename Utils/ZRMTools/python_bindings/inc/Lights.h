#pragma once

#include "inc/NodeFacades.h"
#include "inc/PropertyFacades.h"
#include "nodes/LightNode.h"

namespace pyzrm
{
/// Base of the lights. An object of this very class has no model node and is of no use.
class ILight : public Facade
{
public:
    ILight() = default;

    /// All of these, and `getNode`, raise std::invalid_argument when there is no node.
    void setVolumeRadiusFactor(Ref<PropertyFloat> factor) { light().setVolumeRadiusFactor(factor->get()); }
    void setVolumeDensityFactor(Ref<PropertyFloat> factor) { light().setVolumeDensityFactor(factor->get()); }
    void setVolumeNearDistance(Ref<PropertyFloat> distance) { light().setVolumeNearDistance(distance->get()); }
    void setVolumeType(WholeNumber type) { light().setVolumeType(type.asHandle()); }

    const model::ObjectPtr<model::LightNode>& getNode() const;

protected:
    ILight(const zr::string& name, u8 lightType);

    model::LightNode& light() const { return *getNode(); }

private:
    model::ObjectPtr<model::LightNode> node;
};

/// The setters that omni and spot lights share. Each stores the property object itself.
class PointLight : public ILight
{
public:
    const zr::string& getName() const { return light().getName(); }
    void setColor(Ref<PropertyFloat3> color) { light().setColor(color->get()); }
    void setBrightness(Ref<PropertyFloat> brightness) { light().setBrightness(brightness->get()); }
    void setDistance(Ref<PropertyFloat> distance) { light().setDistance(distance->get()); }
    void setSpecularAmount(Ref<PropertyFloat> amount) { light().setSpecularAmount(amount->get()); }
    void setSoftness(Ref<PropertyFloat> softness) { light().setSoftness(softness->get()); }
    void setControlNode(Ref<Node> control) { light().setControlNode(0, control->getNode()); }

protected:
    using ILight::ILight;
};

class OmniLight : public PointLight
{
public:
    explicit OmniLight(const zr::string& name) : PointLight(name, 0) {}
};

class SpotLight : public PointLight
{
public:
    explicit SpotLight(const zr::string& name) : PointLight(name, 1) {}

    void setPhi(Ref<PropertyFloat> phi) { light().setPhi(phi->get()); }
    void setTheta(Ref<PropertyFloat> theta) { light().setTheta(theta->get()); }
    /// phi, and theta as the inner cone that is `blend`, 0 to 1, narrower; see compute/InnerAngle.h.
    void setAngles(Ref<PropertyFloat> phi, Ref<PropertyFloat> blend);
};
} // namespace pyzrm
