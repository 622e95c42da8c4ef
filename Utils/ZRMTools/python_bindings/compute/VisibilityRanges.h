#pragma once

#include "inc/Arguments.h"
#include "nodes/ArgVisibilityNode.h"

namespace pyzrm
{
using VisibilityRanges = decltype(model::VisibilityArgument::ranges);

/// The ranges in which an argument's keys (value, state) say visible, in the order of the keys. A single visible key
/// gives -1 to 1; what stays visible behind the last key ends at 1.0001.
VisibilityRanges keysToRanges(const KeyList<f32>& keys);
} // namespace pyzrm
