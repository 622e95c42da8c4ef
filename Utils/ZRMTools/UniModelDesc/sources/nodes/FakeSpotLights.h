#pragma once

#include "nodes/FakeOmniLights.h"
#include <zr/checked.h>

namespace model
{
/// One light sprite with, possibly, a back of its own.
struct FakeSpotLight : FakeOmniLight
{
    vec2f backUvMin;
    vec2f backUvMax;
    bool backSide = false;
};

/// A node that spot lights hang on.
struct SpotControl
{
    ObjectPtr<Node> parent;
    vec3f direction;
};

/// A set of light sprites that are seen from one side. Version 1, or 2 with directions.
class FakeSpotLightsNode : public BaseRenderNode
{
public:
    FakeSpotLightsNode();

    u32 getType() const override { return kFakeSpotLightsNode; }
    void accept(INodeVisitor& visitor) const override;

    u64 getNumControlNodes() const override { return controls.size(); }
    ObjectPtr<Node> getControlNode(u64 index) const override { return zr::at(controls, index).parent; }
    void setControlNode(u64 index, ObjectPtr<Node> node) override { zr::at(controls, index).parent = std::move(node); }
    /// Moves the lights of this index as projective points and, when there are directions, turns theirs.
    /// @throws std::out_of_range "Expected idx < size()" for a light without a direction
    bool applyMatrix(u32 index, const f64* m) override;

    void setArgument(u32, u32) override {}
    u32 getArgument(u32) const override { return kNoArgument; }
    u32 getPrimitiveCount() const override { return static_cast<u32>(2 * lights.size()); }
    Box getBoundingBox(u32 index) const override;
    zr::vector<Box> getBoundingBoxes() const override;

    /// Replaces the lights; exactly one entry of `controls` remains.
    virtual void setLights(zr::vector<FakeSpotLight> list);
    virtual zr::vector<FakeSpotLight>& getLights() { return lights; }
    virtual const zr::vector<FakeSpotLight>& getLights() const { return lights; }
    /// Replaces the directions; a list with entries makes the node version 2. Returns whether it has.
    bool setDirections(zr::vector<vec3f> list);

    zr::vector<SpotControl> controls;
    zr::vector<FakeSpotLight> lights;
    /// One for each light, or none; checked at writing.
    zr::vector<vec3f> directions;
};

/// Spot lights whose brightness an argument drives.
class AnimatedFakeSpotLightsNode final : public FakeSpotLightsNode
{
public:
    u32 getType() const override { return kAnimatedFakeSpotLightsNode; }
    void accept(INodeVisitor& visitor) const override;
    void forEachArgument(const std::function<void(u32)>& function) const override;

    void setAnimationArgument(u32 value) { argument = value; }
    void setSamples(zr::vector<f32> list) { samples = std::move(list); }

    u32 argument = kNoArgument;
    /// `kSamplesPerLight` for each light, light after light; checked at writing.
    zr::vector<f32> samples;
};
} // namespace model
