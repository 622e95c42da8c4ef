#include <stdexcept>

#include "io/10/NodeWriter10.h"
#include "nodes/ArgVisibilityNode.h"
#include "nodes/BillboardNode.h"
#include "nodes/Bone.h"
#include "nodes/LodNode.h"
#include <zr/exceptions.h>

/// The nodes of the tree.
namespace model
{
u32 nodeIndexOf(const NodeIndexMap& indices, const Node* node)
{
    const auto found = indices.find(node);
    if (found == indices.end()) throw std::out_of_range("invalid unordered_map<K, T> key");
    return found->second;
}

void NodeWriter10::visit(const Node& node)
{
    put(getNodeTypeName(node.getKind()));
    file.writeRawName(node.name);
    put(kReserved, node.properties);
}

void NodeWriter10::visit(const TransformNode& node)
{
    visit(static_cast<const Node&>(node));
    put(node.matrix);
}

void NodeWriter10::visit(const Bone& node)
{
    visit(static_cast<const TransformNode&>(node));
    put(node.invertedBaseBoneMatrix);
}

namespace
{
template <class Channels>
void checkHandles(const Node& node, const Channels& channels, const char* kind)
{
    for (const auto& channel : channels)
        if (channel.argument == kNoArgument) ZR_RAISE("Node '" + node.name + "' has invalid " + kind + " handle.");
}
} // namespace

void NodeWriter10::visit(const ArgAnimationNode& node)
{
    checkHandles(node, node.positionChannels, "position");
    checkHandles(node, node.rotationChannels, "rotation");
    checkHandles(node, node.scaleChannels, "scale");
    visit(static_cast<const TransformNode&>(node));
    put(node.basePosition, node.baseRotation, node.baseScaleRotation, node.baseScale);
    put(node.positionChannels, node.rotationChannels, node.scaleChannels);
}

void NodeWriter10::putField(const PositionChannel& channel)
{
    put(channel.argument, channel.keys);
}

void NodeWriter10::putField(const RotationChannel& channel)
{
    put(channel.argument, channel.keys);
}

void NodeWriter10::putField(const ScaleChannel& channel)
{
    put(channel.argument, channel.rotationKeys, channel.keys);
}

void NodeWriter10::visit(const ArgAnimatedBone& node)
{
    visit(static_cast<const ArgAnimationNode&>(node));
    put(node.invertedBaseBoneMatrix);
}

void NodeWriter10::visit(const ArgVisibilityNode& node)
{
    visit(static_cast<const Node&>(node));
    put(node.arguments);
}

void NodeWriter10::putField(const VisibilityArgument& argument)
{
    put(argument.argument, argument.ranges);
}

void NodeWriter10::putField(const VisibilityRange& range)
{
    put(range.start, range.end);
}

void NodeWriter10::visit(const LodNode& node)
{
    visit(static_cast<const Node&>(node));
    put(node.levels);
}

void NodeWriter10::putField(const LodLevel& level)
{
    put(level.nearBound, level.farBound);
}

void NodeWriter10::visit(const BillboardNode& node)
{
    visit(static_cast<const Node&>(node));
    putByte(node.mode);
    putByte(node.axisMode);
    put(node.matrix, node.axis);
}
} // namespace model
