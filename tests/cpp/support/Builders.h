#pragma once

#include <initializer_list>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "RootNode.h"
#include "base/ObjectRegistry.h"
#include "mesh/MeshUtils.h"
#include "nodes/RenderNode.h"

/// Short ways to make what the tests look at.
namespace model
{
inline Attribute attribute(u32 stride, std::initializer_list<f32> values)
{
    return {values, stride};
}

/// Vertices of these positions in a POSITION0 of four floats, the last one 0.
inline Vertices points(const std::vector<std::array<f32, 3>>& positions)
{
    Vertices result;
    result[kPosition0].stride = 4;
    for (const auto& p : positions)
        for (const f32 value : {p[0], p[1], p[2], 0.0f})
            result[kPosition0].data.push_back(value);
    return result;
}

inline Indices triangles(std::initializer_list<u32> list)
{
    Indices result;
    result.indices = list;
    return result;
}

/// A render node with a material of its own, of the vertices' format.
inline ObjectPtr<RenderNode> renderNode(const Vertices& vertices, const Indices& indices)
{
    auto node = create<RenderNode>();
    node->setMaterial(MaterialPtr(new PropertiesSet()));
    vertices.getFormat(node->material->vertexFormat);
    node->setGeometry(vertices, indices);
    return node;
}

inline ObjectPtr<RootNode> rootNode()
{
    auto root = create<RootNode>();
    root->setRootTransform(create<Node>());
    return root;
}

/// The text of the exception that the call raises; "" when it raises none.
template <class Call>
std::string raised(Call call)
{
    try
    {
        call();
        return "";
    }
    catch (const std::exception& error)
    {
        return error.what();
    }
}
} // namespace model
