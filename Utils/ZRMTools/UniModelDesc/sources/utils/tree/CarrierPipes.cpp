#include "utils/tree/CarrierPipes.h"

namespace model::utils
{
zr::vector<CarrierPipes::Carrier> CarrierPipes::takeLeaving(u32 round)
{
    zr::vector<Carrier> carriers;
    const auto found = leaving.find(round);
    if (found == leaving.end()) return carriers;
    for (const Traveller& traveller : found->second)
        carriers.push_back({traveller.node, pipes[traveller.start.pipe].back()});
    leaving.erase(found);
    return carriers;
}

zr::vector<CarrierPipes::Carrier> CarrierPipes::takeAll(u32 round)
{
    zr::vector<Carrier> carriers;
    for (const auto& [last, travellers] : leaving)
        for (const Traveller& traveller : travellers)
        {
            const u32 steps = round - traveller.round + 1;
            carriers.push_back({traveller.node, pipes[traveller.start.pipe][traveller.start.index + steps]});
        }
    leaving.clear();
    return carriers;
}
} // namespace model::utils
