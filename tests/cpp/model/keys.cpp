#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <numbers>
#include <random>

#include <gtest/gtest.h>

#include "base/Keys.h"

using namespace model;

namespace
{
constexpr f64 kNaN = std::numeric_limits<f64>::quiet_NaN();
constexpr f64 kInfinity = std::numeric_limits<f64>::infinity();

bool isBefore(f64 a, f64 b)
{
    return a < b || (std::isnan(b) && !std::isnan(a));
}

f64 component(const f32& v, int)
{
    return static_cast<f64>(v);
}
f64 component(const vec3d& v, int i)
{
    return i == 0 ? v.x : i == 1 ? v.y : v.z;
}
f64 component(const vec4d& v, int i)
{
    return i == 0 ? v.x : i == 1 ? v.y : i == 2 ? v.z : v.w;
}
template <class V>
constexpr int kSize = 1;
template <>
constexpr int kSize<vec3d> = 3;
template <>
constexpr int kSize<vec4d> = 4;

template <class V>
bool isReproduced(const Keys<V>& list, const Key<V>& key, f64 tolerance)
{
    const V value = evaluateKeys(list, key.time);
    for (int i = 0; i < kSize<V>; ++i)
        if (!(tolerance >= std::abs(component(value, i) - component(key.value, i)))) return false;
    return true;
}

/// The reduction step by step: each key is tested against the whole list so far, which is then put in order again. A
/// later arrival stands before those of its own time, but never before the first key; the last key's second test puts
/// it at the end.
template <class V>
Keys<V> simplifiedStepByStep(const Keys<V>& input, f64 tolerance)
{
    if (input.size() < 2) return input;
    Keys<V> result{input.front()};
    for (auto key = input.rbegin(); key != input.rend(); ++key)
    {
        if (isReproduced(result, *key, tolerance)) continue;
        const auto place = std::find_if(result.begin() + 1, result.end(),
                                        [&](const Key<V>& entry) { return !isBefore(entry.time, key->time); });
        result.insert(place, *key);
        EXPECT_TRUE(std::is_sorted(result.begin(), result.end(),
                                   [](const Key<V>& a, const Key<V>& b) { return isBefore(a.time, b.time); }));
    }
    if (!isReproduced(result, input.back(), tolerance)) result.push_back(input.back());
    return result;
}

template <class V>
bool isSame(const Keys<V>& a, const Keys<V>& b)
{
    return a.size() == b.size() && (a.empty() || std::memcmp(a.data(), b.data(), a.size() * sizeof(Key<V>)) == 0);
}

class RandomKeys
{
public:
    template <class V>
    Keys<V> make()
    {
        Keys<V> keys(static_cast<std::size_t>(below(14)));
        // The bytes between time and value are compared too, and a struct of f64 and f32 has four that nobody sets.
        if (!keys.empty()) std::memset(static_cast<void*>(keys.data()), 0, keys.size() * sizeof(Key<V>));
        for (Key<V>& key : keys)
        {
            key.time = below(30) == 0 ? special() : below(8);
            fill(key.value);
        }
        sortKeys(keys);
        return keys;
    }

private:
    int below(int limit) { return std::uniform_int_distribution<int>(0, limit - 1)(random); }
    f64 special()
    {
        constexpr f64 kValues[] = {kNaN, kInfinity, -kInfinity, -0.0, 1e300};
        return kValues[below(5)];
    }
    f64 value() { return below(40) == 0 ? special() : below(3) == 0 ? below(100) * 0.01 : below(3); }
    void fill(f32& v) { v = static_cast<f32>(value()); }
    void fill(vec3d& v) { v = {value(), 0.0, value()}; }
    void fill(vec4d& v) { v = {value(), 0.0, value(), 1.0}; }

    std::mt19937 random{20240817};
};

template <class V>
void compareWithStepByStep()
{
    RandomKeys random;
    for (int round = 0; round < 6000; ++round)
    {
        const Keys<V> input = random.make<V>();
        Keys<V> keys = input;
        simplifyKeys(keys, kChannelTolerance);
        ASSERT_TRUE(isSame(keys, simplifiedStepByStep(input, kChannelTolerance))) << "round " << round;
    }
}

Keys<f32> floatKeys(std::initializer_list<std::pair<f64, f32>> list)
{
    Keys<f32> keys;
    for (const auto& [time, value] : list)
        keys.push_back({time, value});
    return keys;
}
} // namespace

TEST(Keys, SimplifyEqualsTheStepByStepForm)
{
    compareWithStepByStep<f32>();
    compareWithStepByStep<vec3d>();
    compareWithStepByStep<vec4d>();
}

TEST(Keys, Simplify)
{
    struct Case
    {
        Keys<f32> input;
        std::size_t kept;
    };
    const Case cases[] = {
        {{}, 0},
        {floatKeys({{1, 5}}), 1},
        {floatKeys({{0, 5}, {1, 5}}), 1},
        {floatKeys({{0, 0}, {1, 1}, {2, 2}}), 2},
        {floatKeys({{0, 0}, {1, 1}, {2, 0}}), 3},
        // The key at 2 is tested before the one at 1 has come back.
        {floatKeys({{0, 0}, {1, 5}, {2, 2}, {10, 10}}), 3},
        // The last key is dropped first, and comes back when the others have moved away from it.
        {floatKeys({{0, 0}, {1, 7}, {2, 0}}), 3},
    };
    for (const Case& entry : cases)
    {
        Keys<f32> keys = entry.input;
        simplifyKeys(keys, kPropertyTolerance);
        EXPECT_EQ(keys.size(), entry.kept);
    }

    Keys<vec4d> opposite{{0.0, {0, 0, 0, 1}}, {1.0, {0, 0, 0, -1}}};
    simplifyKeys(opposite, kChannelTolerance);
    EXPECT_EQ(opposite.size(), 2u) << "a rotation and its negation are different keys";
}

TEST(Keys, SimplifyTakesLinearTime)
{
    Keys<vec3d> keys;
    for (int i = 0; i < 2000000; ++i)
        keys.push_back({static_cast<f64>(i), {static_cast<f64>(i % 2), 0.0, 0.0}});
    simplifyKeys(keys, kChannelTolerance);
    EXPECT_EQ(keys.size(), 2000000u);
}

TEST(Keys, Evaluate)
{
    EXPECT_EQ(evaluateKeys(Keys<f32>{}, 1.0), 0.0f);
    EXPECT_EQ(evaluateKeys(Keys<vec4d>{}, 1.0).w, 1.0);

    const Keys<f32> keys = floatKeys({{1, 10}, {3, 20}, {3, 40}, {4, 50}});
    const std::pair<f64, f32> cases[] = {{-kInfinity, 10}, {1, 10}, {2, 15}, {3, 20}, {3.5, 45}, {4, 50}, {9, 50}};
    for (const auto& [time, value] : cases)
        EXPECT_EQ(evaluateKeys(keys, time), value) << time;
    for (const f64 time : {kNaN, kInfinity})
        EXPECT_EQ(evaluateKeys(keys, time), 50.0f);
}

TEST(Keys, RotationsTurnAlongTheShorterArc)
{
    const f64 half = std::sqrt(0.5);
    const Keys<vec4d> quarterTurn{{0.0, {0, 0, 0, 1}}, {1.0, {0, 0, -half, -half}}};
    const vec4d middle = evaluateKeys(quarterTurn, 0.5);
    EXPECT_NEAR(middle.z, std::sin(std::numbers::pi / 8), 1e-15);
    EXPECT_NEAR(middle.w, std::cos(std::numbers::pi / 8), 1e-15);

    // Nearly the same rotation: linear weights, and no division by a vanishing sine.
    const Keys<vec4d> still{{0.0, {0, 0, 0, 1}}, {1.0, {0, 0, 1e-6, 1}}};
    EXPECT_EQ(evaluateKeys(still, 0.5).z, 0.5e-6);
}

TEST(Keys, SortKeepsEqualTimesAndPutsNaNLast)
{
    Keys<f32> keys = floatKeys({{kNaN, 0}, {2, 1}, {1, 2}, {kNaN, 3}, {2, 4}, {-kInfinity, 5}, {1, 6}});
    sortKeys(keys);
    zr::vector<f32> order;
    for (const Key<f32>& key : keys)
        order.push_back(key.value);
    EXPECT_EQ(order, (zr::vector<f32>{5, 2, 6, 1, 4, 0, 3}));
}
