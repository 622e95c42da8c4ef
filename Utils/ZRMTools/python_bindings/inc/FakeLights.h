#pragma once

#include "inc/ControlledNode.h"
#include "inc/IRenderNode.h"
#include "inc/PropertyFacades.h"
#include "nodes/FakeOmniLights.h"
#include "nodes/FakeSpotLights.h"
#include "utils/mesh/DamageSplit.h"

/// Sets of light sprites, plain and animated. Their model nodes stand from the constructor on.
namespace pyzrm
{
/// One sprite, as a script fills it; `Light` is the model's.
template <class Light>
class FakeLight : public Facade
{
public:
    void setPos(const Float3& position) { light.position = toVec3d(position); }
    void setSize(f32 size) { light.size = size; }
    /// Two corners; v is turned over.
    void setUV(const Float2& first, const Float2& second)
    {
        light.uvMin = flipped(first);
        light.uvMax = flipped(second);
    }

    const Light& get() const { return light; }

protected:
    /// Textures have their origin at the other end of v.
    static model::vec2f flipped(const Float2& uv) { return {std::get<0>(uv), 1.0f - std::get<1>(uv)}; }

    Light light;
};

/// What omni and spot sets share.
template <class ModelNode>
class FakeLights : public ControlledNode<IRenderNode, ModelNode>
{
public:
    NodeList getNodes() const override { return {this->node}; }

    void setTexture(const zr::string& name) { material->setTexture(0, name.c_str()); }
    void setLuminance(Ref<PropertyFloat> luminance)
    {
        luminance->get()->setName("luminance");
        material->properties.set(luminance->get());
    }
    void setShiftToCamera(f32 shift) { shiftToCamera->setValue(shift); }

protected:
    FakeLights(const zr::string& name, const char* className, const char* materialName)
        : ControlledNode<IRenderNode, ModelNode>(className, name),
          material(new model::PropertiesSet())
    {
        this->node->setMaterial(material);
        material->setMaterialName(materialName);
        material->setBlending(1);
        shiftToCamera = addProperty("shiftToCamera", 0.0f);
    }

    /// A new property at the end of the material's list.
    template <class V>
    model::ObjectPtr<model::StaticProperty<V>> addProperty(const char* name, V value)
    {
        auto property = makeStatic(name, value);
        material->properties.set(property);
        return property;
    }

    model::MaterialPtr material;
    model::ObjectPtr<model::FloatProperty> shiftToCamera;
};

class FakeOmniLights : public FakeLights<model::FakeOmniLightsNode>
{
public:
    using FakeOmniLight = FakeLight<model::FakeOmniLight>;
    using AnimatedNode = model::AnimatedFakeOmniLightsNode;
    static constexpr const char* kAnimatedClass = "model::AnimatedFakeOmniLightsNode";
    static constexpr const char* kAnimatedMaterial = "animated_fake_omni_lights2";

    explicit FakeOmniLights(const zr::string& name);

    void set(const zr::vector<Ref<FakeOmniLight>>& lights);
    /// Both keep the other's component and reset the third.
    void setMinSizeInPixels(f32 pixels);
    void setMaxDistance(f32 distance);

protected:
    FakeOmniLights(const zr::string& name, const char* className, const char* materialName);

private:
    model::ObjectPtr<model::Vec3fProperty> sizeFactors;
};

class FakeSpotLights : public FakeLights<model::FakeSpotLightsNode>
{
public:
    /// One sprite with a direction and, possibly, a back.
    class FakeSpotLight : public FakeLight<model::FakeSpotLight>
    {
    public:
        FakeSpotLight() { light.backUvMax = model::vec2f(0.25f, 0.5f); }

        void setBackUV(const Float2& first, const Float2& second);
        void setBackSide(bool enable) { light.backSide = enable; }
        void setDirection(const Float3& value) { direction = toValue(value); }

        const model::vec3f& getDirection() const { return direction; }

    private:
        model::vec3f direction{0.0f, 1.0f, 0.0f};
    };
    using AnimatedNode = model::AnimatedFakeSpotLightsNode;
    static constexpr const char* kAnimatedClass = "model::AnimatedFakeSpotLightsNode";
    static constexpr const char* kAnimatedMaterial = "animated_fake_spot_lights2";

    explicit FakeSpotLights(const zr::string& name);

    /// An empty list changes nothing.
    void set(const zr::vector<Ref<FakeSpotLight>>& lights);
    void setMinSizeInPixels(f32 pixels) { minSizeInPixels->setValue(pixels); }
    void setMaxDistance(f32 distance) { maxDistance->setValue(distance); }
    void setConeSetup(const Float3& setup) { coneSetup->setValue(toValue(setup)); }

protected:
    FakeSpotLights(const zr::string& name, const char* className, const char* materialName);

private:
    model::ObjectPtr<model::FloatProperty> minSizeInPixels;
    model::ObjectPtr<model::FloatProperty> maxDistance;
    model::ObjectPtr<model::Vec3fProperty> coneSetup;
};

/// A set whose brightness an argument drives.
template <class Lights>
class AnimatedFakeLights : public Lights
{
public:
    explicit AnimatedFakeLights(const zr::string& name)
        : Lights(name, Lights::kAnimatedClass, Lights::kAnimatedMaterial),
          arg(this->addProperty("arg", -1.0f))
    {
    }

    /// The property keeps the value as given, the node its whole part.
    void setAnimationArg(f32 argument)
    {
        arg->setValue(argument);
        animatedNode().setAnimationArgument(model::argumentFromFloat(argument));
    }
    /// See `sampleAnimation`.
    void setLightsAnimation(const ArgumentKeys<f32>& animation)
    {
        animatedNode().setSamples(sampleAnimation(animation));
    }

private:
    auto& animatedNode() const { return static_cast<typename Lights::AnimatedNode&>(*this->node); }

    model::ObjectPtr<model::FloatProperty> arg;
};

using AnimatedFakeOmniLights = AnimatedFakeLights<FakeOmniLights>;
using AnimatedFakeSpotLights = AnimatedFakeLights<FakeSpotLights>;
} // namespace pyzrm
