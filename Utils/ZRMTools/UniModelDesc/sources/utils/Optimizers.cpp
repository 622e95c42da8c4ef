#include "utils/Optimizers.h"

#include "RootNode.h"
#include "nodes/BaseMeshRenderNode.h"

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
} // namespace

void optimizeTransformations(RootNode*) {}

bool mergeEqualPropertiesSets(RootNode*)
{
    return false;
}

void optimizeTextureChannels(RootNode*, u32* removed)
{
    *removed = 0;
}

bool fixZeroNormals(RootNode* root)
{
    bool isChanged = false;
    for (const ObjectPtr<BaseNode>& node : root->renderNodes)
        if (auto* mesh = dynamic_cast<BaseMeshRenderNode*>(node.get())) isChanged |= fixZeroNormals(mesh->vertices);
    return isChanged;
}

void mergeNodes(RootNode*) {}

std::pair<u32, u32> extremlyOptimizeMeshes(RootNode*, f32)
{
    return {0, 0};
}

u32 remapMeshes(RootNode*)
{
    return 0;
}

bool optimizeVertexCache(RootNode*)
{
    return false;
}
} // namespace model
