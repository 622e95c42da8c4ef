#include "utils/merge/ControlPlaces.h"

namespace model
{
const ControlPlaces::Place& ControlPlaces::find(const Node* node)
{
    if (!node) return outside;
    path.clear();
    const Node* known = node;
    for (; known && numbers.find(known) == numbers.end(); known = known->parent())
        path.push_back(known);
    for (; !path.empty(); path.pop_back())
    {
        const Place place =
            below(*path.back(), known ? &places[numbers[known]] : nullptr, known && known->getType() == kLodNode);
        known = path.back();
        numbers[known] = static_cast<u32>(places.size());
        places.push_back(place);
    }
    return places[numbers[node]];
}

ControlPlaces::Place ControlPlaces::below(const Node& node, const Place* above, bool isAboveLod)
{
    Place place = above ? *above : Place();
    if (node.getType() == kArgVisibilityNode) place.visibility = &node;
    if (node.getType() == kBillboardNode) place.isUnderBillboard = true;
    const bool isLod = node.getType() == kLodNode;
    if (isLod || isAboveLod || !above)
    {
        regions.push_back({place.region, isLod});
        place.region = static_cast<u32>(regions.size() - 1);
    }
    return place;
}
} // namespace model
