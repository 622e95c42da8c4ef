#pragma once

#include "inc/IRenderNode.h"

namespace pyzrm
{
/// The names of a facade's nodes as its `__repr__` shows them.
zr::string describeNodes(const IRenderNode& facade);
} // namespace pyzrm
