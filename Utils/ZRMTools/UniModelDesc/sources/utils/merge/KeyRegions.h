#pragma once

#include "utils/merge/ControlPlaces.h"

namespace model
{
constexpr u32 kNoGroup = 0xFFFFFFFFu;

/// The groups between whose nodes nothing but level-of-detail nodes decides (`MergeCandidate::isPlain`),
/// found by the region of their keys.
///
/// Keys were kept apart by nothing else, so any two of them meet at such a node, and what a place finds is simple: go
/// up to the first region that has keys in or below it. Is it a level-of-detail node, then all keys below it, and with
/// them all keys, are refused. Otherwise all keys below it are taken, and the first of them is what counts. That answer
/// never changes later, since no place below that could find it makes a key.
///
///     0 ─ 1 (lod) ─ 2    A mesh in 2 starts group 0. One in 3 goes up to 1, below which there is a key, and starts
///      │          └ 3    group 1. One in 5 goes up to 4, which has no key below it, and to 0, which has: it joins
///      └─ 4 (lod) ─ 5    group 0, and what comes to 4 or 5 later does so at once.
class KeyRegions
{
public:
    explicit KeyRegions(const ControlPlaces& controlPlaces) : places(controlPlaces) {}

    /// The first group whose key takes a node in this region, `kNoGroup` when there is none.
    u32 find(u32 region);
    /// A new group with its key in this region. Groups come in ascending order.
    void add(u32 region, u32 group);

private:
    const ControlPlaces& places;
    u32 firstGroup = kNoGroup;
    /// The first group with a key in or below a region, and what regions without one have found.
    phmap::flat_hash_map<u32, u32> firstBelow;
    phmap::flat_hash_map<u32, u32> settled;
    zr::vector<u32> path;
};
} // namespace model
