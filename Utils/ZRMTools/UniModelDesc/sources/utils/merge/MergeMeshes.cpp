#include "utils/merge/MergeMeshes.h"

#include <parallel_hashmap/phmap.h>

#include "base/ObjectRegistry.h"
#include "mesh/MeshUtils.h"
#include <zr/checked.h>
#include <zr/exceptions.h>

namespace model
{
namespace
{
/// The mesh that the members of a group become.
class MergedMesh
{
public:
    /// Starts with the first member as it is, and room for all.
    template <class T>
    explicit MergedMesh(const Group<T>& group) : vertices(group.front()->vertices),
                                                 indices(group.front()->indices)
    {
        check(*group.front());
        addEntry(*group.front());
        reserveFor(group);
    }

    /// Appends a further member. Its vertices are still numbered as in a node of one part, and get the number of its
    /// parent entry, which is returned.
    u32 add(const RenderNode& member)
    {
        const u32 entry = addEntry(member);
        const u32 first = vertices.getVertexCount();
        check(member);
        if (!vertices.append(member.vertices)) ZR_RAISE("Vertex data is invalid.");
        if (vertices.findAttribute(kPosition0)) renumberVertices(vertices, 0, entry, first);
        for (const u32 index : member.indices.indices)
            indices.indices.push_back(index + first);
        return entry;
    }

    /// Gives the node everything and leaves this empty.
    void moveTo(RenderNode& node) { node.setGeometry(std::move(vertices), std::move(indices), std::move(entries)); }

    Vertices vertices;

private:
    /// In the merged mesh an index beyond the vertices of its member would mean a vertex of another.
    static void check(const RenderNode& member)
    {
        member.vertices.checkConsistent();
        checkIndices(member.indices, member.vertices.getVertexCount());
    }

    /// The position of the member's pair of node and argument among the entries; it is appended when it is new.
    u32 addEntry(const RenderNode& member)
    {
        const ParentEntry& entry = zr::at(member.parents, 0);
        const auto [found, isNew] =
            places.try_emplace({entry.parent.get(), entry.argument}, static_cast<u32>(entries.size()));
        if (isNew) entries.push_back(entry);
        return found->second;
    }

    template <class T>
    void reserveFor(const Group<T>& group)
    {
        std::size_t indexCount = 0;
        std::size_t vertexCount = 0;
        for (const ObjectPtr<T>& member : group)
        {
            indexCount += member->indices.indices.size();
            vertexCount += member->vertices.getVertexCount();
        }
        indices.indices.reserve(indexCount);
        for (auto& [semantic, attribute] : vertices.getAttributes())
            attribute.data.reserve(vertexCount * attribute.stride);
    }

    Indices indices;
    ParentEntries entries;
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

/// Lets the vertices from `first` on point to controls that stand `offset` places farther back.
void raiseControls(Vertices& vertices, u32 first, std::size_t offset)
{
    Attribute& numbers = vertices.getAttribute(kColor1);
    for (std::size_t i = std::size_t{first} * numbers.stride; i < numbers.data.size(); ++i)
        numbers.data[i] += static_cast<f32>(offset);
}
} // namespace

ObjectPtr<RenderNode> mergeRenderNodes(const Group<RenderNode>& group)
{
    if (group.empty()) return nullptr;
    if (group.size() == 1) return group.front();

    MergedMesh mesh(group);
    for (std::size_t i = 1; i < group.size(); ++i)
        mesh.add(*group[i]);
    const auto merged = create<RenderNode>("model::RenderNode");
    merged->setMaterial(group.front()->material);
    mesh.moveTo(*merged);
    merged->root = group.front()->root;
    return merged;
}

ObjectPtr<NumberNode> mergeNumberNodes(const Group<NumberNode>& group)
{
    if (group.size() == 1) return group.front();

    MergedMesh mesh(group);
    zr::vector<zr::vector<NumberControl>> controls(1); // by parent entry
    addControls(*group.front(), controls.front());
    for (std::size_t i = 1; i < group.size(); ++i)
    {
        const u32 first = mesh.vertices.getVertexCount();
        const u32 entry = mesh.add(*group[i]);
        if (entry == controls.size()) controls.emplace_back();
        raiseControls(mesh.vertices, first, addControls(*group[i], controls[entry]));
    }
    const auto merged = create<NumberNode>("model::NumberNode");
    merged->setMaterial(group.front()->material);
    merged->numbers = std::move(controls);
    mesh.moveTo(*merged);
    merged->root = group.front()->root;
    return merged;
}
} // namespace model
