#include "io/10/NodeWriter10.h"
#include "nodes/NumberNode.h"
#include "nodes/SkinNode.h"
#include <zr/exceptions.h>

/// What is drawn as a mesh, and the head of all that has a material.
namespace model
{
void NodeWriter10::writeRenderHeader(const BaseRenderNode& node)
{
    const int material = root->getMaterialIndex(node.material.get());
    if (material < 0) ZR_RAISE("Unknown properties set. Node: " + node.name + ".");
    writeRecordHeader(node);
    put(kReserved, static_cast<u32>(material));
}

void NodeWriter10::putField(const Vertices& vertices)
{
    vertices.write(file);
}

void NodeWriter10::putField(const Indices& list)
{
    list.write(file);
}

void NodeWriter10::writePivots(const BaseMeshRenderNode& node)
{
    if (node.version < kPivotVersion) return;
    if (node.pivots.size() > kMaxPivots) ZR_RAISE("Too much transparent pivots.");
    putCount(node.pivots.size());
    for (const vec3f& pivot : node.pivots)
        put(pivot);
}

void NodeWriter10::visit(const RenderNode& node)
{
    writeRenderHeader(node);
    putCount(node.parents.size());
    const bool isSingle = node.parents.size() == 1;
    for (const ParentEntry& entry : node.parents)
    {
        put(entry.parent);
        if (!isSingle) put(kReserved);
        put(entry.argument);
    }
    put(node.vertices, node.indices);
    if (node.version >= 1) put(node.purpose);
    writePivots(node);
}

void NodeWriter10::visit(const NumberNode& node)
{
    visit(static_cast<const RenderNode&>(node));
    for (const zr::vector<NumberControl>& controls : node.numbers)
        put(controls);
}

void NodeWriter10::putField(const NumberControl& control)
{
    put(control.uArgument, control.uFactor, control.vArgument, control.vFactor);
}

void NodeWriter10::visit(const SkinNode& node)
{
    writeRenderHeader(node);
    put(node.bones, node.argument);
    if (node.version >= 1) putBox(node.skinBox);
    writePivots(node);
    put(node.vertices, node.indices);
}
} // namespace model
