#include "io/10/NodeWriter10.h"
#include "nodes/Connector.h"
#include "nodes/SegmentsNode.h"
#include "nodes/ShellSkinNode.h"
#include <zr/exceptions.h>

namespace model
{
void NodeWriter10::writeShellHeader(const BaseShellNode& node)
{
    if (!node.control) ZR_RAISE("Control node isn't set. BaseShellNode: " + node.name + ".");
    writeRecordHeader(node);
    writeNode(node.control);
}

void NodeWriter10::visit(const Connector& node)
{
    writeRecordHeader(node);
    writeNode(node.control);
    file.writeU32(0);
}

void NodeWriter10::visit(const ShellNode& node)
{
    writeShellHeader(node);
    writeVertexFormat(node.vertexFormat);
    node.vertices.write(file);
    node.indices.write(file);
}

void NodeWriter10::visit(const ShellSkinNode& node)
{
    writeRecordHeader(node);
    writeBones(node.bones);
    file.writeU32(node.argument);
    if (node.skinBox.isSet()) writeSkinBox(node.skinBox);
    writeVertexFormat(node.vertexFormat);
    node.vertices.write(file);
    node.indices.write(file);
}

void NodeWriter10::visit(const SegmentsNode& node)
{
    writeShellHeader(node);
    writeCount(node.segments.size());
    for (const Segment& segment : node.segments)
    {
        file.writeVec3f(segment.first);
        file.writeVec3f(segment.second);
    }
}
} // namespace model
