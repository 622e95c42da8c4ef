#pragma once

#include <type_traits>

#include "Vertices.h"

namespace model
{
/// The positions of a mesh, in whichever form it is held: none when it has no POSITION0. `Float` is `const f32`, or
/// `f32` to change them.
template <class Float>
struct PositionView
{
    using Mesh = std::conditional_t<std::is_const_v<Float>, const Vertices, Vertices>;

    explicit PositionView(Mesh& vertices) : width(vertices.strideOf(kPosition0))
    {
        if (width == 0) return;
        if (vertices.getPacked())
        {
            const std::size_t offset = vertices.offsetOf(kPosition0);
            if constexpr (std::is_const_v<Float>)
                data = vertices.getPacked()->data() + offset;
            else
                data = vertices.pack()->data() + offset;
            step = vertices.getPacked()->getStride();
            count = vertices.getPacked()->getCount();
            return;
        }
        auto& attribute = vertices.getAttribute(kPosition0);
        data = attribute.data.data();
        step = width;
        count = attribute.count();
    }

    Float* operator[](std::size_t vertex) const { return data + vertex * step; }

    /// Floats of a position.
    std::size_t width;
    /// Floats from one position to the next.
    std::size_t step = 0;
    std::size_t count = 0;
    Float* data = nullptr;
};
} // namespace model
