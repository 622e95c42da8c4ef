#pragma once

#include <cstddef>

#include <zr/types.h>

namespace pyzrm
{
/// Computes a tangent space from texture coordinates: tangents at right angles to the normals along u, binormals at
/// right angles to both on the side of v. All in 32 bits, linear in vertices and triangles. Keeps nothing: calls on
/// different meshes may run together.
///
/// positionStride  floats of each position, of which the first three are read
/// positions       [positionStride * vertexCount]
/// normals         [3 * vertexCount], unit length
/// uvs             [2 * vertexCount]
/// indices         [3 * triangleCount]
/// tangents        [3 * vertexCount], written; unit length, some direction at right angles to the normal for a vertex
///                 whose triangles have no area in u, v
/// binormals       [3 * vertexCount], written
/// @throws std::out_of_range "Expected idx < size()" for an index at or beyond vertexCount, with nothing written
void computeTangents(std::size_t vertexCount, std::size_t positionStride, std::size_t triangleCount,
                     const zr::f32* positions, const zr::f32* normals, const zr::f32* uvs, const zr::u32* indices,
                     zr::f32* tangents, zr::f32* binormals);
} // namespace pyzrm
