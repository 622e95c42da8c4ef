#pragma once

#include <memory>

#include "IClassWriter.h"

namespace model
{
/// The writer of a version; null when there is none.
std::unique_ptr<IClassWriter> createClassWriter(u16 version);

/// What a save settles in the model itself before a file is written, so that writing changes nothing: the root's list
/// of materials; one texture where two of a material mean the same; the versions of nodes with transparent pivots.
void prepareForWriting(RootNode& root);
} // namespace model
