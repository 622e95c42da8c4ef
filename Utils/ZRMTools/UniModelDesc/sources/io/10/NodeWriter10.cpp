#include "io/10/NodeWriter10.h"

#include <stdexcept>

#include "nodes/ArgVisibilityNode.h"
#include "nodes/BillboardNode.h"
#include "nodes/Bone.h"
#include "nodes/LodNode.h"
#include <zr/exceptions.h>

namespace model
{
u32 nodeIndexOf(const NodeIndexMap& indices, const Node* node)
{
    const auto found = indices.find(node);
    if (found == indices.end()) throw std::out_of_range("invalid unordered_map<K, T> key");
    return found->second;
}

namespace
{
constexpr u32 kReserved = 0;

void writeKeys(io::IBinaryFileW& file, const zr::vector<VectorKey>& keys)
{
    file.writeU32(static_cast<u32>(keys.size()));
    for (const VectorKey& key : keys)
    {
        file.writeF64(key.time);
        file.writeVec3d(key.value);
    }
}

void writeKeys(io::IBinaryFileW& file, const zr::vector<RotationKey>& keys)
{
    file.writeU32(static_cast<u32>(keys.size()));
    for (const RotationKey& key : keys)
    {
        file.writeF64(key.time);
        file.writeVec4d(key.value);
    }
}

void writeHandle(io::IBinaryFileW& file, const Node& node, u32 argument, const char* kind)
{
    if (argument == kNoArgument) ZR_RAISE("Node '" + node.name + "' has invalid " + kind + " handle.");
    file.writeU32(argument);
}
} // namespace

void NodeWriter10::writeProperties(const PropertyList& properties)
{
    writeCount(properties.size());
    for (const PropertyPtr& property : properties)
        property->write(file);
}

void NodeWriter10::visit(const Node& node)
{
    file.writeString(getNodeTypeName(node.getKind()));
    file.writeRawName(node.name);
    file.writeU32(kReserved);
    writeProperties(node.properties);
}

void NodeWriter10::visit(const TransformNode& node)
{
    visit(static_cast<const Node&>(node));
    file.writeMatrixd(node.matrix);
}

void NodeWriter10::visit(const Bone& node)
{
    visit(static_cast<const TransformNode&>(node));
    file.writeMatrixd(node.invertedBaseBoneMatrix);
}

void NodeWriter10::visit(const ArgAnimationNode& node)
{
    visit(static_cast<const TransformNode&>(node));
    file.writeVec3d(node.basePosition);
    file.writeVec4d(node.baseRotation);
    file.writeVec4d(node.baseScaleRotation);
    file.writeVec3d(node.baseScale);

    writeCount(node.positionChannels.size());
    for (const PositionChannel& channel : node.positionChannels)
    {
        writeHandle(file, node, channel.argument, "position");
        writeKeys(file, channel.keys);
    }
    writeCount(node.rotationChannels.size());
    for (const RotationChannel& channel : node.rotationChannels)
    {
        writeHandle(file, node, channel.argument, "rotation");
        writeKeys(file, channel.keys);
    }
    writeCount(node.scaleChannels.size());
    for (const ScaleChannel& channel : node.scaleChannels)
    {
        writeHandle(file, node, channel.argument, "scale");
        writeKeys(file, channel.rotationKeys);
        writeKeys(file, channel.keys);
    }
}

void NodeWriter10::visit(const ArgAnimatedBone& node)
{
    visit(static_cast<const ArgAnimationNode&>(node));
    file.writeMatrixd(node.invertedBaseBoneMatrix);
}

void NodeWriter10::visit(const ArgVisibilityNode& node)
{
    visit(static_cast<const Node&>(node));
    writeCount(node.arguments.size());
    for (const VisibilityArgument& entry : node.arguments)
    {
        file.writeU32(entry.argument);
        writeCount(entry.ranges.size());
        for (const auto& [start, end] : entry.ranges)
        {
            file.writeF64(start);
            file.writeF64(end);
        }
    }
}

void NodeWriter10::visit(const LodNode& node)
{
    visit(static_cast<const Node&>(node));
    writeCount(node.levels.size());
    for (const auto& [nearBound, farBound] : node.levels)
    {
        file.writeF64(nearBound);
        file.writeF64(farBound);
    }
}

void NodeWriter10::visit(const BillboardNode& node)
{
    visit(static_cast<const Node&>(node));
    file.writeU8(static_cast<u8>(node.mode));
    file.writeU8(static_cast<u8>(node.axisMode));
    file.writeMatrixd(node.matrix);
    file.writeVec3d(node.axis);
}
} // namespace model
