#pragma once

#include "base/types.h"
#include <zr/containers.h>

namespace model
{
/// A value at a time; time is the value of an animation argument. V is f32, vec2f, vec3f, vec4f, or, in `f64`, vec3d or
/// vec4d (a quaternion).
template <class V>
struct Key
{
    f64 time = 0.0;
    V value{};
};

using VectorKey = Key<vec3d>;
using RotationKey = Key<vec4d>;

template <class V>
using Keys = zr::vector<Key<V>>;

/// Sorts keys by time, ascending. Keys of equal time keep their order; NaN times come last.
template <class V>
void sortKeys(Keys<V>& keys);

/// The value at a time of a list that is sorted by time: the end keys outside of it, between two keys linear
/// interpolation, for vec4d spherical. An empty list gives zeros, for vec4d the identity.
template <class V>
V evaluateKeys(const Keys<V>& keys, f64 time);

/// Drops every key of a sorted list that the others reproduce by interpolation, each component within `tolerance`.
/// Linear in the number of keys.
template <class V>
void simplifyKeys(Keys<V>& keys, f64 tolerance);

/// The tolerance of transform channels and of property facades.
constexpr f64 kChannelTolerance = static_cast<f64>(0.0001f);
constexpr f64 kPropertyTolerance = static_cast<f64>(0.001f);
} // namespace model
