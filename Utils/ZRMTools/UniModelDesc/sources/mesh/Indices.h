#pragma once

#include "base/types.h"
#include <zr/containers.h>

namespace io
{
class IBinaryFileW;
}

namespace model
{
/// The primitive type of a triangle list, the only one that the mesh operations work on.
constexpr u32 kTriangles = 5;

/// The index list of a mesh. Nothing in the class checks the indices against the vertices.
class Indices final
{
public:
    /// The index block of a file, in the narrowest width that holds the largest index.
    virtual void write(io::IBinaryFileW& file) const;

    /// How many primitives the list makes, by `primitiveType`.
    u32 getPrimitiveCount() const;

    u32 primitiveType = kTriangles;
    zr::vector<u32> indices;
};
} // namespace model
