#pragma once

#include "inc/IRenderNode.h"
#include "inc/NodeFacades.h"
#include "inc/PropertyFacades.h"
#include "nodes/FakeOmniLights.h"
#include "nodes/FakeSpotLights.h"

/// Sets of light sprites, plain and animated. Their model nodes stand from the constructor on.
namespace pyzrm
{
class FakeOmniLights : public IRenderNode
{
public:
    /// One sprite, as a script fills it.
    class FakeOmniLight : public Facade
    {
    public:
        void setPos(const Float3& position) { light.position = toVec3d(position); }
        void setSize(f32 size) { light.size = size; }
        /// Two corners; v is turned over.
        void setUV(const Float2& first, const Float2& second);

        const model::FakeOmniLight& get() const { return light; }

    private:
        model::FakeOmniLight light;
    };

    explicit FakeOmniLights(const zr::string& name);

    NodeList getNodes() const override { return {node}; }

    void set(const std::vector<Ref<FakeOmniLight>>& lights);
    void setTexture(const zr::string& name);
    /// Both keep the other's component and reset the third.
    void setMinSizeInPixels(f32 pixels);
    void setMaxDistance(f32 distance);
    void setLuminance(Ref<PropertyFloat> luminance);
    void setShiftToCamera(f32 shift) { shiftToCamera->setValue(shift); }
    void setControlNode(Ref<Node> control) { node->setControlNode(0, control->getNode()); }

protected:
    FakeOmniLights(const zr::string& name, const char* className, const char* materialName);

    model::ObjectPtr<model::FloatProperty> shiftToCamera;
    model::ObjectPtr<model::Vec3fProperty> sizeFactors;
    model::MaterialPtr material;
    model::ObjectPtr<model::FakeOmniLightsNode> node;
};

class FakeSpotLights : public IRenderNode
{
public:
    /// One sprite with a direction and, possibly, a back.
    class FakeSpotLight : public Facade
    {
    public:
        FakeSpotLight();

        void setPos(const Float3& position) { light.position = toVec3d(position); }
        void setSize(f32 size) { light.size = size; }
        /// Two corners; v is turned over.
        void setUV(const Float2& first, const Float2& second);
        void setBackUV(const Float2& first, const Float2& second);
        void setBackSide(bool enable) { light.backSide = enable; }
        void setDirection(const Float3& value) { direction = toVec3f(value); }

        const model::FakeSpotLight& get() const { return light; }
        const model::vec3f& getDirection() const { return direction; }

    private:
        model::FakeSpotLight light;
        model::vec3f direction{0.0f, 1.0f, 0.0f};
    };

    explicit FakeSpotLights(const zr::string& name);

    NodeList getNodes() const override { return {node}; }

    /// An empty list changes nothing.
    void set(const std::vector<Ref<FakeSpotLight>>& lights);
    void setTexture(const zr::string& name);
    void setMinSizeInPixels(f32 pixels) { minSizeInPixels->setValue(pixels); }
    void setMaxDistance(f32 distance) { maxDistance->setValue(distance); }
    void setLuminance(Ref<PropertyFloat> luminance);
    void setShiftToCamera(f32 shift) { shiftToCamera->setValue(shift); }
    void setConeSetup(const Float3& setup) { coneSetup->setValue(toVec3f(setup)); }
    void setControlNode(Ref<Node> control) { node->setControlNode(0, control->getNode()); }

protected:
    FakeSpotLights(const zr::string& name, const char* className, const char* materialName);

    model::ObjectPtr<model::FloatProperty> shiftToCamera;
    model::ObjectPtr<model::FloatProperty> minSizeInPixels;
    model::ObjectPtr<model::FloatProperty> maxDistance;
    model::ObjectPtr<model::Vec3fProperty> coneSetup;
    model::MaterialPtr material;
    model::ObjectPtr<model::FakeSpotLightsNode> node;
};

class AnimatedFakeOmniLights : public FakeOmniLights
{
public:
    explicit AnimatedFakeOmniLights(const zr::string& name);

    /// The property keeps the value as given, the node its whole part.
    void setAnimationArg(f32 argument);
    /// See `sampleAnimation`.
    void setLightsAnimation(const ArgumentKeys<f32>& animation);

private:
    model::AnimatedFakeOmniLightsNode& animatedNode() const;

    model::ObjectPtr<model::FloatProperty> arg;
};

class AnimatedFakeSpotLights : public FakeSpotLights
{
public:
    explicit AnimatedFakeSpotLights(const zr::string& name);

    void setAnimationArg(f32 argument);
    void setLightsAnimation(const ArgumentKeys<f32>& animation);

private:
    model::AnimatedFakeSpotLightsNode& animatedNode() const;

    model::ObjectPtr<model::FloatProperty> arg;
};

/// 128 samples over 0 to 1 for each entry (number of the light, keys), of the sorted and simplified keys; zeros for an
/// entry without keys. Empty when the numbers are not 0, 1, 2 ...
zr::vector<f32> sampleAnimation(const ArgumentKeys<f32>& animation);
} // namespace pyzrm
