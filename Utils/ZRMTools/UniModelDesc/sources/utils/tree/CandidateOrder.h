#pragma once

#include "nodes/Node.h"

/// The order in which the transforms of one pass are dealt with. It shows only where matrices meet.
namespace model::utils
{
/// As a walk over the whole tree from `top` meets them. Nodes that are not in the tree are dropped. Linear in the tree.
void sortByWalk(zr::vector<Node*>& nodes, Node& top);

/// Each node behind its parent, when both are there: the parent's matrix comes into it first, and what it gives to its
/// parent doesn't move twice. Transforms that have another node between them don't meet. Linear in the nodes; no node
/// may come twice.
void sortByParents(zr::vector<Node*>& nodes);
} // namespace model::utils
