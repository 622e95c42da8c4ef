#pragma once

#include "base/types.h"

namespace model
{
/// A matrix as vertices go through it. Each coordinate is computed in 64 bits and rounded once for each move.
struct VertexMove
{
    /// m  [16], copied
    explicit VertexMove(const f64* m);

    f64 point[16];
    /// For row vectors from the left: the inverse transpose of the 3 by 3 block after its columns are brought to
    /// length 1; the identity when that has (nearly) no inverse.
    f64 direction[3][3];
};

/// Moves points through the matrix: v x M with the translation row.
/// first  three floats each, `stride` floats from one to the next
void movePoints(f32* first, std::size_t stride, std::size_t count, const VertexMove& move);

/// Turns directions: v x N, brought to length 1.
void turnDirections(f32* first, std::size_t stride, std::size_t count, const VertexMove& move);

/// What a move does with an attribute.
using Moving = void (*)(f32* first, std::size_t stride, std::size_t count, const VertexMove& move);

/// By the semantic of an attribute; null for what no matrix moves, and for fewer than three floats a vertex.
Moving movingOf(i32 semantic, u32 stride);
} // namespace model
