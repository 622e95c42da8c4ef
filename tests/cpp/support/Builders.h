#pragma once

#include <initializer_list>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "RootNode.h"
#include "base/ObjectRegistry.h"
#include "mesh/MeshUtils.h"
#include "nodes/RenderNode.h"
#include "nodes/TransformNode.h"

/// Short ways to make what the tests look at.
namespace model
{
inline Attribute attribute(u32 stride, std::initializer_list<f32> values)
{
    return {values, stride};
}

/// Vertices of these positions in a POSITION0 of four floats, the last one `entry`.
inline Vertices points(const std::vector<std::array<f32, 3>>& positions, f32 entry = 0.0f)
{
    Vertices result;
    result[kPosition0].stride = 4;
    for (const auto& p : positions)
        for (const f32 value : {p[0], p[1], p[2], entry})
            result[kPosition0].data.push_back(value);
    return result;
}

inline Indices triangles(std::initializer_list<u32> list)
{
    Indices result;
    result.indices = list;
    return result;
}

template <class T>
std::vector<T> listOf(const zr::vector<T>& values)
{
    return {values.begin(), values.end()};
}

/// A new material with the format of these vertices.
inline MaterialPtr materialFor(const Vertices& vertices)
{
    MaterialPtr material(new PropertiesSet());
    vertices.getFormat(material->vertexFormat);
    return material;
}

inline ObjectPtr<RenderNode> renderNode(const Vertices& vertices, const Indices& indices,
                                        const MaterialPtr& material = nullptr)
{
    auto node = create<RenderNode>();
    node->setMaterial(material ? material : materialFor(vertices));
    node->setGeometry(vertices, indices);
    return node;
}

/// A transform that moves by this offset.
inline ObjectPtr<TransformNode> transformNode(f64 x = 0, f64 y = 0, f64 z = 0)
{
    auto node = create<TransformNode>();
    node->matrix = translationMatrix({x, y, z});
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
