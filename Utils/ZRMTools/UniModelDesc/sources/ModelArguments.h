#pragma once

#include "base/types.h"
#include <zr/unordered_set.h>

namespace model
{
class Node;
class RootNode;

/// All arguments named in the tree below and including `root`.
zr::unordered_set<u32> getArgumentsList(const Node* root);

/// The largest argument handle that the model uses plus one; 0 when it uses none.
u32 calcNumHandles(const RootNode& root);
} // namespace model
