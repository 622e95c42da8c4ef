#include "io/10/NodeWriter10.h"
#include "nodes/Connector.h"
#include "nodes/SegmentsNode.h"
#include "nodes/ShellSkinNode.h"
#include <zr/exceptions.h>

/// Connectors and collision geometry.
namespace model
{
void NodeWriter10::visit(const Connector& node)
{
    writeRecordHeader(node);
    put(node.control, kReserved);
}

void NodeWriter10::writeShellHeader(const BaseShellNode& node)
{
    if (!node.control) ZR_RAISE("Control node isn't set. BaseShellNode: " + node.name + ".");
    writeRecordHeader(node);
    put(node.control);
}

void NodeWriter10::writeShellMesh(const MeshShellNode& node)
{
    put(node.vertexFormat, node.vertices, node.indices);
}

void NodeWriter10::visit(const ShellNode& node)
{
    writeShellHeader(node);
    writeShellMesh(node);
}

void NodeWriter10::visit(const ShellSkinNode& node)
{
    writeRecordHeader(node);
    put(node.bones, node.argument);
    if (node.skinBox.isSet()) putBox(node.skinBox);
    writeShellMesh(node);
}

void NodeWriter10::visit(const SegmentsNode& node)
{
    writeShellHeader(node);
    put(node.segments);
}

void NodeWriter10::putField(const Segment& segment)
{
    put(segment.start, segment.end);
}
} // namespace model
