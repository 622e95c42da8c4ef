#include <cstring>
#include <limits>

#include "Builders.h"
#include "io/MemBinaryFileW.h"

namespace model
{
namespace
{
std::vector<u8> bytesOf(const Vertices& vertices)
{
    MemBinaryFileW file;
    vertices.write(file);
    const ByteBuffer& bytes = file.getBytes();
    return {bytes.data(), bytes.data() + bytes.size()};
}

u32 numberAt(const std::vector<u8>& bytes, std::size_t at)
{
    return bytes[at] | bytes[at + 1] << 8u | bytes[at + 2] << 16u | static_cast<u32>(bytes[at + 3]) << 24u;
}

TEST(Semantics, NamesOfTheTable)
{
    const std::pair<i32, const char*> kNames[] = {
        {0, "POSITION0"}, {3, "BINORMAL0"},  {4, "TEXCOORD0"}, {19, "TEXCOORD15"},      {20, "COLOR0"},
        {21, "COLOR1"},   {22, "POSITION1"}, {26, "COLOR2"},   {27, "UnknownSemantic"}, {-1, "UnknownSemantic"}};
    for (const auto& [semantic, name] : kNames)
        EXPECT_STREQ(getSemanticName(semantic), name);
}

TEST(Vertices, EmptyObject)
{
    const Vertices vertices;
    EXPECT_EQ(vertices.getVertexCount(), 0u);
    EXPECT_EQ(vertices.getStride(), 0u);
    EXPECT_TRUE(vertices.isValid());
    EXPECT_TRUE(vertices.matchesFormat(VertexFormat()));
    EXPECT_EQ(bytesOf(vertices), std::vector<u8>(8, 0));
}

TEST(Vertices, MissingAttributeIsNamed)
{
    Vertices vertices;
    const Vertices& constant = vertices;
    EXPECT_EQ(raised([&] { vertices.getAttribute(kTexCoord0 + 3); }), "Vertices don't have TEXCOORD3 attribute.");
    EXPECT_EQ(raised([&] { constant.getAttribute(99); }), "Vertices don't have UnknownSemantic attribute.");
    EXPECT_TRUE(vertices.empty());
}

TEST(Vertices, FormatGoesBothWays)
{
    VertexFormat format;
    format[kPosition0] = 4;
    format[kColor2] = 1;
    Vertices vertices;
    vertices[kNormal0].stride = 3;
    vertices.setFormat(format);
    EXPECT_EQ(vertices.findAttribute(kNormal0), nullptr);
    EXPECT_TRUE(vertices.matchesFormat(format));
    VertexFormat back;
    back.fill(9);
    vertices.getFormat(back);
    EXPECT_EQ(back, format);
    EXPECT_FALSE(vertices.matchesFormat(VertexFormat()));

    for (const i32 semantic : {27, -1})
    {
        Vertices odd;
        odd[semantic].stride = 1;
        EXPECT_THROW(odd.getFormat(back), std::out_of_range) << semantic;
    }
}

TEST(Vertices, UnevenDataAreRefusedWhereverTheyWouldBeRead)
{
    struct Row
    {
        const char* what;
        Attribute positions;
        Attribute normals;
        bool isValid;
    };
    const Row kRows[] = {
        {"a broken vertex", attribute(3, {1, 2, 3, 4}), attribute(3, {0, 0, 1}), false},
        {"data without a stride", attribute(3, {1, 2, 3}), attribute(0, {1}), false},
        {"fewer normals", attribute(3, {1, 2, 3, 4, 5, 6}), attribute(3, {0, 0, 1}), true},
        {"more normals", attribute(3, {1, 2, 3}), attribute(3, {0, 0, 1, 0, 0, 1}), true},
        {"no normals", attribute(3, {1, 2, 3}), attribute(3, {}), true},
        {"a lowest attribute without floats", attribute(0, {}), attribute(3, {0, 0, 1}), true},
    };
    for (const Row& row : kRows)
    {
        SCOPED_TRACE(row.what);
        Vertices vertices;
        vertices[kPosition0] = row.positions;
        vertices[kNormal0] = row.normals;
        EXPECT_EQ(vertices.isValid(), row.isValid);
        EXPECT_EQ(raised([&] { bytesOf(vertices); }), "Vertex data is invalid.");
        EXPECT_EQ(raised([&] { vertices.interleave(); }), "Vertex data is invalid.");
        EXPECT_EQ(raised([&] { extractVertices(triangles({0}), vertices); }), "Vertex data is invalid.");
    }
}

TEST(Vertices, PackedMeshIsVertexByVertexInSemanticOrder)
{
    Vertices vertices;
    vertices[kTexCoord0] = attribute(2, {7, 8, 9, 10});
    vertices[kPosition0] = attribute(3, {1, 2, 3, 4, 5, 6});
    vertices[kColor0]; // without floats it gives none
    EXPECT_EQ(listOf(vertices.interleave()), (std::vector<f32>{1, 2, 3, 7, 8, 4, 5, 6, 9, 10}));

    const std::vector<u8> bytes = bytesOf(vertices);
    ASSERT_EQ(bytes.size(), 8u + 10 * 4);
    EXPECT_EQ(numberAt(bytes, 0), 2u);
    EXPECT_EQ(numberAt(bytes, 4), 5u);
    EXPECT_EQ(numberAt(bytes, 8 + 3 * 4), 0x40E00000u); // 7.0f
}

TEST(Vertices, InterleavingBackAndForthKeepsEveryBit)
{
    // Counts around the block size of the loops, widths with and without a loop of their own.
    for (const u32 count : {0u, 1u, 255u, 256u, 257u, 1000u})
        for (const u32 width : {1u, 2u, 3u, 4u, 5u, 9u})
        {
            Random random(count * 16 + width);
            Vertices vertices;
            for (const auto& [semantic, stride] : {std::pair(kPosition0, 4u), std::pair(kNormal1, width)})
            {
                vertices[semantic].stride = stride;
                for (u32 i = 0; i < count * stride; ++i)
                {
                    const u32 bits = random.below(0x7FFFFFFF) * 2 + random.below(2); // NaNs too
                    f32 value;
                    std::memcpy(&value, &bits, 4);
                    vertices[semantic].data.push_back(value);
                }
            }
            const zr::vector<f32> packed = vertices.interleave();
            ASSERT_EQ(packed.size(), count * (4 + width));
            Vertices back;
            back[kPosition0].stride = 4;
            back[kNormal1].stride = width;
            back.deinterleave(packed, count);
            for (const i32 semantic : {kPosition0, kNormal1})
            {
                ASSERT_EQ(back[semantic].data.size(), vertices[semantic].data.size());
                if (count == 0) continue;
                EXPECT_EQ(std::memcmp(back[semantic].data.data(), vertices[semantic].data.data(),
                                      back[semantic].data.size() * 4),
                          0);
            }
        }
}

TEST(Vertices, PackedDataThatAreTooShortChangeNothing)
{
    Vertices vertices;
    vertices[kPosition0] = attribute(3, {1, 2, 3});
    const zr::vector<f32> packed(5, 0.0f);
    EXPECT_EQ(raised([&] { vertices.deinterleave(packed, 2); }), "Vertex data is invalid.");
    EXPECT_EQ(listOf(vertices[kPosition0].data), (std::vector<f32>{1, 2, 3}));
}

TEST(Vertices, AppendTakesOnlyTheSameAttributes)
{
    Vertices base;
    base[kPosition0] = attribute(3, {1, 2, 3});
    base[kColor0] = attribute(1, {5});

    const auto refused = [&](const Vertices& other)
    {
        Vertices target = base;
        const bool result = target.append(other);
        return !result && target.getAttributes().size() == 2 && target[kPosition0].data == base[kPosition0].data &&
               target[kColor0].data == base[kColor0].data;
    };
    Vertices extra = base;
    extra[kColor1] = attribute(1, {5});
    Vertices wider = base;
    wider[kColor0] = attribute(2, {5, 6});
    Vertices other;
    other[kPosition0] = attribute(3, {1, 2, 3});
    other[kColor1] = attribute(1, {5});
    EXPECT_TRUE(refused(extra));
    EXPECT_TRUE(refused(wider));
    EXPECT_TRUE(refused(other));
    EXPECT_TRUE(refused(Vertices()));

    EXPECT_TRUE(base.append(base));
    EXPECT_EQ(listOf(base.interleave()), (std::vector<f32>{1, 2, 3, 5, 1, 2, 3, 5}));
}

TEST(Indices, BlockHasTheNarrowestWidth)
{
    const std::pair<u32, int> kLargest[] = {{0, 1}, {255, 1}, {256, 2}, {65535, 2}, {65536, 4}, {0xFFFFFFFF, 4}};
    for (const auto& [largest, width] : kLargest)
    {
        MemBinaryFileW file;
        Indices indices = triangles({largest, 1});
        indices.primitiveType = 3;
        indices.write(file);
        const ByteBuffer& buffer = file.getBytes();
        const std::vector<u8> bytes(buffer.data(), buffer.data() + buffer.size());
        ASSERT_EQ(bytes.size(), 9u + 2 * static_cast<std::size_t>(width));
        EXPECT_EQ(bytes[0], width / 2);
        EXPECT_EQ(numberAt(bytes, 1), 2u);
        EXPECT_EQ(numberAt(bytes, 5), 3u);
        for (int byte = 0; byte < width; ++byte)
        {
            EXPECT_EQ(bytes[9 + static_cast<std::size_t>(byte)], static_cast<u8>(largest >> (8 * byte)));
            EXPECT_EQ(bytes[9 + static_cast<std::size_t>(width + byte)], byte == 0 ? 1 : 0);
        }
    }
    MemBinaryFileW file;
    Indices().write(file);
    EXPECT_EQ(file.getBytes().size(), 9u);
}

TEST(Indices, PrimitivesByType)
{
    // Rows: 0 to 4 and 7 indices; columns: primitive types 0 to 8.
    const std::pair<u32, std::array<u32, 9>> kRows[] = {
        {0, {0, 0, 0, 0, 0, 0, 0, 0, 0}}, {1, {1, 0, 0, 0, 0, 0, 0, 0, 0}}, {2, {2, 1, 1, 0, 0, 0, 0, 0, 0}},
        {3, {3, 1, 2, 0, 0, 1, 1, 1, 0}}, {7, {7, 3, 6, 0, 0, 2, 5, 5, 0}},
    };
    for (const auto& [count, expected] : kRows)
        for (u32 type = 0; type < 9; ++type)
        {
            Indices indices;
            indices.indices.resize(count);
            indices.primitiveType = type;
            EXPECT_EQ(indices.getPrimitiveCount(), expected[type]) << count << " of type " << type;
        }
}
} // namespace
} // namespace model
