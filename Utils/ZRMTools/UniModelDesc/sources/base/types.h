#pragma once

#include <limits>

#include <osg/Vec2f>
#include <osg/Vec3f>
#include <osg/Vec4f>

#include <zr/types.h>

/// The widths and small value types that the whole model library shares.
namespace model
{
using zr::f32;
using zr::f64;
using zr::i32;
using zr::i64;
using zr::u16;
using zr::u32;
using zr::u64;
using zr::u8;

using vec2f = osg::Vec2f;
using vec3f = osg::Vec3f;
using vec4f = osg::Vec4f;

struct vec3d
{
    f64 x = 0.0;
    f64 y = 0.0;
    f64 z = 0.0;
};

/// A quaternion, in the order in which files hold it.
struct vec4d
{
    f64 x = 0.0;
    f64 y = 0.0;
    f64 z = 0.0;
    f64 w = 1.0;
};

/// Sixteen values in row order, for row vectors: a point is `v x M`, the translation stands in the last row.
struct matrixd
{
    f64 m[16] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
};

struct matrixf
{
    f32 m[16] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
};

/// The argument handle that means "no argument".
constexpr u32 kNoArgument = 0xFFFFFFFFu;

/// An axis-aligned box. It is set when maximum >= minimum on each axis; a NaN makes it not set.
struct Box
{
    static constexpr f32 kLargest = std::numeric_limits<f32>::max();

    vec3f min{kLargest, kLargest, kLargest};
    vec3f max{-kLargest, -kLargest, -kLargest};

    bool isSet() const { return max.x() >= min.x() && max.y() >= min.y() && max.z() >= min.z(); }

    /// Widens the box by a point. A NaN component changes nothing.
    void extend(f32 x, f32 y, f32 z)
    {
        const f32 point[3] = {x, y, z};
        for (int axis = 0; axis < 3; ++axis)
        {
            min[axis] = point[axis] < min[axis] ? point[axis] : min[axis];
            max[axis] = point[axis] > max[axis] ? point[axis] : max[axis];
        }
    }
};
} // namespace model
