#pragma once

#include "nodes/BaseRenderNode.h"
#include <zr/checked.h>

/// What omni and spot lights share.
namespace model
{
/// One light sprite; all that an omni light is.
struct FakeOmniLight
{
    vec3d position;
    vec2f uvMin;
    vec2f uvMax;
    f32 size = 0.0f;
    /// The entry of `controls` that moves this light.
    u32 controlIndex = 0;
};

/// Moves the light as a projective point.
void moveLight(FakeOmniLight& light, const f64* m);
/// Widens the box by the cube of the light's size around its position.
void extendByLight(Box& box, const FakeOmniLight& light);

/// The node of an entry of `controls`.
inline ObjectPtr<Node>& nodeOf(ObjectPtr<Node>& control)
{
    return control;
}
inline const ObjectPtr<Node>& nodeOf(const ObjectPtr<Node>& control)
{
    return control;
}

/// A set of light sprites of type `Light` on control nodes, each held in a `Control`. A light whose `controlIndex` is
/// beyond `controls` belongs to no box and is never moved.
template <class Class, class Light, class Control>
class FakeLightsNode : public NodeClass<Class, BaseRenderNode>
{
public:
    FakeLightsNode() : controls(1) {}

    u64 getNumControlNodes() const override { return controls.size(); }
    ObjectPtr<Node> getControlNode(u64 index) const override { return nodeOf(zr::at(controls, index)); }
    void setControlNode(u64 index, ObjectPtr<Node> node) override { nodeOf(zr::at(controls, index)) = std::move(node); }

    /// `Class::moveLightAt` of the lights of this index.
    bool applyMatrix(u32 index, const f64* m) override
    {
        for (std::size_t i = 0; i < lights.size(); ++i)
            if (lights[i].controlIndex == index) static_cast<Class&>(*this).moveLightAt(i, m);
        return true;
    }

    /// Lights have no damage argument.
    void setArgument(u32, u32) override {}
    u32 getArgument(u32) const override { return kNoArgument; }
    u32 getPrimitiveCount() const override { return static_cast<u32>(2 * lights.size()); }

    Box getBoundingBox(u32 index) const override
    {
        Box box;
        for (const Light& light : lights)
            if (light.controlIndex == index) extendByLight(box, light);
        return box;
    }
    zr::vector<Box> getBoundingBoxes() const override
    {
        zr::vector<Box> boxes(controls.size());
        for (const Light& light : lights)
            if (light.controlIndex < boxes.size()) extendByLight(boxes[light.controlIndex], light);
        return boxes;
    }

    zr::vector<Light>& getLights() { return lights; }
    const zr::vector<Light>& getLights() const { return lights; }
    /// Replaces the lights; exactly one entry of `controls` remains.
    void setLights(zr::vector<Light> list)
    {
        lights = std::move(list);
        controls.resize(1);
    }

    zr::vector<Control> controls;
    zr::vector<Light> lights;
};

/// The samples of one light over its argument from 0 to 1.
constexpr u32 kSamplesPerLight = 128;

/// Lights whose brightness an argument drives.
template <class Class, class Lights>
class AnimatedLightsNode : public NodeClass<Class, Lights>
{
public:
    void forEachArgument(const std::function<void(u32)>& function) const override
    {
        Lights::forEachArgument(function);
        if (argument != kNoArgument) function(argument);
    }

    void setAnimationArgument(u32 value) { argument = value; }
    void setSamples(zr::vector<f32> list) { samples = std::move(list); }

    u32 argument = kNoArgument;
    /// `kSamplesPerLight` for each light, light after light; checked at writing.
    zr::vector<f32> samples;
};
} // namespace model
