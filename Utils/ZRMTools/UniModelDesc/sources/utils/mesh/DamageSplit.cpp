#include "utils/mesh/DamageSplit.h"

#include <algorithm>
#include <cmath>

#include "base/ObjectRegistry.h"
#include "mesh/MeshUtils.h"
#include <zr/checked.h>
#include <zr/unordered_map.h>

namespace model
{
namespace
{
constexpr u32 kNoPart = 0xFFFFFFFFu;

/// What the triangles of one argument take of the mesh.
struct Part
{
    std::size_t vertexCount = 0;
    std::size_t indexCount = 0;
    zr::vector<u32> vertices; // their numbers in the mesh, ascending
    Indices indices;          // of these vertices
};

/// The parts of a mesh. As a vertex has one argument, it belongs to one part at most.
struct Parts
{
    zr::unordered_map<u32, u32> numbers; // by argument
    zr::vector<Part> list;
    zr::vector<u32> ofVertex; // number, or kNoPart
};

/// A part for each argument that all corners of a triangle have, with the counts of what it will take.
Parts findParts(const zr::vector<u32>& indices, const Attribute& arguments)
{
    const std::size_t stride = arguments.stride;
    const std::size_t count = arguments.count();
    const auto argumentOf = [&](u32 vertex)
    {
        if (vertex >= count) zr::raiseBadIndex();
        return argumentFromFloat(arguments.data[vertex * stride]);
    };

    Parts parts;
    parts.ofVertex.resize(count, kNoPart);
    // Neighbours mostly have the same argument.
    u32 part = kNoPart;
    u32 partArgument = 0;
    for (std::size_t i = 0; i + 3 <= indices.size(); i += 3)
    {
        const u32 argument = argumentOf(indices[i]);
        const u32 second = argumentOf(indices[i + 1]);
        const u32 third = argumentOf(indices[i + 2]);
        if (second != argument || third != argument) continue;
        if (part == kNoPart || partArgument != argument)
        {
            const auto next = static_cast<u32>(parts.list.size());
            const auto [found, isNew] = parts.numbers.try_emplace(argument, next);
            if (isNew) parts.list.emplace_back();
            part = found->second;
            partArgument = argument;
        }
        Part& owner = parts.list[part];
        owner.indexCount += 3;
        for (std::size_t corner = i; corner < i + 3; ++corner)
        {
            u32& known = parts.ofVertex[indices[corner]];
            owner.vertexCount += known == kNoPart;
            known = part;
        }
    }
    return parts;
}

/// In one walk over the vertices and one over the triangles, however many parts there are.
void fillParts(Parts& parts, const zr::vector<u32>& indices)
{
    for (Part& part : parts.list)
    {
        part.vertices.reserve(part.vertexCount);
        part.indices.indices.reserve(part.indexCount);
    }
    zr::vector<u32> newNumbers(parts.ofVertex.size());
    for (u32 vertex = 0; vertex < newNumbers.size(); ++vertex)
    {
        if (parts.ofVertex[vertex] == kNoPart) continue;
        Part& part = parts.list[parts.ofVertex[vertex]];
        newNumbers[vertex] = static_cast<u32>(part.vertices.size());
        part.vertices.push_back(vertex);
    }
    for (std::size_t i = 0; i + 3 <= indices.size(); i += 3)
    {
        const u32 part = parts.ofVertex[indices[i]];
        if (part == kNoPart || parts.ofVertex[indices[i + 1]] != part || parts.ofVertex[indices[i + 2]] != part)
            continue;
        for (std::size_t corner = i; corner < i + 3; ++corner)
            parts.list[part].indices.indices.push_back(newNumbers[indices[corner]]);
    }
}

/// Without the arguments.
Vertices takeVertices(const Vertices& vertices, const zr::vector<u32>& numbers)
{
    Vertices taken;
    for (const auto& [semantic, attribute] : vertices.getAttributes())
        if (semantic != kColor2) taken[semantic] = selectVertices(numbers, attribute);
    return taken;
}
} // namespace

u32 argumentFromFloat(f32 value)
{
    const f64 whole = std::trunc(static_cast<f64>(value));
    if (std::isnan(whole)) return 0;
    if (whole < 0.0) return static_cast<u32>(static_cast<i32>(std::max(whole, -2147483648.0)));
    return static_cast<u32>(std::min(whole, 4294967295.0));
}

zr::vector<ObjectPtr<BaseRenderNode>> splitRenderNodeByDamageArgument(const RenderNode* node)
{
    zr::vector<ObjectPtr<BaseRenderNode>> result;
    if (!node || node->getNumControlNodes() != 1 || node->indices.primitiveType != kTriangles || !node->material)
        return result;
    const Vertices& vertices = node->vertices;
    const zr::vector<u32>& indices = node->indices.indices;
    Parts parts = findParts(indices, vertices.getAttribute(kColor2));
    if (parts.list.empty()) return result;
    vertices.checkConsistent();
    fillParts(parts, indices);

    const MaterialPtr material = node->material->clone();
    material->setFormat(kColor2, 0);
    for (const auto& [argument, number] : parts.numbers)
    {
        Part& taken = parts.list[number];
        const auto part = create<RenderNode>();
        part->setMaterial(material);
        part->setGeometry(takeVertices(vertices, taken.vertices), std::move(taken.indices));
        part->setControlNode(0, node->getControlNode(0));
        part->setArgument(0, argument);
        result.push_back(part);
    }
    return result;
}
} // namespace model
