#pragma once

#include <memory>

#include "io/ByteBuffer.h"

namespace model
{
class RootNode;

/// Writes the whole file of one format version.
class IClassWriter
{
public:
    virtual ~IClassWriter() = default;
    /// Replaces what `out` held. Nothing is written to disk.
    virtual void write(RootNode* root, ByteBuffer& out) = 0;
    virtual u16 fileVersion() const = 0;
};

/// The writer of a version; null when there is none. One writer serves one file.
std::unique_ptr<IClassWriter> createClassWriter(u16 version);
} // namespace model
