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
// with all. Here only those pairs are compared that the keys leave possible, in the same order, so that the first match
// still decides.
namespace model
{
namespace
{
/// Equality allows 1e-5 after rounding to `f32`; what parts materials must lie clearly beyond.
constexpr f64 kPartTolerance = 1.001e-5;

/// The materials that `isEqual` can tell equal without more ado: one class of one shape. Ascending positions.
using Members = zr::vector<u32>;

/// Materials whose property lists are of one shape and that are the same in everything exact.
struct Shape
{
    std::size_t distinct = 0;
    bool isIrregular = false;
    /// All that were kept so far; filled only for the shapes that are `loose`.
    Members kept;
    /// Those of one class each.
    zr::vector<Members> classes;
};

/// Shapes that agree in everything exact.
struct Bucket
{
    /// Those whose lists hold an object or a name twice: only they can equal a material of another shape.
    zr::vector<u32> loose;
};

/// One distinct material of the root.
struct Entry
{
    PropertiesSet* material = nullptr;
    MaterialKey key;
    u32 bucket = 0;
    u32 shape = 0;
    u32 partition = 0;
};

class MaterialTable
{
public:
    /// materials  distinct, in the order of their first use
    explicit MaterialTable(const zr::vector<MaterialPtr>& materials);

    std::size_t size() const { return entries.size(); }
    const PropertiesSet& material(u32 number) const { return *entries[number].material; }

    /// The first kept material that equals this one, its own number when there is none. Then it is kept itself.
    u32 findOrKeep(u32 number);

    /// Calls `function` with each kept material behind `number` that might equal it, though not the other way round.
    template <class Function>
    void forEachLooseBehind(u32 number, Function function) const
    {
        for (const u32 loose : buckets[entries[number].bucket].loose)
            if (canEqual(shapes[loose], entries[number]))
            {
                const Members& kept = shapes[loose].kept;
                std::for_each(std::upper_bound(kept.begin(), kept.end(), number), kept.end(), function);
            }
    }

private:
    /// Whether a material of the shape can equal the entry, which is of another shape or irregular: a list of fewer
    /// distinct properties may find each of them in a longer one.
    bool canEqual(const Shape& shape, const Entry& entry) const
    {
        return shape.isIrregular || shape.distinct < entry.key.distinct || entry.key.isIrregular;
    }

    void part();
    u32 findIn(const Members& kept, u32 number, u32 best) const;

    zr::vector<Entry> entries;
    zr::vector<Shape> shapes;
    zr::vector<Bucket> buckets;
};

/// Bucket, irregular, repeating, number of distinct properties and of numbers, and the hash: all that shapes rely on is
/// there beside the hash.
using ShapeKey = std::tuple<u32, bool, bool, std::size_t, std::size_t, u64>;

MaterialTable::MaterialTable(const zr::vector<MaterialPtr>& materials) : entries(materials.size())
{
    phmap::flat_hash_map<u64, u32> bucketNumbers;
    std::map<ShapeKey, u32> shapeNumbers;
    for (std::size_t i = 0; i < materials.size(); ++i)
    {
        Entry& entry = entries[i];
        entry.material = materials[i].get();
        entry.key = makeMaterialKey(*entry.material);
        const MaterialKey& key = entry.key;
        const auto [bucket, isNewBucket] = bucketNumbers.try_emplace(key.exact, static_cast<u32>(buckets.size()));
        if (isNewBucket) buckets.emplace_back();
        entry.bucket = bucket->second;
        // All irregular lists of a bucket share one shape: nothing can be told about them.
        const ShapeKey shapeKey = key.isIrregular ? ShapeKey(entry.bucket, true, false, 0, 0, 0)
                                                  : ShapeKey(entry.bucket, false, key.isRepeating, key.distinct,
                                                             key.numbers.size(), key.shape);
        const auto [shape, isNewShape] = shapeNumbers.try_emplace(shapeKey, static_cast<u32>(shapes.size()));
        entry.shape = shape->second;
        if (!isNewShape) continue;
        shapes.emplace_back();
        shapes.back().distinct = entry.key.distinct;
        shapes.back().isIrregular = entry.key.isIrregular;
        if (entry.key.isRepeating || entry.key.isIrregular) buckets[entry.bucket].loose.push_back(entry.shape);
    }
    part();
}

void MaterialTable::part()
{
    zr::vector<zr::vector<u32>> byShape(shapes.size());
    for (u32 i = 0; i < entries.size(); ++i)
        byShape[entries[i].shape].push_back(i);
    for (std::size_t shape = 0; shape < shapes.size(); ++shape)
    {
        if (shapes[shape].isIrregular) continue;
        zr::vector<const zr::vector<f64>*> rows;
        for (const u32 number : byShape[shape])
            rows.push_back(&entries[number].key.numbers);
        const zr::vector<u32> classes = partByTolerance(rows, kPartTolerance);
        for (std::size_t i = 0; i < classes.size(); ++i)
            entries[byShape[shape][i]].partition = classes[i];
        shapes[shape].classes.resize(1 + *std::max_element(classes.begin(), classes.end()));
    }
}

u32 MaterialTable::findIn(const Members& kept, u32 number, u32 best) const
{
    for (const u32 candidate : kept)
    {
        if (candidate >= best) break;
        if (material(candidate).isEqual(material(number))) return candidate;
    }
    return best;
}

u32 MaterialTable::findOrKeep(u32 number)
{
    const Entry& entry = entries[number];
    Shape& own = shapes[entry.shape];
    u32 best = number;
    if (!own.isIrregular) best = findIn(own.classes[entry.partition], number, best);
    const zr::vector<u32>& loose = buckets[entry.bucket].loose;
    for (const u32 shape : loose)
        if (canEqual(shapes[shape], entry)) best = findIn(shapes[shape].kept, number, best);
    if (best != number) return best;

    if (!own.isIrregular) own.classes[entry.partition].push_back(number);
    if (std::find(loose.begin(), loose.end(), entry.shape) != loose.end()) own.kept.push_back(number);
    return number;
}

/// The render nodes that have a material, and the number of each one's material.
struct Uses
{
    explicit Uses(RootNode& root) : materials(root.getMaterials())
    {
        for (const ObjectPtr<BaseNode>& node : root.renderNodes)
        {
            auto* renderNode = dynamic_cast<BaseRenderNode*>(node.get());
            if (!renderNode || !renderNode->material) continue;
            nodes.push_back(renderNode);
            numbers.push_back(static_cast<u32>(root.getMaterialIndex(renderNode->material.get())));
        }
    }

    zr::vector<MaterialPtr> materials;
    zr::vector<BaseRenderNode*> nodes;
    zr::vector<u32> numbers;
};

/// Of two kept materials the one behind was not equal to the one in front when it was looked at the one way. The other
/// way counts when a node with it stands in front of some node with the other.
void checkNoneEqual(const MaterialTable& table, const Uses& uses)
{
    zr::vector<u32> first(table.size());
    zr::vector<u32> last(table.size());
    for (std::size_t i = uses.numbers.size(); i-- > 0;)
        first[uses.numbers[i]] = static_cast<u32>(i);
    for (std::size_t i = 0; i < uses.numbers.size(); ++i)
        last[uses.numbers[i]] = static_cast<u32>(i);
    for (std::size_t i = 0; i < uses.numbers.size(); ++i)
    {
        const u32 number = uses.numbers[i];
        if (first[number] != i) continue;
        table.forEachLooseBehind(number,
                                 [&](u32 behind)
                                 {
                                     if (first[behind] < last[number] &&
                                         table.material(behind).isEqual(table.material(number)))
                                         throw zr::ExtException("There is still equal properties sets.", "", -1);
                                 });
    }
}
} // namespace

bool mergeEqualPropertiesSets(RootNode* root)
{
    Uses uses(*root);
    MaterialTable table(uses.materials);
    zr::vector<u32> replacements(uses.materials.size());
    for (u32 i = 0; i < replacements.size(); ++i)
        replacements[i] = table.findOrKeep(i);
    for (std::size_t i = 0; i < uses.nodes.size(); ++i)
    {
        uses.numbers[i] = replacements[uses.numbers[i]];
        uses.nodes[i]->material = uses.materials[uses.numbers[i]];
    }
    checkNoneEqual(table, uses);
    return root->getMaterials().size() != uses.materials.size();
}
} // namespace model
