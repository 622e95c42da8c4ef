#pragma once

#include "utils/tree/NotedTree.h"

/// The steps that take nodes out of the tree. Each looks at what was noted for it.
namespace model::utils
{
/// Puts simpler nodes in the place of others (`makeReplacement`), under their names. Returns how many.
std::size_t replaceEmptyNodes(NotedTree& tree);
/// Drops plain nodes: what hangs on one, and its children, go to its parent. Returns how many.
std::size_t removeDummyNodes(NotedTree& tree);
/// Drops the unused nodes that are leaves at this moment. Returns how many.
std::size_t removeDeadEnds(NotedTree& tree);
/// An unused plain node with one child gives the top of the tree to its child. Returns whether that is a transform.
bool compactTop(NotedTree& tree);
} // namespace model::utils
