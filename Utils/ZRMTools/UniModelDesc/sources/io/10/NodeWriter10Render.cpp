#include "io/10/NodeWriter10.h"
#include "nodes/NumberNode.h"
#include "nodes/SkinNode.h"
#include <zr/exceptions.h>

namespace model
{
namespace
{
constexpr u32 kReserved = 0;
constexpr u32 kPivotVersion = 2;

/// Pivots make their own version; it stands in the record's head, so it has to be known before that.
template <class T>
void raiseVersionForPivots(const T& node)
{
    if (!node.pivots.empty()) const_cast<T&>(node).setVersion(kPivotVersion);
}

void writePivots(io::IBinaryFileW& file, const Pivots& pivots)
{
    file.writeU32(static_cast<u32>(pivots.size()));
    for (const vec3f& pivot : pivots)
        file.writeVec3f(pivot);
}
} // namespace

void NodeWriter10::writeRenderHeader(const BaseRenderNode& node)
{
    const int material = root->getMaterialIndex(node.material.get());
    if (material < 0) ZR_RAISE("Unknown properties set. Node: " + node.name + ".");
    writeRecordHeader(node);
    file.writeU32(kReserved);
    file.writeU32(static_cast<u32>(material));
}

void NodeWriter10::visit(const RenderNode& node)
{
    raiseVersionForPivots(node);
    writeRenderHeader(node);

    writeCount(node.parents.size());
    const bool isSingle = node.parents.size() == 1;
    for (const ParentEntry& entry : node.parents)
    {
        writeNode(entry.parent);
        if (!isSingle) file.writeU32(kReserved);
        file.writeU32(entry.argument);
    }

    node.vertices.write(file);
    node.indices.write(file);
    if (node.version >= 1) file.writeU32(node.purpose);
    if (node.version >= kPivotVersion)
    {
        if (node.pivots.size() > kMaxPivots) ZR_RAISE("Too much transparent pivots.");
        writePivots(file, node.pivots);
    }
}

void NodeWriter10::visit(const NumberNode& node)
{
    visit(static_cast<const RenderNode&>(node));
    for (const zr::vector<NumberControl>& controls : node.numbers)
    {
        writeCount(controls.size());
        for (const NumberControl& control : controls)
        {
            file.writeU32(control.uArgument);
            file.writeF32(control.uFactor);
            file.writeU32(control.vArgument);
            file.writeF32(control.vFactor);
        }
    }
}

void NodeWriter10::visit(const SkinNode& node)
{
    raiseVersionForPivots(node);
    writeRenderHeader(node);
    writeBones(node.bones);
    file.writeU32(node.argument);
    if (node.version >= 1) writeSkinBox(node.skinBox);
    if (node.version >= kPivotVersion)
    {
        if (node.pivots.size() > kMaxPivots) ZR_RAISE("Too much transparent pivots.");
        writePivots(file, node.pivots);
    }
    node.vertices.write(file);
    node.indices.write(file);
}

void NodeWriter10::writeBones(const zr::vector<ObjectPtr<Node>>& bones)
{
    writeCount(bones.size());
    for (const ObjectPtr<Node>& bone : bones)
        writeNode(bone);
}

void NodeWriter10::writeSkinBox(const Box& box)
{
    file.writeVec3f(box.min);
    file.writeVec3f(box.max);
}
} // namespace model
