#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

#include <gtest/gtest.h>

#include "Random.h"
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

bool isWithin(f32 a, f32 b, f64 tolerance)
{
    return tolerance >= std::abs(static_cast<f64>(a) - static_cast<f64>(b));
}
bool isWithin(const vec4d& a, const vec4d& b, f64 tolerance)
{
    return tolerance >= std::abs(a.x - b.x) && tolerance >= std::abs(a.y - b.y) && tolerance >= std::abs(a.z - b.z) &&
           tolerance >= std::abs(a.w - b.w);
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
        if (!isWithin(evaluateKeys(result, key->time), key->value, tolerance))
            result.insert(std::find_if(result.begin() + 1, result.end(),
                                       [&](const Key<V>& entry) { return !isBefore(entry.time, key->time); }),
                          *key);
    const Key<V> last = input.back();
    if (!isWithin(evaluateKeys(result, last.time), last.value, tolerance)) result.push_back(last);
    return result;
}

f64 randomNumber(test::Random& random)
{
    constexpr f64 kSpecial[] = {kNaN, kInfinity, -kInfinity, -0.0, 1e300};
    if (random.below(40) == 0) return kSpecial[random.below(5)];
    return random.below(3) ? random.below(3) : random.below(100) * 0.01;
}

template <class V, class Make>
void compareWithStepByStep(Make make)
{
    test::Random random(20240817);
    for (int round = 0; round < 6000; ++round)
    {
        Keys<V> input;
        for (u32 i = random.below(14); i > 0; --i)
            input.push_back({random.below(2) ? random.below(8) : randomNumber(random), make(random)});
        sortKeys(input);
        const Keys<V> expected = simplifiedStepByStep(input, kChannelTolerance);
        simplifyKeys(input, kChannelTolerance);
        ASSERT_EQ(input.size(), expected.size()) << "round " << round;
        for (std::size_t i = 0; i < input.size(); ++i)
            ASSERT_TRUE(std::memcmp(&input[i].time, &expected[i].time, sizeof(f64)) == 0 &&
                        std::memcmp(&input[i].value, &expected[i].value, sizeof(V)) == 0);
    }
}
} // namespace

TEST(Keys, SimplifyEqualsTheStepByStepForm)
{
    compareWithStepByStep<f32>([](test::Random& random) { return static_cast<f32>(randomNumber(random)); });
    compareWithStepByStep<vec4d>([](test::Random& random)
                                 { return vec4d{randomNumber(random), 0.0, randomNumber(random), 1.0}; });
}

TEST(Keys, Evaluate)
{
    EXPECT_EQ(evaluateKeys(Keys<vec4d>{}, 1.0).w, 1.0);
    const Keys<f32> keys{{1, 10}, {3, 20}, {3, 40}, {4, 50}};
    const std::pair<f64, f32> cases[] = {{-kInfinity, 10}, {1, 10}, {2, 15}, {3, 20}, {3.5, 45}, {9, 50}, {kNaN, 50}};
    for (const auto& [time, value] : cases)
        EXPECT_EQ(evaluateKeys(keys, time), value) << time;

    // A quarter turn, given by the negated quaternion, goes the shorter way round; nearly the same rotations are mixed
    // without a division by a vanishing sine.
    const f64 half = std::sqrt(0.5);
    const vec4d middle = evaluateKeys(Keys<vec4d>{{0.0, {0, 0, 0, 1}}, {1.0, {0, 0, -half, -half}}}, 0.5);
    EXPECT_NEAR(middle.z / middle.w, std::sqrt(2.0) - 1.0, 1e-15);
    EXPECT_EQ(evaluateKeys(Keys<vec4d>{{0.0, {0, 0, 0, 1}}, {1.0, {0, 0, 1e-6, 1}}}, 0.5).z, 0.5e-6);
}
