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
    {
        const auto owner = std::allocate_shared<const zr::vector<f32>>(zr::allocator<f32>(), std::move(floats));
        first = {owner, owner->data()};
        count = owner->size();
    }

    bool empty() const { return count == 0; }
    std::size_t size() const { return count; }
    const f32* data() const { return first.get(); }
    const f32* begin() const { return data(); }
    const f32* end() const { return data() + count; }
    f32 operator[](std::size_t i) const { return data()[i]; }

private:
    std::shared_ptr<const f32> first; ///< holds the whole array
    std::size_t count = 0;
};

/// Vertices of a mesh as a script gave them: arrays that its blocks refer to, too, and the matrices that the vertices
/// have yet to go through.
struct VertexSource
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

    /// Number of the first vertex in the mesh.
    u32 first = 0;
    u32 count = 0;
    /// The fourth float of positions, where no part gives it. Other floats without a part are 0.
    f32 selector = 0.0f;
    zr::small_vector<Part, 3> parts; ///< in one piece, as thousands of sources are read one behind the other
    /// For all vertices, the first one first.
    zr::vector<VertexMove> moves;
};

/// A mesh of such sources, one behind the other: more than one when it was merged. Whoever reads it puts together what
/// belongs to each vertex block by block, mostly on the way into the weld, so that nothing is copied before.
using VertexSources = zr::vector<VertexSource>;
} // namespace model
