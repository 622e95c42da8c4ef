#pragma once

#include <algorithm>

#include "RootNode.h"
#include "nodes/BaseMeshRenderNode.h"
#include <zr/exceptions.h>

/// The rule of equal materials as a loop over all pairs.
namespace test::reference
{
using namespace model;

inline BaseRenderNode* renderNode(const ObjectPtr<BaseNode>& node)
{
    return dynamic_cast<BaseRenderNode*>(node.get());
}

inline bool mergeEqualPropertiesSets(RootNode& root)
{
    const std::size_t before = root.getMaterials().size();
    zr::vector<MaterialPtr> distinct;
    for (const auto& node : root.renderNodes)
    {
        MaterialPtr& material = renderNode(node)->material;
        if (!material) continue;
        const auto found = std::find_if(distinct.begin(), distinct.end(), [&](const MaterialPtr& earlier)
                                        { return earlier == material || earlier->isEqual(*material); });
        if (found == distinct.end())
            distinct.push_back(material);
        else
            material = *found;
    }
    for (std::size_t i = 0; i < root.renderNodes.size(); ++i)
        for (std::size_t j = i + 1; j < root.renderNodes.size(); ++j)
        {
            const MaterialPtr& a = renderNode(root.renderNodes[i])->material;
            const MaterialPtr& b = renderNode(root.renderNodes[j])->material;
            if (a && b && a != b && a->isEqual(*b))
                throw zr::ExtException("There is still equal properties sets.", "", -1);
        }
    return root.getMaterials().size() != before;
}
} // namespace test::reference
