#include <algorithm>
#include <map>
#include <tuple>

#include <parallel_hashmap/phmap.h>

#include "RootNode.h"
#include "nodes/BaseRenderNode.h"
#include "utils/Optimizers.h"
#include "utils/materials/MaterialKeys.h"
#include <zr/exceptions.h>

// The rule is a loop over all pairs: each material is compared with every distinct one before it, and in the end all
// with all. Here materials are first parted into classes that cannot hold equal ones between them, and the loop runs
// within each class, in the same order, so that the first match still decides.
//
//     materials        exact fields     property names      numbers
//     0 red   1.0      {0 1 3 4}   ->   {0 1 4}        ->   {0 4}    0 and 4 are compared
//     1 red   2.0                                           {1}
//     2 blue  1.0      {2}
//     3 red   (none)                    {3}
//     4 red   1.000001
namespace model
{
namespace
{
/// Equality allows 1e-5 after rounding to `f32`; what parts materials must lie clearly beyond.
constexpr f64 kPartTolerance = 1.001e-5;

/// Numbers of materials, ascending. No material of another class can equal one of these.
struct MaterialClass
{
    zr::vector<u32> members;
    /// Equality may go one way only.
    bool isIrregular = false;
};

/// Parts the members of one shape by their numbers and appends the classes.
void partByNumbers(const zr::vector<u32>& members, const zr::vector<MaterialKey>& keys,
                   zr::vector<MaterialClass>& classes)
{
    zr::vector<const zr::vector<f64>*> rows;
    for (const u32 member : members)
        rows.push_back(&keys[member].numbers);
    const std::size_t first = classes.size();
    const zr::vector<u32> parts = partByTolerance(rows, kPartTolerance);
    classes.resize(first + 1 + *std::max_element(parts.begin(), parts.end()));
    for (std::size_t i = 0; i < members.size(); ++i)
        classes[first + parts[i]].members.push_back(members[i]);
}

zr::vector<MaterialClass> partMaterials(const zr::vector<MaterialPtr>& materials)
{
    zr::vector<MaterialKey> keys;
    keys.reserve(materials.size());
    for (const MaterialPtr& material : materials)
        keys.push_back(makeMaterialKey(*material));

    phmap::flat_hash_map<u64, bool> isIrregular; // by the exact fields
    for (const MaterialKey& key : keys)
        isIrregular[key.exact] |= key.isIrregular;

    // What all properties have in common says nothing about irregular lists.
    std::map<std::tuple<u64, bool, u64, std::size_t>, zr::vector<u32>> shapes;
    for (u32 i = 0; i < keys.size(); ++i)
    {
        const MaterialKey& key = keys[i];
        if (isIrregular[key.exact])
            shapes[{key.exact, true, 0, 0}].push_back(i);
        else
            shapes[{key.exact, false, key.shape, key.numbers.size()}].push_back(i);
    }

    zr::vector<MaterialClass> classes;
    for (const auto& [shape, members] : shapes)
        if (std::get<bool>(shape))
            classes.push_back({members, true});
        else
            partByNumbers(members, keys, classes);
    return classes;
}

/// The render nodes that have a material, and the number of each one's material.
struct Uses
{
    explicit Uses(RootNode& root) : materials(root.getMaterials())
    {
        for (const ObjectPtr<BaseNode>& node : root.renderNodes)
        {
            BaseRenderNode* renderNode = node->asRenderNode();
            if (!renderNode || !renderNode->material) continue;
            nodes.push_back(renderNode);
            numbers.push_back(static_cast<u32>(root.getMaterialIndex(renderNode->material.get())));
        }
    }

    /// Distinct, in the order of their first use.
    zr::vector<MaterialPtr> materials;
    zr::vector<BaseRenderNode*> nodes;
    zr::vector<u32> numbers;
};

/// Gives each material the first kept one that equals it, or keeps it. Returns what was kept.
zr::vector<u32> replaceEqual(const zr::vector<u32>& members, const zr::vector<MaterialPtr>& materials,
                             zr::vector<u32>& replacements)
{
    zr::vector<u32> kept;
    for (const u32 member : members)
    {
        const auto found = std::find_if(kept.begin(), kept.end(),
                                        [&](u32 earlier) { return materials[earlier]->isEqual(*materials[member]); });
        replacements[member] = found == kept.end() ? member : *found;
        if (found == kept.end()) kept.push_back(member);
    }
    return kept;
}

/// Of two kept materials the one behind was not equal to the one in front when it was looked at the one way. The other
/// way counts when a node with it stands in front of some node with the other.
void checkNoneEqual(const zr::vector<zr::vector<u32>>& classes, const Uses& uses)
{
    if (classes.empty()) return;
    zr::vector<u32> first(uses.materials.size());
    zr::vector<u32> last(uses.materials.size());
    for (std::size_t i = uses.numbers.size(); i-- > 0;)
        first[uses.numbers[i]] = static_cast<u32>(i);
    for (std::size_t i = 0; i < uses.numbers.size(); ++i)
        last[uses.numbers[i]] = static_cast<u32>(i);
    for (const zr::vector<u32>& kept : classes)
        for (const u32 a : kept)
            for (const u32 b : kept)
                if (a != b && first[a] < last[b] && uses.materials[a]->isEqual(*uses.materials[b]))
                    throw zr::ExtException("There is still equal properties sets.", "", -1);
}
} // namespace

bool mergeEqualPropertiesSets(RootNode* root)
{
    Uses uses(*root);
    zr::vector<u32> replacements(uses.materials.size());
    zr::vector<zr::vector<u32>> unsettled;
    for (const MaterialClass& materialClass : partMaterials(uses.materials))
    {
        zr::vector<u32> kept = replaceEqual(materialClass.members, uses.materials, replacements);
        if (materialClass.isIrregular) unsettled.push_back(std::move(kept));
    }
    for (std::size_t i = 0; i < uses.nodes.size(); ++i)
    {
        uses.numbers[i] = replacements[uses.numbers[i]];
        uses.nodes[i]->material = uses.materials[uses.numbers[i]];
    }
    checkNoneEqual(unsettled, uses);
    root->collectMaterials();
    return root->materials.size() != uses.materials.size();
}
} // namespace model
