#pragma once

#include <tuple>

#include "base/types.h"
#include <zr/containers.h>

/// The values of scripts as the facades take them. Floats arrive in 32 bits and are widened where a field is wider.
namespace pyzrm
{
using zr::f32;
using zr::f64;
using zr::i32;
using zr::i64;
using zr::u32;
using zr::u64;
using zr::u8;

using Float2 = std::tuple<f32, f32>;
using Float3 = std::tuple<f32, f32, f32>;
using Float4 = std::tuple<f32, f32, f32, f32>;
using Float6 = std::tuple<f32, f32, f32, f32, f32, f32>;
/// Columns of the model's matrix.
using Columns = zr::vector<Float4>;

/// A whole number of a script, from -2^31 to 2^32 - 1.
struct WholeNumber
{
    i64 value = 0;

    /// As an argument handle: a negative number is its two's complement.
    u32 asHandle() const { return static_cast<u32>(value); }
    u8 lowByte() const { return static_cast<u8>(value); }
};

/// (time, value) pairs, and lists of them for one argument each.
template <class V>
using KeyList = zr::vector<std::tuple<f32, V>>;
template <class V>
using ArgumentKeys = zr::vector<std::tuple<WholeNumber, KeyList<V>>>;

/// The copy of an array of a script, one index from 0 up whatever its strides were.
template <class T>
struct FlatArray
{
    zr::vector<T> values;
};
using Floats = FlatArray<f32>;
using UInts = FlatArray<u32>;

/// The copy of a list of numbers. Other than for a `FlatArray` every single value must be a T of its own accord.
template <class T>
struct NumberList
{
    zr::vector<T> values;
};
using FloatList = NumberList<f32>;
using UIntList = NumberList<u32>;

/// The value that a property holds.
inline f32 toValue(f32 value)
{
    return value;
}
inline model::vec2f toValue(const Float2& v)
{
    return {std::get<0>(v), std::get<1>(v)};
}
inline model::vec3f toValue(const Float3& v)
{
    return {std::get<0>(v), std::get<1>(v), std::get<2>(v)};
}
inline model::vec3d toVec3d(const Float3& v)
{
    return {std::get<0>(v), std::get<1>(v), std::get<2>(v)};
}
/// From w, x, y, z.
inline model::vec4d toQuaternion(const Float4& v)
{
    return {std::get<1>(v), std::get<2>(v), std::get<3>(v), std::get<0>(v)};
}
/// From minimum x, y, z, maximum x, y, z.
inline model::Box toBox(const Float6& v)
{
    model::Box box;
    box.min.set(std::get<0>(v), std::get<1>(v), std::get<2>(v));
    box.max.set(std::get<3>(v), std::get<4>(v), std::get<5>(v));
    return box;
}

/// @throws std::invalid_argument for fewer than four columns; those beyond the fourth are ignored
model::matrixd toMatrix(const Columns& columns);
} // namespace pyzrm
