#include "compute/Tangents.h"

#include <cmath>

#include <zr/checked.h>
#include <zr/containers.h>

namespace pyzrm
{
namespace
{
using zr::f32;
using zr::u32;

struct Vec3
{
    f32 x = 0.0f;
    f32 y = 0.0f;
    f32 z = 0.0f;
};

Vec3 at(const f32* floats)
{
    return {floats[0], floats[1], floats[2]};
}
Vec3 operator-(const Vec3& a, const Vec3& b)
{
    return {a.x - b.x, a.y - b.y, a.z - b.z};
}
Vec3 operator*(f32 factor, const Vec3& v)
{
    return {factor * v.x, factor * v.y, factor * v.z};
}
Vec3 operator/(const Vec3& v, f32 divisor)
{
    return {v.x / divisor, v.y / divisor, v.z / divisor};
}
void operator+=(Vec3& a, const Vec3& b)
{
    a = {a.x + b.x, a.y + b.y, a.z + b.z};
}
f32 dot(const Vec3& a, const Vec3& b)
{
    return a.x * b.x + a.y * b.y + a.z * b.z;
}
Vec3 cross(const Vec3& a, const Vec3& b)
{
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}
Vec3 normalized(const Vec3& v)
{
    const f32 length = std::sqrt(dot(v, v));
    return length > 0.0f ? v / length : v;
}

/// A direction at right angles to a normal.
Vec3 anyTangent(const Vec3& normal)
{
    const Vec3 a{normal.y, -normal.x, 0.0f};
    const Vec3 b{-normal.z, 0.0f, normal.x};
    return dot(a, a) > dot(b, b) ? a : b;
}

void store(f32* floats, const Vec3& v)
{
    floats[0] = v.x;
    floats[1] = v.y;
    floats[2] = v.z;
}
} // namespace

void computeTangents(std::size_t vertexCount, std::size_t positionStride, std::size_t triangleCount,
                     const f32* positions, const f32* normals, const f32* uvs, const u32* indices, f32* tangents,
                     f32* binormals)
{
    for (std::size_t i = 0; i < 3 * triangleCount; ++i)
        if (indices[i] >= vertexCount) zr::raiseBadIndex();

    // The directions of growing u and v, summed over the triangles of each vertex.
    zr::vector<Vec3> alongU(vertexCount);
    zr::vector<Vec3> alongV(vertexCount);
    for (std::size_t triangle = 0; triangle < triangleCount; ++triangle)
    {
        const std::size_t a = indices[3 * triangle];
        const std::size_t b = indices[3 * triangle + 1];
        const std::size_t c = indices[3 * triangle + 2];
        const f32 u1 = uvs[2 * b] - uvs[2 * a];
        const f32 v1 = uvs[2 * b + 1] - uvs[2 * a + 1];
        const f32 u2 = uvs[2 * c] - uvs[2 * a];
        const f32 v2 = uvs[2 * c + 1] - uvs[2 * a + 1];
        const f32 area = u1 * v2 - v1 * u2;
        if (std::fabs(area) < 1e-5f) continue;
        const Vec3 edge1 = at(positions + positionStride * b) - at(positions + positionStride * a);
        const Vec3 edge2 = at(positions + positionStride * c) - at(positions + positionStride * a);
        const Vec3 s = (v2 * edge1 - v1 * edge2) / area;
        const Vec3 t = (u1 * edge2 - u2 * edge1) / area;
        for (const std::size_t vertex : {a, b, c})
        {
            alongU[vertex] += s;
            alongV[vertex] += t;
        }
    }

    for (std::size_t vertex = 0; vertex < vertexCount; ++vertex)
    {
        const Vec3 normal = at(normals + 3 * vertex);
        Vec3 tangent = alongU[vertex] - dot(normal, alongU[vertex]) * normal;
        if (std::sqrt(dot(tangent, tangent)) < 0.01f) tangent = anyTangent(normal);
        tangent = normalized(tangent);
        Vec3 binormal = normalized(cross(normal, tangent));
        if (dot(binormal, alongV[vertex]) < 0.0f) binormal = -1.0f * binormal;
        store(tangents + 3 * vertex, tangent);
        store(binormals + 3 * vertex, binormal);
    }
}
} // namespace pyzrm
