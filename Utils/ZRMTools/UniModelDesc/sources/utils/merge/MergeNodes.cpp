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
template <class T>
zr::vector<Group<T>> groupsOf(const RootNode& root, u32 type)
{
    zr::vector<Group<T>> groups;
    for (const Group<BaseRenderNode>& members : groupNodes(root, type))
    {
        Group<T>& group = groups.emplace_back();
        for (const ObjectPtr<BaseRenderNode>& member : members)
            group.push_back(ObjectPtr<T>(static_cast<T*>(member.get())));
    }
    return groups;
}

template <class T>
zr::vector<Group<T>> mergeableGroupsOf(const RootNode& root, u32 type)
{
    zr::vector<Group<T>> groups = groupsOf<T>(root, type);
    for (const Group<T>& group : groups)
        checkMergeable(group);
    return groups;
}

template <class T, class Merge>
RootNode::List mergeAll(const zr::vector<Group<T>>& groups, Merge merge)
{
    RootNode::List merged;
    for (const Group<T>& group : groups)
        merged.push_back(merge(group));
    return merged;
}

template <class T>
void removeAll(const zr::vector<Group<T>>& groups, ListPlaces& places)
{
    for (const Group<T>& group : groups)
        for (const ObjectPtr<T>& member : group)
            places.remove(member.get());
}
} // namespace

void mergeNodes(RootNode* root)
{
    removeEmptyRenderNodes(root);
    mergeEqualPropertiesSets(root);

    const auto meshes = mergeableGroupsOf<RenderNode>(*root, kRenderNode);
    const auto omnis = groupsOf<FakeOmniLightsNode>(*root, kFakeOmniLightsNode);
    const RootNode::List mergedOmnis = mergeAll(omnis, mergeFakeOmniLights);
    const auto spots = groupsOf<FakeSpotLightsNode>(*root, kFakeSpotLightsNode);
    const RootNode::List mergedSpots = mergeAll(spots, mergeFakeSpotLights);
    const auto numbers = mergeableGroupsOf<NumberNode>(*root, kNumberNode);

    // Nothing can fail from here on, so members may lose their meshes; but one that is listed again is needed again.
    ListPlaces places(root->renderNodes);
    const MemberMeshes use = places.hasRepeats() ? MemberMeshes::kStay : MemberMeshes::kTaken;
    const RootNode::List merged[] = {
        mergeAll(meshes, [use](const Group<RenderNode>& group) { return mergeRenderNodes(group, use); }), mergedOmnis,
        mergedSpots, mergeAll(numbers, [use](const Group<NumberNode>& group) { return mergeNumberNodes(group, use); })};

    removeAll(meshes, places);
    removeAll(omnis, places);
    removeAll(spots, places);
    removeAll(numbers, places);
    for (const RootNode::List& list : merged)
        for (const ObjectPtr<BaseNode>& node : list)
            root->addRenderNode(node);
    removeEmptyRenderNodes(root);
    removeEmptyShellNodes(root);
}
} // namespace model
