#include <bit>
#include <cstring>
#include <limits>

#include "Builders.h"
#include "Random.h"
#include "io/MemBinaryFileW.h"
#include "utils/mesh/DamageSplit.h"

using namespace model;

namespace
{
TEST(Vertices, PackedVertexByVertexAndBack)
{
    // Counts around the block size of the loops, widths with and without a loop of their own, and any bits at all.
    for (const u32 count : {0u, 1u, 255u, 256u, 257u, 1000u})
        for (const u32 width : {1u, 2u, 3u, 4u, 5u, 9u})
        {
            test::Random random(count * 16 + width);
            Vertices vertices;
            vertices[kNormal1].stride = width;
            vertices[kPosition0].stride = 4;
            vertices[kColor0]; // without floats it gives none
            Vertices back = vertices;
            for (auto& [semantic, attribute] : vertices.getAttributes())
                for (u32 i = 0; i < count * attribute.stride; ++i)
                    attribute.data.push_back(std::bit_cast<f32>(static_cast<u32>(random.next())));
            const zr::vector<f32> packed = vertices.interleave();
            back.deinterleave(packed, count);
            for (const auto& [semantic, attribute] : vertices.getAttributes())
                for (u32 i = 0; i < count * attribute.stride; ++i)
                {
                    const u32 place = i / attribute.stride * (4 + width) + (semantic == kNormal1 ? 4 : 0);
                    const u32 bits = std::bit_cast<u32>(attribute.data[i]);
                    ASSERT_EQ(std::bit_cast<u32>(packed[place + i % attribute.stride]), bits);
                    ASSERT_EQ(std::bit_cast<u32>(back[semantic].data[i]), bits);
                }
        }
}

TEST(Vertices, UnevenDataAreRefusedWhereverTheyWouldBeRead)
{
    const std::pair<Attribute, Attribute> kUneven[] = {
        {attribute(3, {1, 2, 3, 4}), attribute(3, {0, 0, 1})},       // a broken vertex
        {attribute(3, {1, 2, 3}), attribute(0, {1})},                // data without a stride
        {attribute(3, {1, 2, 3, 4, 5, 6}), attribute(3, {0, 0, 1})}, // fewer normals
        {attribute(3, {1, 2, 3}), attribute(3, {})},                 // none
        {attribute(0, {}), attribute(3, {0, 0, 1})}};                // a lowest attribute without floats
    for (const auto& [positions, normals] : kUneven)
    {
        Vertices vertices;
        vertices[kPosition0] = positions;
        vertices[kNormal0] = normals;
        MemBinaryFileW file;
        EXPECT_EQ(raised([&] { vertices.write(file); }), "Vertex data is invalid.");
        EXPECT_EQ(raised([&] { vertices.interleave(); }), "Vertex data is invalid.");
        EXPECT_EQ(file.tell(), 0u);
    }
    Vertices small = points({{1, 2, 3}});
    EXPECT_EQ(raised([&] { small.deinterleave(zr::vector<f32>(7, 0.0f), 2); }), "Vertex data is invalid.");
    EXPECT_EQ(small[kPosition0].data.size(), 4u);
    EXPECT_EQ(raised([&] { small.getAttribute(99); }), "Vertices don't have UnknownSemantic attribute.");
}

// Where a conversion by the language means nothing, processors differ.
TEST(Vertices, FloatsAsIndicesOfEntriesAndAsArguments)
{
    constexpr f32 kInfinity = std::numeric_limits<f32>::infinity();
    constexpr f32 kValues[] = {2.4f,  2.5f,      0.49999997f,   -1.4f,
                               -1.5f, 8388609,   4294967040.0f, -3e9f,
                               1e30f, kInfinity, -kInfinity,    std::numeric_limits<f32>::quiet_NaN()};
    constexpr u32 kEntries[] = {2,           3,        0,        0,        kNoEntry, 8388609,
                                4294967040u, kNoEntry, kNoEntry, kNoEntry, kNoEntry, kNoEntry};
    constexpr u32 kArguments[] = {2, 2, 0, ~0u, ~0u, 8388609, 4294967040u, 0x80000000u, ~0u, ~0u, 0x80000000u, 0};
    for (std::size_t i = 0; i < std::size(kValues); ++i)
        EXPECT_TRUE(entryIndexOf(kValues[i]) == kEntries[i] && argumentFromFloat(kValues[i]) == kArguments[i]) << i;
}

TEST(Vertices, ManySelectorsAtOnceAreTheSameAsOneByOne)
{
    for (u32 seed = 0; seed < 60; ++seed)
    {
        test::Random random(seed);
        const auto real = [&random] { return static_cast<f32>(random.below(2001)) / 1000 - 1; };
        const u32 entries = 1 + random.below(8);
        // With three floats every selector selects all, so the order of the matrices counts.
        Vertices together;
        together[kPosition0].stride = seed % 5 == 0 ? 3 : 4;
        together[kNormal0].stride = 3;
        for (auto& [semantic, attribute] : together.getAttributes())
            for (u32 i = 0; i < 50 * attribute.stride; ++i)
                attribute.data.push_back(i % 4 < 3 ? real() : static_cast<f32>(random.below(entries + 1)) - 1);
        Vertices oneByOne = together;
        std::vector<matrixd> matrices(random.below(12));
        zr::vector<SelectorMatrix> list;
        for (matrixd& matrix : matrices)
        {
            for (const std::size_t i : {0, 1, 2, 4, 5, 6, 8, 9, 10, 12})
                matrix.m[i] = real();
            list.push_back({random.below(entries + 2), matrix.m}); // selectors repeat
        }
        together.applyMatrices(list);
        for (const SelectorMatrix& entry : list)
            oneByOne.applyMatrix(entry.matrix, entry.selector);
        EXPECT_EQ(together.interleave(), oneByOne.interleave()) << "seed " << seed;
        const zr::vector<Box> boxes = together.computeBoxes(entries);
        for (u32 i = 0; i < entries; ++i)
        {
            const auto& [data, stride] = together.getAttribute(kPosition0);
            Box box;
            for (std::size_t v = 0; v < data.size(); v += stride)
                if (stride == 3 || entryIndexOf(data[v + 3]) == i) box.extend(data[v], data[v + 1], data[v + 2]);
            for (const Box& computed : {boxes[i], together.computeBox(i)})
                EXPECT_TRUE(box.min == computed.min && box.max == computed.max) << "seed " << seed;
        }
    }
}

/// Bit for bit, as a file takes them, to a place that is aligned for nothing.
std::string bytesOf(const Vertices& vertices)
{
    std::string bytes(1 + std::size_t{vertices.getVertexCount()} * vertices.getStride() * sizeof(f32), ' ');
    vertices.interleaveInto(bytes.data() + 1);
    return bytes;
}

// The same random steps on shared arrays, attributes and packed vertices.
TEST(Vertices, SharedArraysAreTheSameAsAttributes)
{
    for (u32 seed = 0; seed < 300; ++seed)
    {
        test::Random random(seed);
        const u32 count = random.pick({0, 1, 3, 255, 256, 257, 700});
        const auto floats = [&](u32 width)
        {
            zr::vector<f32> values(count * width);
            for (f32& value : values)
                value = random.chance(20) ? 0.0f : random.between(-2, 2);
            return values;
        };
        Vertices shared;
        Vertices plain;
        const auto both = [&](i32 semantic, u32 stride, u32 width, const zr::vector<f32>& values)
        {
            shared.share(semantic, stride, width, values);
            plain[semantic].stride = stride;
            for (std::size_t i = 0; i < values.size(); i += width)
                for (std::size_t k = 0; k < stride; ++k)
                    plain[semantic].data.push_back(k < width && i + k < values.size() ? values[i + k] : 0.0f);
        };
        both(kPosition0, 4, 3, floats(3));
        zr::vector<f32> normals = floats(3);
        const bool isUneven = random.chance(5);
        if (isUneven) normals.resize(normals.size() + 3);
        both(kNormal0, 3, 3, normals);
        both(kTexCoord0, 2, 2, floats(2));
        if (random.chance(50))
        {
            shared.addZeros(kTangent0, 3);
            plain[kTangent0] = {zr::vector<f32>(3 * count), 3};
        }
        if (random.chance(20))
        {
            const zr::vector<f32> fourth = floats(1);
            shared.shareOne(kPosition0, 3, fourth);
            for (u32 i = 0; i < count; ++i)
                plain[kPosition0].data[4 * i + 3] = fourth[i];
        }
        EXPECT_EQ(shared.isConsistent(), plain.isConsistent());
        if (isUneven) continue;
        if (shared.isOneSource() && random.chance(40))
        {
            const Vertices one = shared;
            const Vertices plainOne = plain;
            shared = one.withoutData();
            plain = one.withoutData();
            for (u32 part = 1 + random.below(3); part > 0; --part)
            {
                const u32 selector = random.below(3);
                shared.appendSource(one, selector);
                const u32 first = plain.getVertexCount();
                plain.append(plainOne);
                renumberVertices(plain, 0, selector, first, plain.getVertexCount());
            }
        }

        for (u32 step = random.below(9); step > 0; --step)
        {
            matrixd matrix;
            for (const std::size_t i : {0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14})
                matrix.m[i] = random.between(-1, 1);
            const u32 selector = random.below(5) / 4;
            const i32 erased = random.chance(10) ? kTexCoord0 : kColor0; // the latter isn't there
            EXPECT_EQ(shared.erase(erased), plain.erase(erased));
            for (Vertices* vertices : {&shared, &plain})
                vertices->applyMatrix(matrix.m, selector);
            const zr::vector<Box> ofShared = shared.computeBoxes(2);
            const zr::vector<Box> ofPlain = plain.computeBoxes(2);
            const Box box = shared.computeBox(0);
            ASSERT_TRUE(box.min == ofPlain[0].min && box.max == ofPlain[0].max) << seed;
            ASSERT_TRUE(ofShared[1].min == ofPlain[1].min && ofShared[1].max == ofPlain[1].max) << seed;
            ASSERT_EQ(bytesOf(shared), bytesOf(plain)) << seed;
        }
        for (const auto& [semantic, attribute] : plain.getAttributes())
        {
            const std::span<const f32> found = shared.floatsOf(semantic);
            ASSERT_TRUE(std::equal(found.begin(), found.end(), attribute.data.begin(), attribute.data.end())) << seed;
        }
        EXPECT_TRUE(shared.floatsOf(kColor0).empty());
        const Vertices copy = shared;
        if (random.chance(50)) shared.pack();
        for (const Vertices* vertices : std::initializer_list<const Vertices*>{&shared, &copy})
            EXPECT_EQ(vertices->getAttribute(kPosition0).data, plain.getAttribute(kPosition0).data) << seed;
        EXPECT_EQ(bytesOf(shared), bytesOf(plain)) << seed;
    }
}

TEST(Indices, WidthOfTheBlockAndPrimitives)
{
    const std::pair<u32, u32> kLargest[] = {{255, 1}, {256, 2}, {65535, 2}, {65536, 4}, {0xFFFFFFFF, 4}};
    for (const auto& [largest, width] : kLargest)
    {
        MemBinaryFileW file;
        triangles({largest, 1}).write(file);
        const u8* const bytes = file.getBytes().data();
        ASSERT_EQ(file.tell(), 9 + 2 * width);
        EXPECT_TRUE(bytes[0] == width / 2 && bytes[9 + width] == 1 && std::memcmp(bytes + 9, &largest, width) == 0);
    }
    // The primitives of 0 to 3 and 7 indices, for the types 0 to 8.
    constexpr u32 kCounts[9][5] = {{0, 1, 2, 3, 7}, {0, 0, 1, 1, 3}, {0, 0, 1, 2, 6}, {}, {},
                                   {0, 0, 0, 1, 2}, {0, 0, 0, 1, 5}, {0, 0, 0, 1, 5}, {}};
    for (u32 type = 0; type < 9; ++type)
        for (u32 i = 0; i < 5; ++i)
        {
            Indices indices;
            indices.indices.resize(i == 4 ? 7 : i);
            indices.primitiveType = type;
            EXPECT_EQ(indices.getPrimitiveCount(), kCounts[type][i]) << i << " of type " << type;
        }
}
} // namespace
