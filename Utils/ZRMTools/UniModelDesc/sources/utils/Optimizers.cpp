#include "utils/Optimizers.h"

#include <algorithm>

#include "RootNode.h"
#include "nodes/BaseMeshRenderNode.h"
#include "utils/VertexUtils.h"
#include <zr/exceptions.h>

namespace model
{
namespace
{
/// Normals whose squared length is below this have no direction worth keeping.
constexpr f32 kZeroNormalSquare = 0.0001f;

bool fixZeroNormals(Vertices& vertices)
{
    Attribute* normals = vertices.findAttribute(kNormal0);
    if (!normals || normals->stride != 3) return false;
    bool isChanged = false;
    for (std::size_t i = 0; i + 3 <= normals->data.size(); i += 3)
    {
        f32* n = &normals->data[i];
        if (!(n[0] * n[0] + n[1] * n[1] + n[2] * n[2] < kZeroNormalSquare)) continue;
        n[0] = 0.0f;
        n[1] = 1.0f;
        n[2] = 0.0f;
        isChanged = true;
    }
    return isChanged;
}

/// Beyond all coordinate sets, and far from the limits of its type.
constexpr i32 kFarSet = 1000;

/// Numbers the used coordinate sets anew by their first appearance in the table and tells which attribute goes where.
SemanticRemap renumberChannels(TextureChannels& channels)
{
    zr::vector<i32> used;
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

/// How many channels, and how many values of a channel, the last check looks at.
constexpr std::size_t kCheckedChannels = 8;
constexpr i32 kMaxChannel = 13;

void checkTextureChannels(const PropertiesSet& material, const Vertices& vertices)
{
    for (std::size_t i = 0; i < kCheckedChannels; ++i)
    {
        const i32 channel = material.channels[i];
        if (channel == -1) continue;
        if (channel >= kMaxChannel) ZR_RAISE("Broken texture channels");
        if (material.vertexFormat[static_cast<std::size_t>(kTexCoord0 + channel)] == 0)
            ZR_RAISE("Empty texture channel");
    }
    if (vertexFormatSize(material.vertexFormat) != vertices.getStride()) ZR_RAISE("Wrong vertex size.");
}

/// Returns the number of repeats dropped.
u32 optimizeTextureChannels(BaseMeshRenderNode& mesh)
{
    // The table and the format of this one node change, so the material may not be shared any more.
    mesh.material = mesh.material->clone();
    PropertiesSet& material = *mesh.material;
    Vertices& vertices = mesh.vertices;

    const u32 repeats = removeRepeatedTextureChannels(vertices, material.channels);
    vertices.getFormat(material.vertexFormat);
    removeUnusedTextureChannels(vertices, material.vertexFormat, material.channels);
    const SemanticRemap remap = renumberChannels(material.channels);
    if (!remap.empty()) remapTextureChannels(remap, vertices, material.vertexFormat);
    checkTextureChannels(material, vertices);
    return repeats;
}
} // namespace

void optimizeTextureChannels(RootNode* root, u32* removed)
{
    *removed = 0;
    for (const ObjectPtr<BaseNode>& node : root->renderNodes)
    {
        auto* mesh = dynamic_cast<BaseMeshRenderNode*>(node.get());
        if (mesh && mesh->material) *removed += optimizeTextureChannels(*mesh);
    }
}

bool fixZeroNormals(RootNode* root)
{
    bool isChanged = false;
    for (const ObjectPtr<BaseNode>& node : root->renderNodes)
        if (auto* mesh = dynamic_cast<BaseMeshRenderNode*>(node.get())) isChanged |= fixZeroNormals(mesh->vertices);
    return isChanged;
}
} // namespace model
