#include "utils/merge/MergeMeshes.h"

#include <algorithm>

#include <parallel_hashmap/phmap.h>

#include "base/ObjectRegistry.h"
#include "mesh/MeshUtils.h"
#include <zr/checked.h>
#include <zr/exceptions.h>

namespace model
{
namespace
{
/// In the merged mesh an index beyond the vertices of its member would mean a vertex of another.
void checkMember(const RenderNode& member, const RenderNode& first)
{
    zr::at(member.parents, 0);
    member.vertices.checkConsistent();
    checkIndices(member.indices, member.vertices.getVertexCount());
    if (!first.vertices.hasAttributesOf(member.vertices)) ZR_RAISE("Vertex data is invalid.");
}

/// The mesh that the members of a group become. Where these still share their arrays, it does; otherwise it is packed
/// from the start. The group has been checked.
class MergedMesh
{
public:
    template <class T>
    MergedMesh(const Group<T>& group, MemberMeshes memberMeshes)
        : vertices(group.front()->vertices.withoutData()),
          meshes(memberMeshes),
          isPacked(std::is_same_v<T, NumberNode>) // their vertices are changed at once
    {
        std::size_t numVertices = 0;
        std::size_t numIndices = 0;
        for (const ObjectPtr<T>& member : group)
        {
            numVertices += member->vertices.getVertexCount();
            numIndices += member->indices.indices.size();
            isPacked = isPacked || !member->vertices.isOneSource();
        }
        if (isPacked)
            vertices.setPacked(PackedVertices(numVertices, vertices.getStride()));
        else
            vertices.reserveSources(group.size());
        indices.primitiveType = group.front()->indices.primitiveType;
        indices.indices.reserve(numIndices);
    }

    /// Appends a member. Vertices of a further one are still numbered as in a node of one part, and get the number of
    /// its parent entry, which is returned.
    u32 add(RenderNode& member)
    {
        const bool isFirst = entries.empty();
        const u32 entry = addEntry(member);
        firstVertex = endVertex;
        endVertex += member.vertices.getVertexCount();
        addIndices(member.indices.indices);
        if (isPacked)
            pack(member.vertices, entry, isFirst);
        else
            vertices.appendSource(meshes == MemberMeshes::kTaken ? std::move(member.vertices) : member.vertices, entry);
        if (meshes == MemberMeshes::kTaken)
        {
            member.vertices = {};
            member.indices.indices = zr::vector<u32>();
        }
        return entry;
    }

    /// Lets the vertices of the last member point to controls that stand `offset` places farther back.
    void raiseControls(std::size_t offset)
    {
        const std::size_t place = vertices.offsetOf(kColor1);
        const std::size_t width = vertices.strideOf(kColor1);
        PackedVertices& packed = *vertices.pack();
        for (u32 vertex = firstVertex; vertex < endVertex; ++vertex)
            for (std::size_t i = place; i < place + width; ++i)
                packed[vertex][i] += static_cast<f32>(offset);
    }

    /// Gives the node everything and leaves this empty.
    void moveTo(RenderNode& node) { node.setGeometry(std::move(vertices), std::move(indices), std::move(entries)); }

private:
    void addIndices(const zr::vector<u32>& added)
    {
        zr::vector<u32>& list = indices.indices;
        list.resize(list.size() + added.size());
        std::transform(added.begin(), added.end(), list.end() - static_cast<std::ptrdiff_t>(added.size()),
                       [this](u32 index) { return index + firstVertex; });
    }

    void pack(const Vertices& member, u32 entry, bool isFirst)
    {
        member.interleaveInto((*vertices.pack())[firstVertex]);
        if (!isFirst && vertices.strideOf(kPosition0) == 4)
            renumberVertices(vertices, 0, entry, firstVertex, endVertex);
    }

    /// The position of the member's pair of node and argument among the entries; it is appended when it is new.
    u32 addEntry(const RenderNode& member)
    {
        const ParentEntry& entry = member.parents.front();
        const auto [found, isNew] =
            places.try_emplace({entry.parent.get(), entry.argument}, static_cast<u32>(entries.size()));
        if (isNew) entries.push_back(entry);
        return found->second;
    }

    Vertices vertices;
    Indices indices;
    ParentEntries entries;
    MemberMeshes meshes;
    bool isPacked;
    /// Of the last member.
    u32 firstVertex = 0;
    u32 endVertex = 0;
    phmap::flat_hash_map<std::pair<const Node*, u32>, u32> places;
};

/// Appends the controls of a member to those of its entry. Returns how many the entry had before.
std::size_t addControls(const NumberNode& member, zr::vector<NumberControl>& ofEntry)
{
    const std::size_t offset = ofEntry.size();
    for (const zr::vector<NumberControl>& part : member.numbers)
        ofEntry.insert(ofEntry.end(), part.begin(), part.end());
    return offset;
}
} // namespace

void checkMergeable(const Group<RenderNode>& group)
{
    if (group.size() < 2) return;
    for (const ObjectPtr<RenderNode>& member : group)
        checkMember(*member, *group.front());
}

void checkMergeable(const Group<NumberNode>& group)
{
    if (group.size() < 2) return;
    for (const ObjectPtr<NumberNode>& member : group)
    {
        checkMember(*member, *group.front());
        if (member != group.front() && member->vertices.strideOf(kColor1) == 0) member->vertices.getAttribute(kColor1);
    }
}

ObjectPtr<RenderNode> mergeRenderNodes(const Group<RenderNode>& group, MemberMeshes meshes)
{
    if (group.empty()) return nullptr;
    if (group.size() == 1) return group.front();
    if (meshes == MemberMeshes::kStay) checkMergeable(group);

    MergedMesh mesh(group, meshes);
    for (std::size_t i = 0; i < group.size(); ++i)
    {
        if (i + 1 < group.size()) group[i + 1]->vertices.prefetch();
        mesh.add(*group[i]);
    }
    const auto merged = create<RenderNode>("model::RenderNode");
    merged->setMaterial(group.front()->material);
    mesh.moveTo(*merged);
    merged->root = group.front()->root;
    return merged;
}

ObjectPtr<NumberNode> mergeNumberNodes(const Group<NumberNode>& group, MemberMeshes meshes)
{
    if (group.size() == 1) return group.front();
    if (meshes == MemberMeshes::kStay) checkMergeable(group);

    MergedMesh mesh(group, meshes);
    zr::vector<zr::vector<NumberControl>> controls; // by parent entry
    for (const ObjectPtr<NumberNode>& member : group)
    {
        const bool isFirst = controls.empty();
        const u32 entry = mesh.add(*member);
        if (entry == controls.size()) controls.emplace_back();
        const std::size_t offset = addControls(*member, controls[entry]);
        if (!isFirst) mesh.raiseControls(offset);
    }
    const auto merged = create<NumberNode>("model::NumberNode");
    merged->setMaterial(group.front()->material);
    merged->numbers = std::move(controls);
    mesh.moveTo(*merged);
    merged->root = group.front()->root;
    return merged;
}
} // namespace model
