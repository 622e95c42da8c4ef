#include "io/10/ClassWriter10.h"

#include <algorithm>

#include "nodes/BaseMeshRenderNode.h"
#include "nodes/Node.h"

namespace model
{
namespace
{
constexpr std::size_t kStringTablePosition = 5;
constexpr u32 kNoParent = 0xFFFFFFFFu;

/// Something for all that is no geometry. A file that is larger by more grows as it is written.
constexpr std::size_t kRoomBesides = std::size_t{1} << 20;

/// What the meshes take at most, with indices at their full width: nearly the whole of a large file.
std::size_t geometrySize(const RootNode& root)
{
    std::size_t size = 0;
    for (const ObjectPtr<BaseNode>& node : root.renderNodes)
        if (const BaseMeshRenderNode* mesh = node->asMesh())
        {
            size += std::size_t{mesh->vertices.getVertexCount()} * mesh->vertices.getStride() * sizeof(f32);
            size += mesh->indices.indices.size() * sizeof(u32);
        }
    return size;
}
} // namespace

void ClassWriter10::write(const RootNode* root, FileParts& out)
{
    calcNumTransformNodes(*root);
    NodeWriter10 writer(file, indices, root);
    file.reserve(geometrySize(*root) + kRoomBesides);

    file.write("ZRM", 3);
    file.writeU16(fileVersion());
    file.writeU64(0);
    root->accept(writer);
    file.writeU32(static_cast<u32>(indices.size()));
    saveTransformNodes(writer);
    saveTransformNodesConnections();
    saveSections(*root, writer);
    insertStringTable();
    out = file.takeParts();
}

void ClassWriter10::calcNumTransformNodes(const RootNode& root)
{
    treeNodes.clear();
    Node::visit(root.rootTransform.get(),
                [this](const Node* node)
                {
                    treeNodes.push_back(node);
                    return true;
                });
    indices.clear();
    indices.reserve(treeNodes.size());
    for (u32 i = 0; i < treeNodes.size(); ++i)
        indices.emplace(treeNodes[i], i);
}

void ClassWriter10::saveTransformNodes(NodeWriter10& writer)
{
    for (const Node* node : treeNodes)
        node->accept(writer);
}

void ClassWriter10::saveTransformNodesConnections()
{
    for (const Node* node : treeNodes)
        file.writeU32(node->parent() ? nodeIndexOf(indices, node->parent()) : kNoParent);
}

void ClassWriter10::saveSections(const RootNode& root, NodeWriter10& writer)
{
    const std::pair<const char*, const RootNode::List&> sections[] = {
        {"CONNECTORS", root.connectors},
        {"SHELL_NODES", root.shellNodes},
        {"LIGHT_NODES", root.lights},
        {"RENDER_NODES", root.renderNodes},
    };
    file.writeU32(static_cast<u32>(std::count_if(std::begin(sections), std::end(sections),
                                                 [](const auto& section) { return !section.second.empty(); })));
    for (const auto& [name, nodes] : sections)
    {
        if (nodes.empty()) continue;
        file.writeString(name);
        file.writeU32(static_cast<u32>(nodes.size()));
        for (const ObjectPtr<BaseNode>& node : nodes)
            node->accept(writer);
    }
}

void ClassWriter10::insertStringTable()
{
    const zr::vector<u8> table = file.getStrings().serialize();
    file.seek(kStringTablePosition);
    file.writeU32(static_cast<u32>(table.size()));
    file.write(table.data(), table.size());
}
} // namespace model
