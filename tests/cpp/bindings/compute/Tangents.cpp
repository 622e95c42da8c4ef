#include <gtest/gtest.h>

#include "compute/Tangents.h"
#include "compute/VisibilityRanges.h"

namespace
{
using namespace pyzrm;
using Ranges = std::vector<std::pair<f64, f64>>;

TEST(FacadeMath, VisibilityRanges)
{
    const std::pair<KeyList<f32>, Ranges> cases[] = {
        {{{0.25f, 0.5f}}, {{-1.0, 1.0}}},
        {{{0.25f, 0.49f}}, {}},
        {{{0.0f, 0.49f}, {0.25f, 0.5f}, {0.5f, 0.49f}, {0.75f, 0.5f}}, {{0.25, 0.5}, {0.75, 1.0001}}},
        {{{0.0f, 1.0f}, {2.0f, 1.0f}}, {{0.0, 1.0001}}},
        {{{0.0f, 0.0f}, {1.5f, 1.0f}}, {}},
        {{{1.0f, 1.0f}, {0.5f, 0.0f}}, {{1.0, 0.5}}},
    };
    for (const auto& [keys, expected] : cases)
    {
        Ranges ranges;
        for (const auto& [start, end] : keysToRanges(keys))
            ranges.emplace_back(start, end);
        EXPECT_EQ(ranges, expected);
    }
}

TEST(FacadeMath, TangentSpace)
{
    // In the plane z = 0 with u along -y and v along x, then without any area in u, v.
    const f32 positions[] = {0, 0, 0, 9, 2, 0, 0, 9, 0, 2, 0, 9}, normals[] = {0, 0, 1, 0, 0, 1, 0, 0, 1};
    const std::pair<std::array<f32, 6>, std::array<f32, 6>> cases[] = {{{0, 0, 0, 1, -1, 0}, {0, -1, 0, 1, 0, 0}},
                                                                       {{5, 5, 5, 5, 5, 5}, {-1, 0, 0, 0, -1, 0}}};
    for (const auto& [uvs, expected] : cases)
    {
        const u32 indices[] = {0, 1, 2, 0, 1, 3};
        f32 tangents[9], binormals[9];
        computeTangents(3, 4, 1, positions, normals, uvs.data(), indices, tangents, binormals);
        for (std::size_t i = 0; i < 9; ++i)
            EXPECT_EQ((std::pair(tangents[i], binormals[i])), (std::pair(expected[i % 3], expected[3 + i % 3]))) << i;
        EXPECT_THROW(computeTangents(3, 4, 2, positions, normals, uvs.data(), indices, tangents, binormals),
                     std::out_of_range);
    }
}
} // namespace
