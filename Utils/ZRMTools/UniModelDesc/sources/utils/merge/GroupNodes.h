#pragma once

#include "RootNode.h"
#include "nodes/BaseRenderNode.h"

namespace model
{
/// Nodes of one class that are to become one. The first is the key: only it was compared with the others.
template <class T>
using Group = zr::vector<ObjectPtr<T>>;

/// Groups the render nodes that are exactly of one type, in list order: each joins the first group, in the order of
/// their creation, whose key can be merged with it (`canMerge`), or starts a new one. Expected linear for what scripts
/// build; nodes that are not plain are compared with the keys one by one.
/// @throws zr::ExtException "Material of render node isn't set." for two `RenderNode`s of one control node without one
zr::vector<Group<BaseRenderNode>> groupNodes(const RootNode& root, u32 type);
} // namespace model
