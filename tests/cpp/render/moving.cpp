#include <cmath>
#include <cstring>
#include <limits>

#include "Builders.h"

namespace model
{
namespace
{
constexpr f32 kNaN = std::numeric_limits<f32>::quiet_NaN();
constexpr f32 kInfinity = std::numeric_limits<f32>::infinity();

matrixd scaling(f64 x, f64 y, f64 z)
{
    matrixd result;
    result.m[0] = x;
    result.m[5] = y;
    result.m[10] = z;
    result.m[12] = 10;
    return result;
}

/// One vertex of entry 0 with this normal.
Vertices vertexWithNormal(f32 x, f32 y, f32 z)
{
    Vertices vertices = points({{1, 2, 3}});
    vertices[kNormal0] = attribute(3, {x, y, z});
    return vertices;
}

void expectNear(const Attribute& attribute, const std::vector<f32>& expected)
{
    ASSERT_EQ(attribute.data.size(), expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i)
        EXPECT_NEAR(attribute.data[i], expected[i], 1e-6) << i;
}

TEST(Moving, FloatsAsIndices)
{
    const std::pair<f32, u32> kRows[] = {
        {0, 0},
        {2.4f, 2},
        {2.5f, 3},
        {0.49999997f, 0},
        {-0.4f, 0},
        {-1.4f, 0},
        {-1.5f, kNoEntry},
        {-7, kNoEntry},
        {kNaN, kNoEntry},
        {kInfinity, kNoEntry},
        {1e30f, kNoEntry},
        {-1e30f, kNoEntry},
        {8388609, 8388609},
        {4294967040.0f, 4294967040u},
    };
    for (const auto& [value, index] : kRows)
        EXPECT_EQ(entryIndexOf(value), index) << value;
}

TEST(Moving, NormalsOfSpecialMatrices)
{
    const f32 half = std::sqrt(0.5f);
    struct Row
    {
        const char* what;
        matrixd matrix;
        std::array<f32, 3> normal;
        std::vector<f32> position;
        std::vector<f32> moved;
    };
    matrixd shear;
    shear.m[4] = 1; // x grows with y
    const Row kRows[] = {
        {"mirror", scaling(-1, 1, 1), {half, half, 0}, {9, 2, 3, 0}, {-half, half, 0}},
        {"uneven scale keeps directions", scaling(2, 7, 1), {half, half, 0}, {12, 14, 3, 0}, {half, half, 0}},
        {"flat matrix keeps directions", scaling(1, 1, 0), {0, half, half}, {11, 2, 0, 0}, {0, half, half}},
        {"zero normal stays", scaling(3, 3, 3), {0, 0, 0}, {13, 6, 9, 0}, {0, 0, 0}},
        {"long normals come to length 1", scaling(1, 1, 1), {0, 8, 0}, {11, 2, 3, 0}, {0, 1, 0}},
    };
    for (const Row& row : kRows)
    {
        SCOPED_TRACE(row.what);
        Vertices vertices = vertexWithNormal(row.normal[0], row.normal[1], row.normal[2]);
        vertices.applyMatrix(row.matrix.m, 0);
        expectNear(vertices[kPosition0], row.position);
        expectNear(vertices[kNormal0], row.moved);
    }

    // x' = x + y: the first column of the 3 by 3 is (1, 1, 0), of length sqrt(2). The inverse of
    // ((s, 0), (s, 1)) with s = 1 / sqrt(2) is ((1/s, 0), (-1, 1)), and its transpose takes (0, 1) to (0, 1) and
    // (1, 0) to (1/s, -1).
    Vertices sheared = vertexWithNormal(1, 0, 0);
    sheared.applyMatrix(shear.m, 0);
    const f32 length = std::sqrt(3.0f);
    expectNear(sheared[kNormal0], {std::sqrt(2.0f) / length, -1 / length, 0});
}

TEST(Moving, OnlySelectedVerticesMoveAndTheFourthFloatStays)
{
    Vertices vertices;
    vertices[kPosition0] = attribute(4, {0, 0, 0, 0.3f, 0, 0, 0, 1, 0, 0, 0, kNaN, 0, 0, 0, -9});
    vertices[kPosition1] = attribute(3, {0, 0, 0, 0, 0, 0}); // shorter: what it lacks is left out
    vertices.applyMatrix(scaling(1, 1, 1).m, 0);
    const zr::vector<f32>& p = vertices[kPosition0].data;
    EXPECT_EQ(p[0], 10);
    EXPECT_EQ(p[3], 0.3f);
    EXPECT_EQ(p[4], 0);
    EXPECT_EQ(p[8], 0);
    EXPECT_EQ(p[12], 0);
    EXPECT_EQ(listOf(vertices[kPosition1].data), (std::vector<f32>{10, 0, 0, 0, 0, 0}));

    // The number for "no index" selects nothing.
    vertices.applyMatrix(scaling(1, 1, 1).m, kNoEntry);
    EXPECT_EQ(p[8], 0);
    EXPECT_FALSE(vertices.computeBox(kNoEntry).isSet());
}

TEST(Moving, WidthsOfPositions)
{
    for (const u32 width : {2u, 3u, 5u})
    {
        Vertices vertices;
        vertices[kPosition0].stride = width;
        vertices[kPosition0].data.assign(width * 2, 0.0f);
        vertices.applyMatrix(scaling(1, 1, 1).m, 7);
        EXPECT_EQ(vertices[kPosition0].data[width], width == 3 ? 10.0f : 0.0f);
        EXPECT_EQ(vertices.computeBox(7).isSet(), width == 3);
        EXPECT_EQ(vertices.computeBoxes(3)[2].isSet(), width == 3);
    }
    Vertices none;
    none.applyMatrix(scaling(1, 1, 1).m, 0);
    EXPECT_TRUE(none.empty());
}

/// A mesh whose vertices belong to random entries, some of them to none.
Vertices randomMesh(Random& random, u32 entries)
{
    Vertices vertices;
    for (const auto& [semantic, stride] :
         {std::pair(kPosition0, 4u), std::pair(kNormal0, 3u), std::pair(kTangent1, 4u)})
    {
        vertices[semantic].stride = stride;
        for (u32 i = 0; i < 50 * stride; ++i)
            vertices[semantic].data.push_back(random.real());
    }
    for (u32 i = 0; i < 50; ++i)
        vertices[kPosition0].data[4 * i + 3] = static_cast<f32>(random.below(entries + 1)) - 1.0f;
    return vertices;
}

TEST(Moving, ManySelectorsAtOnceAreTheSameAsOneByOne)
{
    for (u64 seed = 0; seed < 50; ++seed)
    {
        Random random(seed);
        const u32 entries = 1 + random.below(8);
        Vertices together = randomMesh(random, entries);
        if (seed % 5 == 0)
        {
            // All vertices are selected by every selector then, so the order of the matrices counts.
            together[kPosition0].stride = 3;
            together[kPosition0].data.resize(150);
        }
        Vertices oneByOne = together;

        std::vector<matrixd> matrices(random.below(12));
        zr::vector<SelectorMatrix> list;
        for (matrixd& matrix : matrices)
        {
            for (const std::size_t i : {0, 1, 2, 4, 5, 6, 8, 9, 10, 12})
                matrix.m[i] = static_cast<f64>(random.real());
            list.push_back({random.below(entries + 2), matrix.m}); // selectors repeat
        }
        together.applyMatrices(list);
        for (const SelectorMatrix& entry : list)
            oneByOne.applyMatrix(entry.matrix, entry.selector);
        EXPECT_EQ(together.interleave(), oneByOne.interleave()) << "seed " << seed;

        const zr::vector<Box> boxes = together.computeBoxes(entries);
        ASSERT_EQ(boxes.size(), entries);
        for (u32 i = 0; i < entries; ++i)
        {
            const Box box = together.computeBox(i);
            EXPECT_EQ(box.min, boxes[i].min) << "seed " << seed;
            EXPECT_EQ(box.max, boxes[i].max) << "seed " << seed;
        }
    }
}

TEST(Moving, BoxOfOneEntry)
{
    Vertices vertices;
    vertices[kPosition0] = attribute(4, {1, 5, -3, 0, 2, kNaN, 4, 0, 100, 100, 100, 1});
    const Box box = vertices.computeBox(0);
    EXPECT_EQ(box.min, vec3f(1, 5, -3));
    EXPECT_EQ(box.max, vec3f(2, 5, 4));
    EXPECT_FALSE(vertices.computeBox(2).isSet());
}
} // namespace
} // namespace model
