#pragma once

#include "base/types.h"
#include <zr/containers.h>

namespace io
{
class IBinaryFileW;
}

namespace model
{
/// What an index list makes, by the numbers of the file. The mesh operations work on `kTriangles` alone.
enum PrimitiveType : u32
{
    kPoints = 0,
    kLines = 1,
    kLineStrip = 2,
    kTriangles = 5,
    kTriangleStrip = 6,
    kTriangleFan = 7,
};

/// The index list of a mesh. Nothing in the class checks the indices against the vertices.
class Indices final
{
public:
    /// The index block of a file, in the narrowest width that holds the largest index.
    virtual void write(io::IBinaryFileW& file) const;

    /// How many primitives the list makes, by `primitiveType`; 0 for a type that is none of `PrimitiveType`.
    u32 getPrimitiveCount() const;

    /// Any number: what is none of `PrimitiveType` is kept and written.
    u32 primitiveType = kTriangles;
    zr::vector<u32> indices;
};
} // namespace model
