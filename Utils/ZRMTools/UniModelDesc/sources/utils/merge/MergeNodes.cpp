#include "RootNode.h"
#include "utils/Optimizers.h"
#include "utils/RemoveEmpty.h"
#include "utils/merge/GroupNodes.h"
#include "utils/merge/ListPlaces.h"
#include "utils/merge/MergeLights.h"
#include "utils/merge/MergeMeshes.h"

namespace model
{
namespace
{
/// What `mergeNodes` takes out of the root's list and what it puts in.
struct Changes
{
    RootNode::List removed;
    RootNode::List added;
};

template <class T, class Merge>
void mergeClass(const RootNode& root, u32 type, Merge merge, Changes& changes)
{
    for (const Group<BaseRenderNode>& members : groupNodes(root, type))
    {
        Group<T> group;
        for (const ObjectPtr<BaseRenderNode>& member : members)
            group.push_back(ObjectPtr<T>(static_cast<T*>(member.get())));
        changes.added.push_back(merge(group));
        changes.removed.insert(changes.removed.end(), members.begin(), members.end());
    }
}
} // namespace

void mergeNodes(RootNode* root)
{
    removeEmptyRenderNodes(root);
    mergeEqualPropertiesSets(root);

    Changes changes;
    mergeClass<RenderNode>(*root, kRenderNode, mergeRenderNodes, changes);
    mergeClass<FakeOmniLightsNode>(*root, kFakeOmniLightsNode, mergeFakeOmniLights, changes);
    mergeClass<FakeSpotLightsNode>(*root, kFakeSpotLightsNode, mergeFakeSpotLights, changes);
    mergeClass<NumberNode>(*root, kNumberNode, mergeNumberNodes, changes);

    // Nothing can fail from here on.
    ListPlaces places(root->renderNodes);
    for (const ObjectPtr<BaseNode>& node : changes.removed)
        places.remove(node.get());
    for (ObjectPtr<BaseNode>& node : changes.added)
        root->addRenderNode(std::move(node));
    removeEmptyRenderNodes(root);
    removeEmptyShellNodes(root);
}
} // namespace model
