#include "utils/merge/Merge.h"

#include <functional>
#include <unordered_map>

#include "base/ObjectRegistry.h"
#include "mesh/MeshUtils.h"
#include "nodes/ArgVisibilityNode.h"
#include "utils/merge/ParentNodes.h"
#include <zr/checked.h>
#include <zr/exceptions.h>

namespace model
{
namespace
{
bool hasBillboardAbove(const Node* node)
{
    bool found = false;
    if (node)
        node->walkUp(
            [&found](const Node* at)
            {
                found = at->getType() == kBillboardNode;
                return !found;
            });
    return found;
}

bool refuse(MergeStats& stats, MergeRefusal reason)
{
    ++stats[reason];
    return false;
}

/// What makes two parent entries the same.
struct EntryKey
{
    const Node* parent;
    u32 argument;

    bool operator==(const EntryKey&) const = default;
};

/// Serves look-ups only; the order of a table with this hash never shows.
struct EntryHash
{
    std::size_t operator()(const EntryKey& key) const
    {
        return std::hash<const Node*>()(key.parent) * 0x9E3779B97F4A7C15u + key.argument;
    }
};

/// Parent entries in the order of their first appearance.
class EntryList
{
public:
    /// The position of the entry's pair of node and argument, which is appended when it is new.
    u32 add(const ParentEntry& entry)
    {
        const auto [found, isNew] =
            places.try_emplace({entry.parent.get(), entry.argument}, static_cast<u32>(entries.size()));
        if (isNew) entries.push_back(entry);
        return found->second;
    }

    ParentEntries entries;

private:
    std::unordered_map<EntryKey, u32, EntryHash> places;
};

void checkMember(const RenderNode& node)
{
    node.vertices.checkConsistent();
    checkIndices(node.indices, node.vertices.getVertexCount());
}

/// The sum of what the members hold, reserved at once.
void reserveFor(const zr::vector<ObjectPtr<RenderNode>>& list, Vertices& vertices, Indices& indices)
{
    std::size_t indexCount = 0;
    std::size_t vertexCount = 0;
    for (const ObjectPtr<RenderNode>& node : list)
    {
        indexCount += node->indices.indices.size();
        vertexCount += node->vertices.getVertexCount();
    }
    indices.indices.reserve(indexCount);
    for (auto& [semantic, attribute] : vertices.getAttributes())
        attribute.data.reserve(vertexCount * attribute.stride);
}
} // namespace

const Node* commonControlAncestor(const BaseNode& a, const BaseNode& b)
{
    return Node::commonAncestor(a.getControlNode(0).get(), b.getControlNode(0).get());
}

bool canMerge(const RenderNode& a, const RenderNode& b, MergeStats& stats)
{
    if (&a == &b || a.getNumControlNodes() != 1 || b.getNumControlNodes() != 1) return false;
    if (a.material != b.material) return refuse(stats, kOtherMaterial);
    if (!a.material) ZR_RAISE("Material of render node isn't set.");
    if (a.material->blending == 1) return refuse(stats, kBlendingOrBillboard);
    if (!propertiesEqual(a.properties, b.properties)) return refuse(stats, kOtherProperties);
    const u32 type = a.indices.primitiveType;
    if ((type != 1 && type != kTriangles) || b.indices.primitiveType != type) return refuse(stats, kOtherPrimitiveType);

    const ObjectPtr<Node> controlA = a.getControlNode(0);
    const ObjectPtr<Node> controlB = b.getControlNode(0);
    if (hasBillboardAbove(controlA.get())) return refuse(stats, kBlendingOrBillboard);
    const Node* ancestor = commonControlAncestor(a, b);
    if (checkParentNodes<ArgVisibilityNode>(controlA.get(), ancestor) ||
        checkParentNodes<ArgVisibilityNode>(controlB.get(), ancestor))
        return refuse(stats, kVisibilityBetween);
    if (ancestor && ancestor->getType() == kLodNode) return refuse(stats, kUnderLod);
    return true;
}

ObjectPtr<RenderNode> mergeRenderNodes(const zr::vector<ObjectPtr<RenderNode>>& list)
{
    if (list.empty()) return nullptr;
    const RenderNode& first = *list.front();
    if (list.size() == 1) return list.front();

    Vertices vertices = first.vertices;
    Indices indices = first.indices;
    EntryList entries;
    entries.add(zr::at(first.parents, 0));
    checkMember(first);
    reserveFor(list, vertices, indices);
    for (std::size_t i = 1; i < list.size(); ++i)
    {
        const RenderNode& node = *list[i];
        const u32 entry = entries.add(zr::at(node.parents, 0));
        const u32 offset = vertices.getVertexCount();
        checkMember(node);
        if (!vertices.append(node.vertices)) ZR_RAISE("Vertex data is invalid.");
        // The new vertices are still numbered as in a node of one part.
        if (vertices.findAttribute(kPosition0)) renumberVertices(vertices, 0, entry, offset);
        for (const u32 index : node.indices.indices)
            indices.indices.push_back(index + offset);
    }

    const auto merged = create<RenderNode>("model::RenderNode");
    merged->setMaterial(first.material);
    merged->setGeometry(std::move(vertices), std::move(indices), std::move(entries.entries));
    merged->root = first.root;
    return merged;
}
} // namespace model
