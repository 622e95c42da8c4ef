#include "utils/VertexUtils.h"

#include <algorithm>
#include <cmath>
#include <numeric>

#include <zr/exceptions.h>

namespace model
{
namespace
{
constexpr f32 kRepeatTolerance = 0.001f;

void checkVertexSize(const Vertices& vertices, const VertexFormat& vertexFormat)
{
    if (vertexFormatSize(vertexFormat) != vertices.getStride()) ZR_RAISE("Wrong vertex size.");
}

bool isRepeat(const Vertices& vertices, i32 a, i32 b)
{
    if (vertices.strideOf(a) != vertices.strideOf(b)) return false;
    vertices.floatsOf(b); // either may move the other, so that only now both stay where they are
    const std::span<const f32> first = vertices.floatsOf(a);
    const std::span<const f32> second = vertices.floatsOf(b);
    return std::equal(first.begin(), first.end(), second.begin(), second.end(),
                      [](f32 x, f32 y) { return !(std::abs(x - y) > kRepeatTolerance); });
}

/// The byte of a semantic; one outside the format is the checked failure of the array.
u8& formatByte(VertexFormat& vertexFormat, i32 semantic)
{
    return vertexFormat[static_cast<std::size_t>(semantic)];
}
} // namespace

u32 vertexFormatSize(const VertexFormat& vertexFormat)
{
    return std::accumulate(vertexFormat.begin(), vertexFormat.end(), 0u);
}

u32 removeRepeatedTextureChannels(Vertices& vertices, TextureChannels& channels)
{
    zr::small_vector<i32, kNumChannels> kept;
    SemanticRemap repeats;
    for (const auto& [set, attribute] : vertices.getLayout())
    {
        const i32 semantic = set;
        if (semantic < kTexCoord0 || semantic > kTexCoord15) continue;
        const auto found =
            std::find_if(kept.begin(), kept.end(), [&](i32 earlier) { return isRepeat(vertices, semantic, earlier); });
        if (found == kept.end())
            kept.push_back(semantic);
        else
            repeats.push_back({semantic, *found});
    }
    for (const auto& [from, to] : repeats)
    {
        vertices.erase(from);
        // What replaces an attribute is never dropped itself, so one replacement settles a channel.
        std::replace(channels.begin(), channels.end(), from - kTexCoord0, to - kTexCoord0);
    }
    return static_cast<u32>(repeats.size());
}

void removeUnusedTextureChannels(Vertices& vertices, VertexFormat& vertexFormat, const TextureChannels& channels)
{
    for (i32 semantic = kTexCoord0; semantic <= kTexCoord15; ++semantic)
    {
        u8& floats = formatByte(vertexFormat, semantic);
        if (floats == 0 || std::count(channels.begin(), channels.end(), semantic - kTexCoord0) != 0) continue;
        vertices.erase(semantic);
        floats = 0;
    }
    checkVertexSize(vertices, vertexFormat);
}

void remapTextureChannels(const SemanticRemap& remap, Vertices& vertices, VertexFormat& vertexFormat)
{
    // Most meshes have one set, in its place already.
    const auto isInPlace = [&](const SemanticMove& move)
    { return move.from == move.to && vertices.getLayout().contains(move.from); };
    if (std::all_of(remap.begin(), remap.end(), isInPlace)) return checkVertexSize(vertices, vertexFormat);

    // The format comes first: it refuses a wrong semantic before an attribute has moved.
    VertexFormat newFormat = vertexFormat;
    for (const auto& [from, to] : remap)
        formatByte(newFormat, from) = formatByte(newFormat, to) = 0;
    for (const auto& [from, to] : remap)
        formatByte(newFormat, to) = formatByte(vertexFormat, from);

    zr::vector<Attribute> moved;
    for (const auto& [from, to] : remap)
        moved.push_back(std::move(vertices[from])); // a missing source moves as an empty attribute
    for (const auto& [from, to] : remap)
    {
        vertices.erase(from);
        vertices.erase(to);
    }
    for (std::size_t i = 0; i < remap.size(); ++i)
        vertices[remap[i].to] = std::move(moved[i]);
    vertexFormat = newFormat;
    checkVertexSize(vertices, vertexFormat);
}
} // namespace model
