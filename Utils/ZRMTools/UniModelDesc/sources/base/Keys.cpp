#include "base/Keys.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace model
{
namespace
{
/// A value as `f64` components, and back in its own width.
template <int kCount>
using Components = std::array<f64, kCount>;

Components<1> split(f32 v)
{
    return {v};
}
Components<2> split(const vec2f& v)
{
    return {v[0], v[1]};
}
Components<3> split(const vec3f& v)
{
    return {v[0], v[1], v[2]};
}
Components<4> split(const vec4f& v)
{
    return {v[0], v[1], v[2], v[3]};
}
Components<3> split(const vec3d& v)
{
    return {v.x, v.y, v.z};
}
Components<4> split(const vec4d& v)
{
    return {v.x, v.y, v.z, v.w};
}

void join(f32& v, const Components<1>& c)
{
    v = static_cast<f32>(c[0]);
}
template <class V, std::size_t kCount>
void join(V& v, const std::array<f64, kCount>& c)
{
    for (std::size_t i = 0; i < kCount; ++i)
        v._v[i] = static_cast<f32>(c[i]);
}
void join(vec3d& v, const Components<3>& c)
{
    v = {c[0], c[1], c[2]};
}
void join(vec4d& v, const Components<4>& c)
{
    v = {c[0], c[1], c[2], c[3]};
}

/// The order of times: NaN stands behind every number, so that sorting and searching stay defined.
bool isBefore(f64 a, f64 b)
{
    return a < b || (std::isnan(b) && !std::isnan(a));
}

template <class V>
V weighted(const V& a, f64 weightA, const V& b, f64 weightB)
{
    const auto from = split(a);
    const auto to = split(b);
    auto sum = from;
    for (std::size_t i = 0; i < sum.size(); ++i)
        sum[i] = weightB * to[i] + weightA * from[i];
    V value;
    join(value, sum);
    return value;
}

template <class V>
V interpolate(const V& a, const V& b, f64 t)
{
    return weighted(a, 1.0 - t, b, t);
}

template <>
vec4d interpolate(const vec4d& a, const vec4d& b, f64 t)
{
    f64 dot = a.x * b.x + a.y * b.y + a.z * b.z + a.w * b.w;
    vec4d to = b;
    if (dot < 0.0)
    {
        dot = -dot;
        to = {-b.x, -b.y, -b.z, -b.w};
    }
    if (!(1.0 - dot > 1e-5)) return weighted(a, 1.0 - t, to, t);
    const f64 angle = std::acos(dot);
    const f64 sine = std::sin(angle);
    return weighted(a, std::sin((1.0 - t) * angle) / sine, to, std::sin(t * angle) / sine);
}

template <class V>
V between(const Key<V>& a, const Key<V>& b, f64 time)
{
    return interpolate(a.value, b.value, (time - a.time) / (b.time - a.time));
}

/// NaN anywhere makes values differ.
template <class V>
bool isWithin(const V& a, const V& b, f64 tolerance)
{
    const auto left = split(a);
    const auto right = split(b);
    for (std::size_t i = 0; i < left.size(); ++i)
        if (!(tolerance >= std::abs(left[i] - right[i]))) return false;
    return true;
}
} // namespace

template <class V>
void sortKeys(Keys<V>& keys)
{
    const auto order = [](const Key<V>& a, const Key<V>& b) { return isBefore(a.time, b.time); };
    if (!std::is_sorted(keys.begin(), keys.end(), order)) std::stable_sort(keys.begin(), keys.end(), order);
}

template <class V>
V evaluateKeys(const Keys<V>& keys, f64 time)
{
    if (keys.empty()) return V{};
    if (!isBefore(keys.front().time, time)) return keys.front().value;
    if (!isBefore(time, keys.back().time)) return keys.back().value;
    const auto next = std::lower_bound(keys.begin(), keys.end(), time,
                                       [](const Key<V>& key, f64 limit) { return isBefore(key.time, limit); });
    return between(*(next - 1), *next, time);
}

template <class V>
void simplifyKeys(Keys<V>& keys, f64 tolerance)
{
    if (keys.size() < 2) return;
    // The result so far is the first key and then, latest first in the order of keeping, the kept ones. Times fall
    // during the walk, so a key lies between the first key and the one that was kept last: no other can play a part,
    // except for the end of the list, which answers for keys at its own time.
    const Key<V> first = keys.front();
    const Key<V> last = keys.back();
    Keys<V> kept;
    for (auto key = keys.rbegin(); key != keys.rend(); ++key)
    {
        V value = first.value;
        if (isBefore(first.time, key->time) && !kept.empty())
            value =
                isBefore(key->time, kept.front().time) ? between(first, kept.back(), key->time) : kept.front().value;
        if (!isWithin(value, key->value, tolerance)) kept.push_back(*key);
    }

    kept.push_back(first);
    std::reverse(kept.begin(), kept.end());
    if (!isWithin(evaluateKeys(kept, last.time), last.value, tolerance)) kept.push_back(last);
    keys = std::move(kept);
}

#define MODEL_KEYS_OF(V)                                                                                               \
    template void sortKeys(Keys<V>&);                                                                                  \
    template V evaluateKeys(const Keys<V>&, f64);                                                                      \
    template void simplifyKeys(Keys<V>&, f64);

MODEL_KEYS_OF(f32)
MODEL_KEYS_OF(vec2f)
MODEL_KEYS_OF(vec3f)
MODEL_KEYS_OF(vec4f)
MODEL_KEYS_OF(vec3d)
MODEL_KEYS_OF(vec4d)
#undef MODEL_KEYS_OF
} // namespace model
