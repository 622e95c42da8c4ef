#include "utils/Optimizers.h"

#include <algorithm>

#include "RootNode.h"
#include "nodes/BaseMeshRenderNode.h"
#include "utils/VertexUtils.h"
#include <parallel_hashmap/phmap.h>
#include <zr/exceptions.h>

namespace model
{
namespace
{
/// Normals whose squared length is below this have no direction worth keeping.
constexpr f32 kZeroNormalSquare = 0.0001f;

bool isZero(const f32* normal)
{
    return normal[0] * normal[0] + normal[1] * normal[1] + normal[2] * normal[2] < kZeroNormalSquare;
}

bool fixZeroNormals(Vertices& vertices)
{
    if (vertices.strideOf(kNormal0) != 3) return false;
    const std::span<const f32> floats = vertices.floatsOf(kNormal0);
    std::size_t first = 0;
    while (first + 3 <= floats.size() && !isZero(&floats[first]))
        first += 3;
    if (first + 3 > floats.size()) return false;

    zr::vector<f32>& normals = vertices.getAttribute(kNormal0).data;
    for (std::size_t i = first; i + 3 <= normals.size(); i += 3)
    {
        f32* n = &normals[i];
        if (!isZero(n)) continue;
        n[0] = 0.0f;
        n[1] = 1.0f;
        n[2] = 0.0f;
    }
    return true;
}

/// Beyond all coordinate sets, and far from the limits of its type.
constexpr i32 kFarSet = 1000;

/// Numbers the used coordinate sets anew by their first appearance in the table and tells which attribute goes where.
SemanticRemap renumberChannels(TextureChannels& channels)
{
    zr::small_vector<i32, kNumChannels> used;
    for (i32& channel : channels)
    {
        if (channel == -1) continue;
        const auto found = std::find(used.begin(), used.end(), channel);
        const i32 number = static_cast<i32>(found - used.begin());
        if (found == used.end()) used.push_back(channel);
        channel = number;
    }
    SemanticRemap remap;
    for (std::size_t i = 0; i < used.size(); ++i)
    {
        // A number that is no coordinate set would overflow here; as a semantic it is refused by the checked format.
        const i32 set = std::clamp(used[i], -kFarSet, kFarSet);
        remap.push_back({kTexCoord0 + set, kTexCoord0 + static_cast<i32>(i)});
    }
    return remap;
}

/// What the pass changes in a material.
struct TextureTable
{
    TextureChannels channels;
    VertexFormat vertexFormat;
};

/// How many channels, and how many values of a channel, the last check looks at.
constexpr std::size_t kCheckedChannels = 8;
constexpr i32 kMaxChannel = 13;

void checkTextureChannels(const TextureTable& table, const Vertices& vertices)
{
    for (std::size_t i = 0; i < kCheckedChannels; ++i)
    {
        const i32 channel = table.channels[i];
        if (channel == -1) continue;
        if (channel >= kMaxChannel) ZR_RAISE("Broken texture channels");
        if (table.vertexFormat[static_cast<std::size_t>(kTexCoord0 + channel)] == 0) ZR_RAISE("Empty texture channel");
    }
    if (vertexFormatSize(table.vertexFormat) != vertices.getStride()) ZR_RAISE("Wrong vertex size.");
}

/// Returns the number of repeats dropped.
u32 optimizeTextureChannels(Vertices& vertices, TextureTable& table)
{
    const u32 repeats = removeRepeatedTextureChannels(vertices, table.channels);
    vertices.getFormat(table.vertexFormat);
    removeUnusedTextureChannels(vertices, table.vertexFormat, table.channels);
    const SemanticRemap remap = renumberChannels(table.channels);
    if (!remap.empty()) remapTextureChannels(remap, vertices, table.vertexFormat);
    checkTextureChannels(table, vertices);
    return repeats;
}

/// Gives nodes their materials with new tables. With `isShared`, nodes that had one material and have equal tables get
/// one again: who compares materials next keeps the first of those that are equal, and would find the same.
class NewMaterials
{
public:
    explicit NewMaterials(bool isShared) : isSharing(isShared) {}

    void give(BaseMeshRenderNode& mesh, const TextureTable& table)
    {
        Results* const results = isSharing ? &resultsOf(mesh.material) : nullptr;
        if (results)
            for (const MaterialPtr& known : results->list)
                if (known->channels == table.channels && known->vertexFormat == table.vertexFormat)
                {
                    mesh.material = known;
                    sharing.push_back(&mesh);
                    return;
                }
        giveOwn(mesh, table);
        if (results && results->isShareable && results->list.size() < kMaxResults)
            results->list.push_back(mesh.material);
    }

    static void giveOwn(BaseMeshRenderNode& mesh, const TextureTable& table)
    {
        mesh.material = mesh.material->clone();
        mesh.material->channels = table.channels;
        mesh.material->vertexFormat = table.vertexFormat;
    }

    /// Materials are not compared next after all.
    void unshare()
    {
        for (BaseMeshRenderNode* mesh : sharing)
            mesh->material = mesh->material->clone();
    }

private:
    /// Beyond, nodes get their own; there are few unless a script means to make many.
    static constexpr std::size_t kMaxResults = 16;

    struct Results
    {
        /// Held, so that no other material gets its address.
        MaterialPtr source;
        /// A material with a NaN doesn't equal itself.
        bool isShareable = false;
        zr::vector<MaterialPtr> list;
    };

    Results& resultsOf(const MaterialPtr& source)
    {
        const auto [found, isNew] = bySource.try_emplace(source.get());
        if (isNew)
        {
            found->second.source = source;
            found->second.isShareable = source->isEqual(*source);
        }
        return found->second;
    }

    const bool isSharing;
    phmap::flat_hash_map<const PropertiesSet*, Results> bySource;
    zr::vector<BaseMeshRenderNode*> sharing;
};
} // namespace

void optimizeTextureChannels(RootNode* root, u32* removed, bool isMergedNext)
{
    *removed = 0;
    NewMaterials materials(isMergedNext);
    for (const ObjectPtr<BaseNode>& node : root->renderNodes)
    {
        BaseMeshRenderNode* mesh = node->asMesh();
        if (!mesh || !mesh->material) continue;
        TextureTable table{mesh->material->channels, mesh->material->vertexFormat};
        try
        {
            *removed += optimizeTextureChannels(mesh->vertices, table);
        }
        catch (...)
        {
            materials.unshare();
            NewMaterials::giveOwn(*mesh, table);
            throw;
        }
        materials.give(*mesh, table);
    }
}

bool fixZeroNormals(RootNode* root)
{
    bool isChanged = false;
    for (const ObjectPtr<BaseNode>& node : root->renderNodes)
        if (BaseMeshRenderNode* mesh = node->asMesh()) isChanged |= fixZeroNormals(mesh->vertices);
    return isChanged;
}
} // namespace model
