#pragma once

#include <map>

#include "utils/tree/ShadowTree.h"

namespace model::utils
{
/// Carriers of a matrix on their way down through chains of visibility nodes.
///
/// A carrier moves down by one node in each round. In a long chain with many carriers that would be quadratic work for
/// something that is known beforehand: as long as the nodes of a *pipe* have nothing hanging on them and one child
/// each, a carrier comes out at the end after as many rounds as the pipe is long, and nothing else notices. So carriers
/// in a pipe are out of the tree, and only the round in which each leaves is kept.
///
///     v0 ─ v1 ─ v2 ─ v3 ─ whatever      A carrier above v1 at the start of round 7 passes v1 in that round, v2 in the
///        ^                              next, and passes v3, the end, in round 9: then it hangs below v3.
class CarrierPipes
{
public:
    struct Carrier
    {
        u32 node = kNoNode;
        /// The visibility node below which it comes out, or above which it is.
        u32 place = kNoNode;
    };

    explicit CarrierPipes(const ShadowTree& shadowTree) : tree(shadowTree) {}

    bool empty() const { return leaving.empty(); }

    /// Takes a carrier that was directly above `place` at the start of `round`. `isPassable` tells whether a node is a
    /// visibility node with nothing but another one below it; it has to stay so while carriers are in the pipe.
    template <class IsPassable>
    void put(Carrier carrier, u32 round, IsPassable isPassable)
    {
        if (!isLaid(carrier.place)) lay(carrier.place, isPassable);
        const Place at = places[carrier.place];
        const u32 steps = static_cast<u32>(pipes[at.pipe].size()) - 1 - at.index;
        leaving[round + steps].push_back({carrier.node, at, round});
    }

    /// The carriers that leave their pipe in this round.
    zr::vector<Carrier> takeLeaving(u32 round);
    /// All carriers, where they are at the end of this round.
    zr::vector<Carrier> takeAll(u32 round);

private:
    struct Place
    {
        u32 pipe = kNoNode;
        u32 index = 0;
    };
    struct Traveller
    {
        u32 node = kNoNode;
        Place start;
        u32 round = 0;
    };

    bool isLaid(u32 node) const { return node < places.size() && places[node].pipe != kNoNode; }

    /// A new pipe through `inside`: all passable nodes above it, and down to the first node that isn't passable. Other
    /// pipes end it too.
    template <class IsPassable>
    void lay(u32 inside, IsPassable isPassable)
    {
        u32 first = inside;
        for (u32 up = tree[first].parent; up != kNoNode && isPassable(up) && !isLaid(up); up = tree[up].parent)
            first = up;
        zr::vector<u32> nodes;
        for (u32 node = first; node != kNoNode && !isLaid(node);
             node = isPassable(node) ? tree[node].firstChild : kNoNode)
        {
            if (node >= places.size()) places.resize(node + 1);
            places[node] = {static_cast<u32>(pipes.size()), static_cast<u32>(nodes.size())};
            nodes.push_back(node);
        }
        pipes.push_back(std::move(nodes));
    }

    const ShadowTree& tree;
    zr::vector<zr::vector<u32>> pipes;
    /// By node; visibility nodes stay, so their numbers do.
    zr::vector<Place> places;
    std::map<u32, zr::vector<Traveller>> leaving;
};
} // namespace model::utils
