#pragma once

#include "io/FileParts.h"

namespace model
{
class RootNode;

/// Writes the whole file of one format version. One writer serves one file.
class IClassWriter
{
public:
    virtual ~IClassWriter() = default;
    /// Replaces what `out` held; it is good until the model changes. Nothing is written to disk, and nothing in the
    /// model changes.
    /// @throws zr::ExtException, and std::out_of_range for a node outside of the tree; `out` is as it was then
    virtual void write(const RootNode* root, FileParts& out) = 0;
    virtual u16 fileVersion() const = 0;
};
} // namespace model
