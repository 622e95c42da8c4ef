#pragma once

#include "utils/tree/ShadowTree.h"

/// The order in which the transforms of one pass are dealt with, which all have its round in the tree. It shows only
/// where matrices meet.
namespace model::utils
{
/// As a walk over the whole tree from the top meets them. Nodes that are not in the tree are dropped. Linear in the
/// tree.
void sortByWalk(zr::vector<u32>& candidates, const ShadowTree& tree, u32 round);

/// Each node behind its parent, when both are there: the parent's matrix comes into it first, and what it gives to its
/// parent doesn't move twice. Transforms that have another node between them don't meet. Linear in the nodes; no node
/// may come twice. Takes the round off the nodes.
void sortByParents(zr::vector<u32>& candidates, ShadowTree& tree, u32 round);
} // namespace model::utils
