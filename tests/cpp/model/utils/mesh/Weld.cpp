#include <bit>
#include <cmath>
#include <cstring>
#include <limits>

#include <gtest/gtest.h>

#include "Random.h"
#include "utils/mesh/Weld.h"

using namespace test;

namespace
{
using namespace model;

constexpr f32 kTolerance = 1e-5f;
constexpr f32 kInfinity = std::numeric_limits<f32>::infinity();
constexpr f32 kNaN = std::numeric_limits<f32>::quiet_NaN();
constexpr f32 kDenormal = std::numeric_limits<f32>::denorm_min();

/// The rule of the weld as a comparison of all pairs.
bool isNear(const f32* a, const f32* b, std::size_t dimension, f32 tolerance)
{
    for (std::size_t i = 0; i < dimension; ++i)
    {
        if (i == 3 && std::memcmp(a + i, b + i, sizeof(f32)) != 0) return false;
        if (i == 3) continue;
        if (i < 3 && (std::isnan(a[i]) || std::isnan(b[i]))) return false;
        if (std::abs(a[i] - b[i]) > tolerance) return false;
    }
    return true;
}

/// The new numbers of all, and the points that are kept, closed up.
zr::vector<u32> weldedNumbers(zr::vector<f32>& points, std::size_t dimension, f32 tolerance,
                              const zr::vector<u8>& isUsed)
{
    zr::vector<u32> numbers(isUsed.size(), kDropped);
    zr::vector<f32> kept;
    for (u32 v = 0; v < isUsed.size(); ++v)
    {
        const f32* point = &points[v * dimension];
        const u32 count = static_cast<u32>(kept.size() / dimension);
        if (isUsed[v]) numbers[v] = count;
        for (u32 k = 0; k < count && isUsed[v]; ++k)
            if (isNear(&kept[k * dimension], point, dimension, tolerance)) numbers[v] = k;
        if (numbers[v] == count) kept.insert(kept.end(), point, point + dimension);
    }
    points = kept;
    return numbers;
}

/// Values that lie around the tolerance and around the cells of a grid, at sizes where it counts and where it doesn't.
f32 uglyValue(Random& random)
{
    const f32 step = kTolerance * random.pick({0.0f, 0.4f, 0.5f, 0.999f, 1.0f, 1.001f, 2.0f, 32.0f, 31.5f});
    switch (random.below(12))
    {
    case 0:
        return random.pick({0.0f, -0.0f, kDenormal, -kDenormal});
    case 1:
        return random.pick({kInfinity, -kInfinity, kNaN, 3e38f, -3e38f});
    case 2:
        return random.pick({1e10f, -1e10f, 1e20f, 16777216.0f}) + step;
    case 3:
        return random.pick({1.0f, -0.5f}) + step;
    default:
        return step * static_cast<f32>(random.below(3));
    }
}

zr::vector<f32> uglyPoints(Random& random, std::size_t dimension)
{
    const std::size_t count = 1 + random.below(random.pick({4u, 30u, 120u, 400u}));
    const unsigned crowd = random.pick({0u, 50u, 90u, 100u});
    const bool isTame = random.chance(50);
    zr::vector<f32> points;
    for (std::size_t i = 0; i < count * dimension; ++i)
    {
        const std::size_t k = i % dimension;
        const f32 bits = std::bit_cast<f32>(random.pick({1u, 0x80000000u, 0x7F800001u}));
        const f32 tame = static_cast<f32>(random.below(12)) * 0.8e-5f;
        const bool isCrowded = random.chance(k == 3 ? 90 : crowd);
        points.push_back(k < 3 && isCrowded ? 0.25f : k == 3 ? (isCrowded ? 0.0f : bits) : tame);
        if (!isTame && k != 3 && !(k < 3 && isCrowded)) points.back() = uglyValue(random);
    }
    return points;
}

/// Meshes that begin with so many vertices far from each other, by their places or their other floats, are welded in
/// another way. Behind them stand neighbours for some, one each.
zr::vector<f32> lonePoints(Random& random, std::size_t dimension)
{
    constexpr std::size_t kLone = 4096;
    const bool haveOnePlace = dimension > 4 && random.chance(50);
    zr::vector<f32> points;
    for (std::size_t i = 0; i < kLone * dimension; ++i)
        points.push_back(i % dimension == 3                  ? 0.0f
                         : haveOnePlace && i % dimension < 3 ? 0.25f
                                                             : 2.0f + static_cast<f32>(i) * 0.000713f);
    for (std::size_t i = 0; i < kLone / 8 * dimension; ++i)
        points.push_back(points[i] + (i % dimension == 3 ? 0.0f : kTolerance * random.between(-1, 1)));
    if (haveOnePlace && random.chance(30)) points[points.size() - dimension + 4] = kNaN;
    return points;
}

TEST(Weld, KeepsWhatTheFullComparisonKeeps)
{
    for (std::uint64_t seed = 1; seed <= 6000; ++seed)
    {
        Random random(seed);
        const std::size_t dimension = 1 + random.below(12);
        zr::vector<f32> points = uglyPoints(random, dimension);
        if (seed % 100 == 0)
        {
            const zr::vector<f32> lone = lonePoints(random, dimension);
            points.insert(points.begin(), lone.begin(), lone.end());
        }
        const f32 tolerance = random.chance(90) ? kTolerance : random.pick({0.0f, 0.5f, 1e-30f});
        zr::vector<u8> isUsed(points.size() / dimension, 1);
        for (unsigned i = random.pick({0u, 3u}); i-- > 0;)
            isUsed[random.below(isUsed.size())] = 0;
        Vertices vertices;
        vertices[0] = {points, static_cast<u32>(dimension)};
        if (random.chance(50)) vertices.pack();
        const zr::vector<u32> numbers = weld(vertices, isUsed, tolerance);
        ASSERT_EQ(weldedNumbers(points, dimension, tolerance, isUsed), numbers)
            << "seed " << seed << " dimension " << dimension;
        const PackedVertices& packed = *vertices.getPacked();
        ASSERT_EQ(points.size() * sizeof(f32), packed.size());
        ASSERT_EQ(std::memcmp(points.data(), packed.data(), packed.size()), 0) << "seed " << seed;
        bool isPlaced = true; // what is nowhere may stand twice
        for (std::size_t i = 0; i < points.size(); ++i)
            isPlaced = isPlaced && (i % dimension > 2 || !std::isnan(points[i]));
        ASSERT_EQ(packed.areDistinct, isPlaced) << "seed " << seed;
    }
}

/// The cells of these two places have one hash. That one of them becomes a crowd hides nothing that lies in the other.
TEST(Weld, FindsWhatSharesTheHashOfACrowd)
{
    constexpr u32 kMany = 40;
    Vertices vertices;
    vertices[0].stride = 4;
    vertices[1].stride = 3;
    const auto add = [&vertices](f32 x, f32 y, f32 normal)
    {
        vertices[0].data.insert(vertices[0].data.end(), {x, y, 0, 0});
        vertices[1].data.insert(vertices[1].data.end(), {normal, 0, 0});
    };
    add(4.28f, 4.74f, 0);
    for (u32 i = 0; i < kMany; ++i)
        add(3.86f, 2.42f, static_cast<f32>(i));
    add(4.28f, 4.74f, 0);
    EXPECT_EQ(weld(vertices, zr::vector<u8>(kMany + 2, 1), kTolerance).back(), 0u);
}

/// The second lies in reach of the first and of the third, which survive; the last is used by nobody.
TEST(WeldVertices, RenumbersAndDropsWhatIsUnused)
{
    Vertices vertices;
    vertices[0] = {{0, 0, 0, 0, 0.8e-5f, 0, 0, 0, 1.6e-5f, 0, 0, 0, 0, 0, 0, 1, 5, 5, 5, 0}, 4};
    vertices[20] = {{1, 1, 1, 1, 1}, 1};
    Indices indices;
    indices.indices = {0, 1, 2, 3, 2, 1};
    EXPECT_EQ(weldVertices(vertices, indices, kTolerance), 2u);
    EXPECT_EQ(indices.indices, (zr::vector<u32>{0, 0, 1, 2, 1, 0}));
    EXPECT_EQ(vertices[0].data, (zr::vector<f32>{0, 0, 0, 0, 1.6e-5f, 0, 0, 0, 0, 0, 0, 1}));
    EXPECT_EQ(vertices[20].data, (zr::vector<f32>{1, 1, 1}));
    vertices[20].data.pop_back();
    EXPECT_EQ(weldVertices(vertices, indices, kTolerance), 0u) << "left alone: the attributes don't go together";
}
} // namespace
