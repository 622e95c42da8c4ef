#include "utils/Optimizers.h"

namespace model
{
void optimizeTransformations(RootNode*) {}

bool mergeEqualPropertiesSets(RootNode*)
{
    return false;
}

void optimizeTextureChannels(RootNode*, u32* removed)
{
    *removed = 0;
}

bool fixZeroNormals(RootNode*)
{
    return false;
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
