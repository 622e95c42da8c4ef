#include <parallel_hashmap/phmap.h>

#include "base/ObjectRegistry.h"
#include "mesh/MeshUtils.h"
#include "utils/merge/MergeLights.h"
#include <zr/checked.h>
#include <zr/exceptions.h>

namespace model
{
namespace
{
/// Parent entries with their controls, in the order of their first appearance.
class NumberEntries
{
public:
    struct Place
    {
        u32 entry;
        /// How many controls the entry had before.
        std::size_t offset;
    };

    Place add(const NumberNode& node)
    {
        const ParentEntry& parent = zr::at(node.parents, 0);
        const auto [found, isNew] =
            places.try_emplace({parent.parent.get(), parent.argument}, static_cast<u32>(parents.size()));
        if (isNew)
        {
            parents.push_back(parent);
            controls.emplace_back();
        }
        zr::vector<NumberControl>& list = controls[found->second];
        const std::size_t offset = list.size();
        for (const zr::vector<NumberControl>& part : node.numbers)
            list.insert(list.end(), part.begin(), part.end());
        return {found->second, offset};
    }

    ParentEntries parents;
    zr::vector<zr::vector<NumberControl>> controls;

private:
    phmap::flat_hash_map<std::pair<const Node*, u32>, u32> places;
};

void appendMember(const NumberNode& node, const NumberEntries::Place& place, Vertices& vertices, Indices& indices)
{
    node.vertices.checkConsistent();
    const u32 first = vertices.getVertexCount();
    if (!vertices.append(node.vertices)) ZR_RAISE("Vertex data is invalid.");
    if (vertices.findAttribute(kPosition0)) renumberVertices(vertices, 0, place.entry, first);
    Attribute& numbers = vertices.getAttribute(kColor1);
    const std::size_t floats = std::size_t{first} * numbers.stride;
    for (std::size_t i = floats; i < numbers.data.size(); ++i)
        numbers.data[i] += static_cast<f32>(place.offset);
    for (const u32 index : node.indices.indices)
        indices.indices.push_back(index + first);
}
} // namespace

ObjectPtr<NumberNode> mergeNumberNodes(const Group<NumberNode>& group)
{
    const NumberNode& first = *group.front();
    if (group.size() == 1) return group.front();

    first.vertices.checkConsistent();
    Vertices vertices = first.vertices;
    Indices indices = first.indices;
    NumberEntries entries;
    entries.add(first);
    for (std::size_t i = 1; i < group.size(); ++i)
        appendMember(*group[i], entries.add(*group[i]), vertices, indices);

    const auto merged = create<NumberNode>("model::NumberNode");
    merged->material = first.material;
    merged->numbers = std::move(entries.controls);
    merged->setGeometry(std::move(vertices), std::move(indices), std::move(entries.parents));
    merged->root = first.root;
    return merged;
}
} // namespace model
