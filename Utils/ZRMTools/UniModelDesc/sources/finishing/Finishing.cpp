#include "finishing/Finishing.h"

#include <algorithm>

#include "RootNode.h"
#include "finishing/BoundingBox.h"
#include "nodes/BaseMeshRenderNode.h"
#include "utils/Optimizers.h"
#include "utils/mesh/TwoSided.h"

namespace model
{
namespace
{
/// Nothing marks a mesh as done, so a second save doubles it again.
void makeMeshesTwoSided(RootNode& root)
{
    for (const ObjectPtr<BaseNode>& entry : root.renderNodes)
    {
        BaseMeshRenderNode* mesh = entry->asMesh();
        if (mesh && mesh->material && mesh->material->singleSided == 0) makeTwoSided(*mesh);
    }
}

void runPasses(RootNode& root)
{
    const OptimizationSwitches& on = optimizationSwitches();
    if (on.optimizeTransformations) optimizeTransformations(&root);
    if (on.mergePopertiesSets) mergeEqualPropertiesSets(&root);
    if (on.optimizeTextureChannels)
    {
        u32 removed = 0;
        optimizeTextureChannels(&root, &removed, on.mergeNodes);
    }
    if (on.mergeNodes) mergeNodes(&root);
    if (on.extremlyOptimizeMeshes)
    {
        extremlyOptimizeMeshes(&root, 1e-5f);
        remapMeshes(&root);
    }
    if (on.optimizeVertexCache) optimizeVertexCache(&root);
}

bool hasSkin(const RootNode& root)
{
    return std::any_of(root.renderNodes.begin(), root.renderNodes.end(),
                       [](const ObjectPtr<BaseNode>& node) { return node && node->getType() == kSkinNode; });
}

/// Fills in what the script left open. A light box without lights is dropped.
void fillBoxes(RootNode& root)
{
    if (!root.boundingBox.isSet()) root.boundingBox = computeBoundingBox(root);
    if (!root.userBox.isSet()) root.userBox = root.boundingBox;
    if (root.lights.empty())
        root.lightBox = Box();
    else if (!root.lightBox.isSet())
        root.lightBox = computeLightBox(root);
}
} // namespace

OptimizationSwitches& optimizationSwitches()
{
    static OptimizationSwitches switches;
    return switches;
}

zr::string finishModel(RootNode& root)
{
    makeMeshesTwoSided(root);
    fixZeroNormals(&root);
    runPasses(root);
    if (hasSkin(root) && !root.boundingBox.isSet())
        return "if the model has bones, then you need to set a bounding box.";
    fillBoxes(root);
    return {};
}

zr::string finishAndSave(RootNode& root, const char* path, u16 version)
{
    zr::string text = finishModel(root);
    if (text.empty()) root.writeToFile(path, version);
    return text;
}
} // namespace model
