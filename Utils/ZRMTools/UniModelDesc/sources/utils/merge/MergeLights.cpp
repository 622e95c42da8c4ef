#include "utils/merge/MergeLights.h"

#include <algorithm>

#include <parallel_hashmap/phmap.h>

#include "base/ObjectRegistry.h"
#include "utils/merge/MergeRule.h"
#include <zr/checked.h>

namespace model
{
namespace
{
/// Control nodes in the order of their first appearance.
class OmniControls
{
public:
    u32 add(const ObjectPtr<Node>& node)
    {
        const auto [found, isNew] = places.try_emplace(node.get(), static_cast<u32>(list.size()));
        if (isNew) list.push_back(node);
        return found->second;
    }

    zr::vector<ObjectPtr<Node>> list;

private:
    phmap::flat_hash_map<const Node*, u32> places;
};

class SpotControls
{
public:
    /// The first control of the node whose direction is the same.
    u32 add(const SpotControl& control)
    {
        zr::vector<u32>& ofNode = places[control.parent.get()];
        const auto found = std::find_if(ofNode.begin(), ofNode.end(), [&](u32 place)
                                        { return isSameDirection(list[place].direction, control.direction); });
        if (found != ofNode.end()) return *found;
        ofNode.push_back(static_cast<u32>(list.size()));
        list.push_back(control);
        return ofNode.back();
    }

    zr::vector<SpotControl> list;

private:
    phmap::flat_hash_map<const Node*, zr::vector<u32>> places;
};

/// Each light with the number of its control in the merged list.
template <class T, class Controls>
auto mergedLights(const Group<T>& group, Controls& controls)
{
    auto lights = group.front()->lights;
    lights.clear();
    for (const ObjectPtr<T>& member : group)
        for (const auto& light : member->lights)
        {
            lights.push_back(light);
            lights.back().controlIndex = controls.add(zr::at(member->controls, light.controlIndex));
        }
    return lights;
}
} // namespace

ObjectPtr<FakeOmniLightsNode> mergeFakeOmniLights(const Group<FakeOmniLightsNode>& group)
{
    if (group.size() == 1) return group.front();
    OmniControls controls;
    auto lights = mergedLights(group, controls);
    const auto merged = create<FakeOmniLightsNode>();
    merged->setLights(std::move(lights));
    merged->controls = std::move(controls.list);
    merged->material = group.front()->material;
    merged->root = group.front()->root;
    return merged;
}

ObjectPtr<FakeSpotLightsNode> mergeFakeSpotLights(const Group<FakeSpotLightsNode>& group)
{
    if (group.size() == 1) return group.front();
    SpotControls controls;
    auto lights = mergedLights(group, controls);
    zr::vector<vec3f> directions;
    if (!group.front()->directions.empty())
        for (const ObjectPtr<FakeSpotLightsNode>& member : group)
            for (std::size_t i = 0; i < member->lights.size(); ++i)
                directions.push_back(zr::at(member->directions, i));
    const auto merged = create<FakeSpotLightsNode>();
    merged->setLights(std::move(lights));
    merged->setDirections(std::move(directions));
    merged->controls = std::move(controls.list);
    merged->material = group.front()->material;
    merged->root = group.front()->root;
    return merged;
}
} // namespace model
