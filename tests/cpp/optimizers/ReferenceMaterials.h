#pragma once

#include <algorithm>
#include <cmath>
#include <map>

#include "RootNode.h"
#include "nodes/BaseMeshRenderNode.h"
#include <zr/exceptions.h>

/// The rules of the material passes as loops over all pairs and copies of everything.
namespace test::reference
{
using namespace model;

inline BaseRenderNode* renderNode(const ObjectPtr<BaseNode>& node)
{
    return dynamic_cast<BaseRenderNode*>(node.get());
}

inline bool mergeEqualPropertiesSets(RootNode& root)
{
    const std::size_t before = root.getMaterials().size();
    zr::vector<MaterialPtr> distinct;
    for (const auto& node : root.renderNodes)
    {
        MaterialPtr& material = renderNode(node)->material;
        if (!material) continue;
        const auto found = std::find_if(distinct.begin(), distinct.end(), [&](const MaterialPtr& earlier)
                                        { return earlier == material || earlier->isEqual(*material); });
        if (found == distinct.end())
            distinct.push_back(material);
        else
            material = *found;
    }
    for (std::size_t i = 0; i < root.renderNodes.size(); ++i)
        for (std::size_t j = i + 1; j < root.renderNodes.size(); ++j)
        {
            const MaterialPtr& a = renderNode(root.renderNodes[i])->material;
            const MaterialPtr& b = renderNode(root.renderNodes[j])->material;
            if (a && b && a != b && a->isEqual(*b))
                throw zr::ExtException("There is still equal properties sets.", "", -1);
        }
    return root.getMaterials().size() != before;
}

inline void checkSize(const Vertices& vertices, const VertexFormat& format)
{
    u32 sum = 0;
    for (const u8 width : format)
        sum += width;
    if (sum != vertices.getStride()) ZR_RAISE("Wrong vertex size.");
}

inline bool isRepeat(const Attribute& a, const Attribute& b)
{
    if (a.stride != b.stride || a.data.size() != b.data.size()) return false;
    for (std::size_t i = 0; i < a.data.size(); ++i)
        if (std::abs(a.data[i] - b.data[i]) > 0.001f) return false;
    return true;
}

inline u32 optimizeTextureChannels(BaseMeshRenderNode& mesh)
{
    mesh.material = mesh.material->clone();
    auto& channels = mesh.material->channels;
    auto& format = mesh.material->vertexFormat;
    Vertices& v = mesh.vertices;

    std::map<i32, i32> repeats;
    zr::vector<i32> kept;
    for (i32 c = 4; c <= 19; ++c)
    {
        if (!v.findAttribute(c)) continue;
        for (const i32 k : kept)
            if (!repeats.count(c) && isRepeat(v[c], v[k])) repeats[c] = k;
        if (!repeats.count(c)) kept.push_back(c);
    }
    for (const auto& [from, to] : repeats)
    {
        v.erase(from);
        for (i32& channel : channels)
            if (channel + 4 == from) channel = to - 4;
    }

    v.getFormat(format);
    for (i32 i = 0; i < 16; ++i)
        if (format[static_cast<std::size_t>(i + 4)] != 0 && std::count(channels.begin(), channels.end(), i) == 0)
        {
            v.erase(i + 4);
            format[static_cast<std::size_t>(i + 4)] = 0;
        }
    checkSize(v, format);

    std::map<i32, i32> remap;
    for (i32& channel : channels)
    {
        if (channel == -1) continue;
        remap.emplace(channel + 4, static_cast<i32>(remap.size()) + 4);
        channel = remap[channel + 4] - 4;
    }
    if (!remap.empty())
    {
        Vertices moved = v;
        VertexFormat movedFormat = format;
        for (const auto& [from, to] : remap)
        {
            movedFormat[static_cast<std::size_t>(from)] = 0;
            movedFormat[static_cast<std::size_t>(to)] = 0;
            moved.erase(from);
            moved.erase(to);
        }
        for (const auto& [from, to] : remap)
        {
            movedFormat[static_cast<std::size_t>(to)] = format[static_cast<std::size_t>(from)];
            moved[to] = v[from];
        }
        v = moved;
        format = movedFormat;
        checkSize(v, format);
    }
    for (std::size_t i = 0; i < 8; ++i)
    {
        if (channels[i] == -1) continue;
        if (channels[i] >= 13) ZR_RAISE("Broken texture channels");
        if (format[static_cast<std::size_t>(channels[i] + 4)] == 0) ZR_RAISE("Empty texture channel");
    }
    checkSize(v, format);
    return static_cast<u32>(repeats.size());
}
} // namespace test::reference
