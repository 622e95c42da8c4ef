#pragma once

#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "RootNode.h"
#include "base/ObjectRegistry.h"
#include "mesh/MeshUtils.h"
#include "nodes/RenderNode.h"
#include "nodes/TransformNode.h"
#include <zr/exceptions.h>

/// Short ways to make the meshes and nodes of the tests.
namespace model
{
inline Attribute attribute(u32 stride, std::initializer_list<f32> values)
{
    Attribute result;
    result.stride = stride;
    result.data.assign(values.begin(), values.end());
    return result;
}

/// Vertices of these positions, three floats each, in a POSITION0 of four whose last is `entry`.
inline Vertices points(const std::vector<std::array<f32, 3>>& positions, f32 entry = 0.0f)
{
    Vertices result;
    Attribute& target = result[kPosition0];
    target.stride = 4;
    for (const auto& p : positions)
        for (const f32 value : {p[0], p[1], p[2], entry})
            target.data.push_back(value);
    return result;
}

inline Indices triangles(std::initializer_list<u32> list)
{
    Indices result;
    result.indices.assign(list.begin(), list.end());
    return result;
}

inline std::vector<u32> listOf(const zr::vector<u32>& values)
{
    return {values.begin(), values.end()};
}
inline std::vector<f32> listOf(const zr::vector<f32>& values)
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
    auto node = create<RenderNode>("model::RenderNode");
    node->setMaterial(material ? material : materialFor(vertices));
    node->setGeometry(vertices, indices);
    return node;
}

/// A transform that moves by this offset.
inline ObjectPtr<TransformNode> transformNode(f64 x = 0, f64 y = 0, f64 z = 0)
{
    auto node = create<TransformNode>("model::TransformNode");
    matrixd m;
    m.m[12] = x;
    m.m[13] = y;
    m.m[14] = z;
    node->matrix = m;
    return node;
}

inline ObjectPtr<RootNode> rootNode()
{
    auto root = create<RootNode>("model::RootNode");
    root->setRootTransform(create<Node>("model::Node"));
    return root;
}

/// The text of the `zr::ExtException` that the call raises; "" when it raises none.
template <class Call>
std::string raised(Call call)
{
    try
    {
        call();
    }
    catch (const zr::ExtException& error)
    {
        return error.what();
    }
    return "";
}

/// Small, fixed random numbers: the same on every machine.
class Random
{
public:
    explicit Random(u64 seed) : state(seed * 0x9E3779B97F4A7C15u + 1) {}

    u32 below(u32 limit)
    {
        state = state * 6364136223846793005u + 1442695040888963407u;
        return static_cast<u32>((state >> 33) % limit);
    }
    f32 real() { return static_cast<f32>(below(2001)) / 1000.0f - 1.0f; }

private:
    u64 state;
};
} // namespace model
