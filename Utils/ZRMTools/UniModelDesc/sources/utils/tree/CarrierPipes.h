#pragma once

#include <map>

#include <parallel_hashmap/phmap.h>

#include "nodes/Node.h"

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
        ObjectPtr<Node> node;
        /// The visibility node below which it comes out, or above which it is.
        Node* place = nullptr;
    };

    bool empty() const { return leaving.empty(); }

    /// Takes a carrier that was directly above `place` at the start of `round`. `isPassable` tells whether a node is a
    /// visibility node with nothing but another one below it; it has to stay so while carriers are in the pipe.
    template <class IsPassable>
    void put(const ObjectPtr<Node>& carrier, Node& place, u64 round, IsPassable isPassable)
    {
        if (places.find(&place) == places.end()) lay(place, isPassable);
        const Place at = places[&place];
        const u64 steps = pipes[at.pipe].size() - 1 - at.index;
        leaving[round + steps].push_back({carrier, at, round});
    }

    /// The carriers that leave their pipe in this round.
    zr::vector<Carrier> takeLeaving(u64 round);
    /// All carriers, where they are at the end of this round.
    zr::vector<Carrier> takeAll(u64 round);

private:
    struct Place
    {
        u32 pipe = 0;
        u32 index = 0;
    };
    struct Traveller
    {
        ObjectPtr<Node> node;
        Place start;
        u64 round = 0;
    };

    /// A new pipe through `inside`: all passable nodes above it, and down to the first node that isn't passable. Other
    /// pipes end it too.
    template <class IsPassable>
    void lay(Node& inside, IsPassable isPassable)
    {
        Node* first = &inside;
        for (Node* up = first->parent(); up && isPassable(*up) && places.find(up) == places.end(); up = up->parent())
            first = up;
        const u32 pipe = static_cast<u32>(pipes.size());
        zr::vector<Node*>& nodes = pipes.emplace_back();
        for (Node* node = first; node && places.try_emplace(node, Place{pipe, static_cast<u32>(nodes.size())}).second;
             node = isPassable(*node) ? node->firstChild() : nullptr)
            nodes.push_back(node);
    }

    zr::vector<zr::vector<Node*>> pipes;
    phmap::flat_hash_map<const Node*, Place> places;
    std::map<u64, zr::vector<Traveller>> leaving;
};
} // namespace model::utils
