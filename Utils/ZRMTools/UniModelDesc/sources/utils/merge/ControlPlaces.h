#pragma once

#include <parallel_hashmap/phmap.h>

#include "nodes/Node.h"

namespace model
{
constexpr u32 kNoRegion = 0xFFFFFFFFu;

/// What merging asks about a place on the tree, answered without a walk for each pair of places.
///
/// Whether a visibility node lies between one of two places and their common ancestor: exactly if the nearest
/// visibility nodes above them (themselves included) differ.
///
/// Whether the common ancestor is a level-of-detail node: the tree without such nodes falls into *regions*. Regions and
/// level-of-detail nodes make a tree of their own, usually a tiny one, and the common ancestor in it tells.
///
///     top                     0
///     ├ a                     0
///     │ └ lod                 1 (lod)    a and c meet in region 0, which is no level-of-detail node: they can merge.
///     │   ├ b                 2          b and c meet in 1, which is one: they cannot.
///     │   └ c                 3          c and d meet in 3.
///     │     └ d               3
///     └ e                     0
///
/// A region is numbered when a place in it is first looked at, always behind the one above it.
class ControlPlaces
{
public:
    struct Place
    {
        const Node* visibility = nullptr;
        u32 region = kNoRegion;
        bool isUnderBillboard = false;
    };
    struct Region
    {
        u32 parent = kNoRegion;
        bool isLod = false;
    };

    /// Costs the way up to the nearest node that was looked at before. Null is a place outside every tree.
    const Place& find(const Node* node);
    const Region& region(u32 number) const { return regions[number]; }

private:
    Place below(const Node& node, const Place* above, bool isAboveLod);

    zr::vector<Place> places;
    phmap::flat_hash_map<const Node*, u32> numbers;
    zr::vector<Region> regions;
    zr::vector<const Node*> path;
    Place outside;
};
} // namespace model
