#include "base/Matrix.h"

#include <cmath>
#include <limits>

namespace model
{
matrixd multiply(const f64* a, const f64* b)
{
    matrixd out;
    for (int row = 0; row < 4; ++row)
    {
        const f64* r = a + 4 * row;
        for (int column = 0; column < 4; ++column)
        {
            const f64* c = b + column;
            out.m[4 * row + column] = r[0] * c[0] + r[1] * c[4] + r[2] * c[8] + r[3] * c[12];
        }
    }
    return out;
}

void multiplyBy(f64* m, const f64* right)
{
    const matrixd product = multiply(m, right);
    for (int i = 0; i < 16; ++i)
        m[i] = product.m[i];
}

vec4d multiply(const vec4d& first, const vec4d& second)
{
    const auto [x, y, z, w] = first;
    const auto [a, b, c, d] = second;
    return {
        x * d + w * a + z * b - y * c,
        y * d - z * a + w * b + x * c,
        z * d + y * a - x * b + w * c,
        w * d - x * a - y * b - z * c,
    };
}

namespace
{
f64 squaredLength(const vec4d& q)
{
    return q.x * q.x + q.y * q.y + q.z * q.z + q.w * q.w;
}
} // namespace

vec4d inverse(const vec4d& q)
{
    const f64 n = squaredLength(q);
    return {-q.x / n, -q.y / n, -q.z / n, q.w / n};
}

matrixd rotationMatrix(const vec4d& q)
{
    const auto [x, y, z, w] = q;
    const f64 n = squaredLength(q);
    matrixd out;
    if (std::abs(n) <= std::numeric_limits<f64>::min())
    {
        out.m[0] = out.m[5] = out.m[10] = 0.0;
        return out;
    }
    const f64 s = n == 1.0 ? 2.0 : 2.0 / n;
    out.m[0] = 1.0 - s * (y * y + z * z);
    out.m[1] = s * (x * y + w * z);
    out.m[2] = s * (x * z - w * y);
    out.m[4] = s * (x * y - w * z);
    out.m[5] = 1.0 - s * (x * x + z * z);
    out.m[6] = s * (y * z + w * x);
    out.m[8] = s * (x * z + w * y);
    out.m[9] = s * (y * z - w * x);
    out.m[10] = 1.0 - s * (x * x + y * y);
    return out;
}

matrixd scaleMatrix(const vec3d& scale)
{
    matrixd out;
    out.m[0] = scale.x;
    out.m[5] = scale.y;
    out.m[10] = scale.z;
    return out;
}

matrixd translationMatrix(const vec3d& offset)
{
    matrixd out;
    out.m[12] = offset.x;
    out.m[13] = offset.y;
    out.m[14] = offset.z;
    return out;
}
} // namespace model
