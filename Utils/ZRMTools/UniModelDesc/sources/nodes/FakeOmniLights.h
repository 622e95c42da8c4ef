#pragma once

#include "nodes/BaseRenderNode.h"
#include <zr/checked.h>

namespace model
{
/// One light sprite.
struct FakeOmniLight
{
    vec3d position;
    vec2f uvMin;
    vec2f uvMax;
    f32 size = 0.0f;
    /// The entry of `controls` that moves this light.
    u32 controlIndex = 0;
};

/// A set of light sprites that look the same from all sides.
class FakeOmniLightsNode : public BaseRenderNode
{
public:
    FakeOmniLightsNode() : controls(1) {}

    u32 getType() const override { return kFakeOmniLightsNode; }
    void accept(INodeVisitor& visitor) const override;

    u64 getNumControlNodes() const override { return controls.size(); }
    ObjectPtr<Node> getControlNode(u64 index) const override { return zr::at(controls, index); }
    void setControlNode(u64 index, ObjectPtr<Node> node) override { zr::at(controls, index) = std::move(node); }
    /// Moves the lights of this index as projective points.
    bool applyMatrix(u32 index, const f64* m) override;

    void setArgument(u32, u32) override {}
    u32 getArgument(u32) const override { return kNoArgument; }
    u32 getPrimitiveCount() const override { return static_cast<u32>(2 * lights.size()); }
    Box getBoundingBox(u32 index) const override;
    zr::vector<Box> getBoundingBoxes() const override;

    const zr::vector<FakeOmniLight>& getLights() const { return lights; }
    /// Replaces the lights; exactly one entry of `controls` remains.
    void setLights(zr::vector<FakeOmniLight> list);

    zr::vector<ObjectPtr<Node>> controls;
    zr::vector<FakeOmniLight> lights;
};

/// The samples of one light over its argument from 0 to 1.
constexpr u32 kSamplesPerLight = 128;

/// Omni lights whose brightness an argument drives.
class AnimatedFakeOmniLightsNode final : public FakeOmniLightsNode
{
public:
    u32 getType() const override { return kAnimatedFakeOmniLightsNode; }
    void accept(INodeVisitor& visitor) const override;
    void forEachArgument(const std::function<void(u32)>& function) const override;

    void setAnimationArgument(u32 value) { argument = value; }
    void setSamples(zr::vector<f32> list) { samples = std::move(list); }

    u32 argument = kNoArgument;
    /// `kSamplesPerLight` for each light, light after light; checked at writing.
    zr::vector<f32> samples;
};
} // namespace model
