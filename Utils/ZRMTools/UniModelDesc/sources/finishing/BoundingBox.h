#pragma once

#include "base/types.h"

namespace model
{
class RootNode;

/// The box of the eight corners of `box` after the matrix (16 values), with division by w.
Box transformBox(const Box& box, const f64* m);

/// The box of all render and shell geometry at rest; not set without geometry. An empty shell that is still in the list
/// gives a box over the whole range.
Box computeBoundingBox(const RootNode& root);

/// `boundingBox`, grown by the largest distance of a light (of an animated one: of its keys).
Box computeLightBox(const RootNode& root);
} // namespace model
