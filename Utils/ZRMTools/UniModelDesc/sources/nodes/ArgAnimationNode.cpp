#include "nodes/ArgAnimationNode.h"

#include <algorithm>

namespace model
{
u32 ArgAnimationNode::getKind() const
{
    if (getType() != kArgAnimationNode) return getType();
    const bool moves = !positionChannels.empty();
    const bool turns = !rotationChannels.empty();
    const bool scales = !scaleChannels.empty();
    if (!moves && !turns) return kArgScaleNode;
    if ((moves && turns) || scales) return kArgAnimationNode;
    return moves ? kArgPositionNode : kArgRotationNode;
}

void ArgAnimationNode::takeMatrix(f64* out, const f64* m, bool)
{
    keepMatrix(out, m);
}

namespace
{
template <class Channel>
bool areEmpty(const zr::vector<Channel>& channels)
{
    return std::all_of(channels.begin(), channels.end(), [](const Channel& channel) { return channel.keys.empty(); });
}

/// The value of a channel's key list at its argument.
template <class V>
V valueAt(const zr::vector<Key<V>>& keys, u32 argument, const IModelArguments& arguments)
{
    return evaluateKeys(keys, static_cast<f64>(arguments.get(argument)));
}

/// scale := scale x M(axes) x D(factors) x M(axes inverted).
void scaleAlong(matrixd& scale, const vec4d& axes, const vec3d& factors)
{
    scale = multiply(scale, rotationMatrix(axes));
    scale = multiply(scale, scaleMatrix(factors));
    scale = multiply(scale, rotationMatrix(inverse(axes)));
}
} // namespace

void ArgAnimationNode::forEachArgument(const std::function<void(u32)>& function) const
{
    Node::forEachArgument(function);
    reportArguments(positionChannels, function);
    reportArguments(rotationChannels, function);
    reportArguments(scaleChannels, function);
}

bool ArgAnimationNode::hasNoKeys() const
{
    return areEmpty(positionChannels) && areEmpty(rotationChannels) && areEmpty(scaleChannels) &&
           std::all_of(scaleChannels.begin(), scaleChannels.end(),
                       [](const ScaleChannel& channel) { return channel.rotationKeys.empty(); });
}

matrixd ArgAnimationNode::localMatrix(const IModelArguments& arguments) const
{
    vec3d position = basePosition;
    vec3d offset;
    for (const PositionChannel& channel : positionChannels)
    {
        if (!channel.keys.empty()) offset = valueAt(channel.keys, channel.argument, arguments);
        position = {position.x + offset.x, position.y + offset.y, position.z + offset.z};
    }

    vec4d rotation;
    vec4d turn;
    for (const RotationChannel& channel : rotationChannels)
    {
        if (!channel.keys.empty()) turn = valueAt(channel.keys, channel.argument, arguments);
        rotation = multiply(rotation, turn);
    }
    rotation = multiply(rotation, baseRotation);

    matrixd result;
    vec3d factors;
    for (const ScaleChannel& channel : scaleChannels)
    {
        if (!channel.keys.empty()) factors = valueAt(channel.keys, channel.argument, arguments);
        scaleAlong(result, valueAt(channel.rotationKeys, channel.argument, arguments), factors);
    }
    scaleAlong(result, baseScaleRotation, baseScale);

    result = multiply(result, rotationMatrix(rotation));
    result = multiply(result, translationMatrix(position));
    return multiply(result, matrix);
}

void ArgAnimationNode::accumulateOwn(const IModelArguments& arguments, f64* m) const
{
    multiplyBy(m, localMatrix(arguments).m);
}
} // namespace model
