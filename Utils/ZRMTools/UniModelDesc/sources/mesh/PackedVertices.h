#pragma once

#include <cstdlib>
#include <cstring>
#include <utility>

#include "base/types.h"
#include <zr/memory.h>

namespace model
{
/// The vertices of a mesh one behind the other, `stride` floats each: room that nobody has filled when it is made, so
/// that a large mesh is written once and not zeroed before.
class PackedVertices
{
public:
    PackedVertices() = default;
    PackedVertices(std::size_t vertexCount, std::size_t vertexStride)
        : floats(static_cast<f32*>(zr_malloc(vertexCount * vertexStride * sizeof(f32)))),
          count(vertexCount),
          stride(vertexStride)
    {
    }
    PackedVertices(const PackedVertices& other)
    {
        if (!other.floats) return;
        *this = PackedVertices(other.count, other.stride);
        std::memcpy(floats, other.floats, size());
        areDistinct = other.areDistinct;
    }
    PackedVertices(PackedVertices&& other) noexcept { swap(other); }
    PackedVertices& operator=(PackedVertices other) noexcept
    {
        swap(other);
        return *this;
    }
    ~PackedVertices() { std::free(floats); }

    /// Whether this is a mesh at all, even one that has no vertex left.
    explicit operator bool() const { return floats != nullptr; }
    std::size_t getCount() const { return count; }
    std::size_t getStride() const { return stride; }
    /// In bytes.
    std::size_t size() const { return count * stride * sizeof(f32); }

    f32* data() { return floats; }
    const f32* data() const { return floats; }
    f32* operator[](std::size_t vertex) { return floats + vertex * stride; }
    const f32* operator[](std::size_t vertex) const { return floats + vertex * stride; }

    /// Keeps the first vertices, at most as many as there are, and gives the memory of the others back.
    void shrink(std::size_t vertexCount)
    {
        count = vertexCount;
        floats = static_cast<f32*>(zr_realloc(floats, size()));
    }

    /// Known to be: no two have the same bytes. To be cleared by whoever changes a vertex.
    bool areDistinct = false;

private:
    void swap(PackedVertices& other)
    {
        std::swap(areDistinct, other.areDistinct);
        std::swap(floats, other.floats);
        std::swap(count, other.count);
        std::swap(stride, other.stride);
    }

    f32* floats = nullptr;
    std::size_t count = 0;
    std::size_t stride = 0;
};
} // namespace model
