#pragma once

#include <memory>

#include "mesh/VertexMove.h"
#include <zr/containers.h>

namespace model
{
/// Floats that nobody changes any more, so that the blocks of a script and the meshes made of them can share one array.
class SharedFloats
{
public:
    SharedFloats() = default;
    SharedFloats(zr::vector<f32> floats)
        : shared(std::allocate_shared<const zr::vector<f32>>(zr::allocator<f32>(), std::move(floats)))
    {
    }

    bool empty() const { return size() == 0; }
    std::size_t size() const { return shared ? shared->size() : 0; }
    const f32* data() const { return shared ? shared->data() : nullptr; }
    const f32* begin() const { return data(); }
    const f32* end() const { return data() + size(); }
    f32 operator[](std::size_t i) const { return data()[i]; }

private:
    std::shared_ptr<const zr::vector<f32>> shared;
};

/// The vertices of a mesh as a script gave them: arrays that its blocks refer to, too, and the matrices that the
/// vertices have yet to go through. Whoever reads them does both on the way, block by block, so that a mesh that is
/// merged or welded is never copied before.
struct VertexSources
{
    /// Some floats of an attribute of each vertex.
    struct Part
    {
        i32 semantic;
        /// Floats of the attribute in front.
        u32 place;
        u32 width;
        SharedFloats floats; ///< of `count` vertices at least
    };

    /// Whether this is a mesh at all.
    explicit operator bool() const { return !parts.empty(); }

    u32 count = 0;
    /// Floats of an attribute that belong to no part are 0.
    zr::vector<Part> parts;
    /// For all vertices, the first one first.
    zr::vector<VertexMove> moves;
};
} // namespace model
