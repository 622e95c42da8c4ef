#pragma once

#include "base/Keys.h"
#include "nodes/TransformNode.h"

namespace model
{
/// In each channel the keys are sorted by time.
struct PositionChannel
{
    u32 argument = kNoArgument;
    zr::vector<VectorKey> keys;
};

struct RotationChannel
{
    u32 argument = kNoArgument;
    zr::vector<RotationKey> keys;
};

struct ScaleChannel
{
    u32 argument = kNoArgument;
    /// Orientation of the axes of the scale.
    zr::vector<RotationKey> rotationKeys;
    zr::vector<VectorKey> keys;
};

/// A node that animation arguments move. A point goes through the scale, then the rotation, then the translation, then
/// the inherited matrix, which is the base of the animation.
class ArgAnimationNode : public NodeClass<ArgAnimationNode, TransformNode>
{
public:
    zr::vector<PositionChannel> positionChannels;
    zr::vector<RotationChannel> rotationChannels;
    zr::vector<ScaleChannel> scaleChannels;
    vec3d basePosition;
    vec4d baseRotation;
    /// Orientation of the axes of `baseScale`.
    vec4d baseScaleRotation;
    vec3d baseScale{1.0, 1.0, 1.0};

    void setPositionChannels(zr::vector<PositionChannel> channels) { positionChannels = std::move(channels); }
    void setRotationChannels(zr::vector<RotationChannel> channels) { rotationChannels = std::move(channels); }
    void setScaleChannels(zr::vector<ScaleChannel> channels) { scaleChannels = std::move(channels); }
    void setBasePosition(const vec3d& value) { basePosition = value; }
    void setBaseRotation(const vec4d& value) { baseRotation = value; }
    void setBaseScale(const vec3d& value) { baseScale = value; }

    /// The name in files goes by the channel lists that are not empty.
    u32 getKind() const override;
    void takeMatrix(f64* out, const f64* m, bool clear) override;
    void forEachArgument(const std::function<void(u32)>& function) const override;

    /// Every key list of every channel is empty.
    virtual bool hasNoKeys() const;

    /// The matrix of this node alone. A channel without keys repeats what the channel before it gave.
    matrixd localMatrix(const IModelArguments& arguments) const;

protected:
    void accumulateOwn(const IModelArguments& arguments, f64* m) const override;
};
} // namespace model
