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
using TrianglesByArgument = zr::unordered_map<u32, zr::vector<u32>>;

/// The corners of the triangles whose three vertices have one argument, by that argument.
TrianglesByArgument groupTriangles(const zr::vector<u32>& indices, const Attribute& arguments)
{
    const std::size_t stride = arguments.stride;
    const std::size_t count = arguments.count();
    const auto argumentOf = [&](u32 vertex)
    {
        if (vertex >= count) zr::raiseBadIndex();
        return argumentFromFloat(arguments.data[vertex * stride]);
    };

    TrianglesByArgument parts;
    // Neighbours mostly have the same argument; elements of the map stay where they are.
    zr::vector<u32>* part = nullptr;
    u32 partArgument = 0;
    for (std::size_t i = 0; i + 3 <= indices.size(); i += 3)
    {
        const u32 argument = argumentOf(indices[i]);
        const u32 second = argumentOf(indices[i + 1]);
        const u32 third = argumentOf(indices[i + 2]);
        if (second != argument || third != argument) continue;
        if (!part || partArgument != argument)
        {
            part = &parts[argument];
            partArgument = argument;
        }
        for (std::size_t corner = i; corner < i + 3; ++corner)
            part->push_back(indices[corner]);
    }
    return parts;
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
    const Attribute& arguments = vertices.getAttribute(kColor2);
    TrianglesByArgument parts = groupTriangles(node->indices.indices, arguments);
    if (parts.empty()) return result;

    const MaterialPtr material = node->material->clone();
    material->setFormat(kColor2, 0);
    for (auto& [argument, corners] : parts)
    {
        const auto part = create<RenderNode>();
        part->setMaterial(material);
        Indices indices;
        indices.indices = std::move(corners);
        Vertices used = extractVertices(indices, vertices);
        compactIndices(indices);
        used.erase(kColor2);
        removeUnusedVertices(used, indices);
        part->setGeometry(std::move(used), std::move(indices));
        part->setControlNode(0, node->getControlNode(0));
        part->setArgument(0, argument);
        result.push_back(part);
    }
    return result;
}
} // namespace model
