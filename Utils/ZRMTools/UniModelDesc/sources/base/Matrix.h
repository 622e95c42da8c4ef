#pragma once

#include "base/types.h"

/// Matrices of 16 `f64` in row order for row vectors (a point is `v x M`), and quaternions as x, y, z, w.
namespace model
{
/// a x b. Each value is summed from the first term upward, so every compiler gives the same bits.
matrixd multiply(const f64* a, const f64* b);
inline matrixd multiply(const matrixd& a, const matrixd& b)
{
    return multiply(a.m, b.m);
}

/// m := m x right.
void multiplyBy(f64* m, const f64* right);

/// The rotation `first` followed by the rotation `second`.
vec4d multiply(const vec4d& first, const vec4d& second);

/// The opposite rotation; not finite for the quaternion of length 0.
vec4d inverse(const vec4d& q);

/// The rotation matrix of a quaternion of any length; one of length 0 gives a 3 by 3 block of zeros.
matrixd rotationMatrix(const vec4d& q);

matrixd scaleMatrix(const vec3d& scale);
matrixd translationMatrix(const vec3d& offset);
} // namespace model
