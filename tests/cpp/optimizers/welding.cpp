#include <limits>

#include <gtest/gtest.h>

#include "Describe.h"
#include "Random.h"
#include "ReferenceWeld.h"
#include "utils/mesh/Weld.h"

namespace test
{
namespace
{
constexpr f32 kTolerance = 1e-5f;
constexpr f32 kInfinity = std::numeric_limits<f32>::infinity();
constexpr f32 kNaN = std::numeric_limits<f32>::quiet_NaN();
constexpr f32 kDenormal = std::numeric_limits<f32>::denorm_min();

f32 fromBits(u32 bits)
{
    f32 value;
    std::memcpy(&value, &bits, sizeof(value));
    return value;
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
        return 1.0f + step;
    case 4:
        return -0.5f - step;
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
    for (std::size_t i = 0; i < count; ++i)
        for (std::size_t k = 0; k < dimension; ++k)
        {
            if (k < 3 && random.chance(crowd))
                points.push_back(0.25f);
            else if (k == 3)
                points.push_back(random.chance(90) ? 0.0f : fromBits(random.pick({1u, 0x80000000u, 0x7F800001u})));
            else if (isTame)
                points.push_back(static_cast<f32>(random.below(12)) * 0.8e-5f);
            else
                points.push_back(uglyValue(random));
        }
    return points;
}

TEST(FindWeldTargets, FindsThePairsOfTheFullComparison)
{
    for (std::uint64_t seed = 1; seed <= 6000; ++seed)
    {
        Random random(seed);
        const std::size_t dimension = 1 + random.below(12);
        const zr::vector<f32> points = uglyPoints(random, dimension);
        const f32 tolerance = random.chance(90) ? kTolerance : random.pick({0.0f, 0.5f, 1e-30f});
        ASSERT_EQ(reference::weldTargets(points, dimension, tolerance),
                  findWeldTargets({points.data(), points.size() / dimension, dimension}, tolerance))
            << "seed " << seed << " dimension " << dimension;
    }
}

std::string meshText(const Vertices& vertices, const Indices& indices)
{
    Describer describer;
    describer.mesh(vertices, indices);
    return describer.text();
}

TEST(WeldVertices, RenumbersAsTheFullComparisonDoes)
{
    for (std::uint64_t seed = 1; seed <= 3000; ++seed)
    {
        Random random(seed);
        Vertices vertices;
        vertices[0].stride = random.pick({1u, 2u, 3u, 4u});
        vertices[4].stride = random.below(3);
        vertices[22].stride = random.below(4);
        const std::size_t dimension = vertices.getStride();
        const zr::vector<f32> points = uglyPoints(random, dimension);
        const u32 count = static_cast<u32>(points.size() / dimension);
        vertices.deinterleave(points, count);
        Indices indices;
        for (unsigned i = random.below(2 * count + 4); i-- > 0;)
            indices.indices.push_back(random.below(count));

        Vertices expectedVertices = vertices;
        Indices expectedIndices = indices;
        const u32 expected = reference::weldVertices(expectedVertices, expectedIndices, kTolerance);
        ASSERT_EQ(expected, weldVertices(vertices, indices, kTolerance)) << "seed " << seed;
        ASSERT_EQ(meshText(expectedVertices, expectedIndices), meshText(vertices, indices)) << "seed " << seed;
        // What is kept agrees with nothing kept.
        ASSERT_EQ(0u, weldVertices(vertices, indices, kTolerance)) << "seed " << seed;
        ASSERT_EQ(meshText(expectedVertices, expectedIndices), meshText(vertices, indices)) << "seed " << seed;
    }
}

struct PairCase
{
    const char* name;
    zr::vector<f32> a;
    zr::vector<f32> b;
    bool doWeld;
};

const f32 kSignalling = fromBits(0x7F800001u);
const PairCase kPairs[] = {
    {"exactly the tolerance", {0, 0, 0, 0}, {kTolerance, 0, 0, 0}, true},
    {"above the tolerance", {0, 0, 0, 0}, {1.1e-5f, 0, 0, 0}, false},
    {"across a border of the grid", {-0.4e-5f, 0, 0, 0}, {0.4e-5f, 0, 0, 0}, true},
    {"signs of zero", {0, 0, 0, 0}, {-0.0f, 0, 0, 0}, true},
    {"signs of zero in the fourth float", {0, 0, 0, 0}, {0, 0, 0, -0.0f}, false},
    {"fourth float by its bits", {0, 0, 0, kSignalling}, {0, 0, 0, kSignalling}, true},
    {"close fourth floats", {0, 0, 0, 1.0f}, {0, 0, 0, 1.0000001f}, false},
    {"equal infinities", {kInfinity, 0, 0, 0}, {kInfinity, 0, 0, 0}, true},
    {"opposite infinities", {kInfinity, 0, 0, 0}, {-kInfinity, 0, 0, 0}, false},
    {"the largest float and infinity", {3.4e38f, 0, 0, 0}, {kInfinity, 0, 0, 0}, false},
    {"the same NaN in a position", {kNaN, 0, 0, 0}, {kNaN, 0, 0, 0}, false},
    {"a NaN behind the position", {0, 0, 0, 0, 5.0f}, {0, 0, 0, 0, kNaN}, true},
    {"denormals", {kDenormal, 0, 0, 0}, {-kDenormal, 0, 0, 0}, true},
    {"huge neighbours", {1e20f, 0, 0, 0}, {std::nextafter(1e20f, 2e20f), 0, 0, 0}, false},
    {"three floats", {1, 2, 3}, {1, 2, 3}, true},
    {"one float", {1}, {1}, true},
};

TEST(FindWeldTargets, TellsPairsApart)
{
    for (const PairCase& c : kPairs)
    {
        zr::vector<f32> points = c.a;
        points.resize(2 * c.a.size());
        std::memcpy(&points[c.a.size()], c.b.data(), c.b.size() * sizeof(f32));
        const zr::vector<u32> targets = findWeldTargets({points.data(), 2, c.a.size()}, kTolerance);
        EXPECT_EQ(targets[0], 0u) << c.name;
        EXPECT_EQ(targets[1], c.doWeld ? 0u : 1u) << c.name;
    }
}

Vertices line(std::initializer_list<f32> xs, u32 stride)
{
    Vertices vertices;
    vertices[0].stride = stride;
    for (const f32 x : xs)
    {
        vertices[0].data.push_back(x);
        vertices[0].data.resize(vertices[0].data.size() + stride - 1);
    }
    return vertices;
}

TEST(WeldVertices, KeepsTheFirstOfAChainAndWhatIsOutOfItsReach)
{
    Vertices vertices = line({0.0f, 0.8e-5f, 1.6e-5f}, 4);
    Indices indices;
    indices.indices = {0, 1, 2};
    EXPECT_EQ(weldVertices(vertices, indices, kTolerance), 1u);
    EXPECT_EQ(indices.indices, (zr::vector<u32>{0, 0, 1}));
    EXPECT_EQ(vertices.getAttribute(0).data, (zr::vector<f32>{0, 0, 0, 0, 1.6e-5f, 0, 0, 0}));
}

TEST(WeldVertices, LetsTheLaterOfTwoKeptVerticesTake)
{
    Vertices vertices = line({0.0f, 1.6e-5f, 0.8e-5f}, 3);
    Indices indices;
    indices.indices = {0, 1, 2};
    EXPECT_EQ(weldVertices(vertices, indices, kTolerance), 1u);
    EXPECT_EQ(indices.indices, (zr::vector<u32>{0, 1, 1}));
}

TEST(WeldVertices, CountsUnusedVerticesAndRefusesBadIndices)
{
    Vertices vertices = line({0.0f, 5.0f, 0.0f}, 3);
    Indices indices;
    indices.indices = {0, 2, 0};
    EXPECT_EQ(weldVertices(vertices, indices, kTolerance), 2u);
    EXPECT_EQ(indices.indices, (zr::vector<u32>{0, 0, 0}));
    indices.indices = {0, 1, 0};
    EXPECT_THROW(weldVertices(vertices, indices, kTolerance), std::out_of_range);
}

TEST(WeldVertices, LeavesMeshesThatDontGoTogether)
{
    Vertices vertices = line({0.0f, 0.0f, 0.0f}, 3);
    vertices[4].stride = 2;
    vertices[4].data = {1, 2, 3};
    Indices indices;
    indices.indices = {0, 0, 2};
    const std::string before = meshText(vertices, indices);
    EXPECT_EQ(weldVertices(vertices, indices, kTolerance), 0u);
    EXPECT_EQ(before, meshText(vertices, indices));
}
} // namespace
} // namespace test
