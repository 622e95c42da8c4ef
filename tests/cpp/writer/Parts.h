#pragma once

#include <algorithm>
#include <iterator>
#include <type_traits>
#include <utility>

#include "Vertices.h"
#include "base/ObjectRegistry.h"
#include "materials/PropertiesSet.h"
#include "mesh/Indices.h"

/// Short ways to make what a whole model consists of.
namespace model
{
template <class T>
ObjectPtr<T> named(const char* name)
{
    ObjectPtr<T> node(new T());
    node->setName(name);
    return node;
}

/// first, first + 1 and so on.
template <class Matrix>
Matrix counting(int first)
{
    Matrix matrix;
    std::generate(std::begin(matrix.m), std::end(matrix.m),
                  [&] { return static_cast<std::remove_reference_t<decltype(matrix.m[0])>>(first++); });
    return matrix;
}

inline Box boxOf(vec3f min, vec3f max)
{
    Box box;
    box.min = min;
    box.max = max;
    return box;
}

template <class P, class V>
PropertyPtr fixed(const char* className, const char* name, V value)
{
    const auto property = create<P>(className);
    property->setName(name);
    property->setValue(std::move(value));
    return property;
}
inline PropertyPtr number(const char* name, f32 value)
{
    return fixed<FloatProperty>("model::Property<float>", name, value);
}
inline PropertyPtr integer(const char* name, u32 value)
{
    return fixed<UIntProperty>("model::Property<unsigned int>", name, value);
}

template <class P, class V>
PropertyPtr driven(const char* className, const char* name, u32 argument, Keys<V> keys)
{
    const auto property = create<P>(className);
    property->setName(name);
    property->setArgument(argument);
    property->setKeys(std::move(keys));
    return property;
}
inline PropertyPtr drivenNumber(const char* name, u32 argument)
{
    return driven<AnimatedFloatProperty, f32>("model::AnimatedProperty<float>", name, argument, {{0.25, 1}, {0.5, 2}});
}
inline PropertyPtr drivenVector(const char* name, u32 argument)
{
    return driven<AnimatedVec3fProperty, vec3f>("model::AnimatedProperty<osg::Vec3f>", name, argument,
                                                {{0, {1, 2, 3}}, {1, {4, 5, 6}}});
}

inline void addEveryProperty(PropertyList& list)
{
    list.push_back(number("float", 0.5f));
    list.push_back(drivenNumber("animated float", 30));
    list.push_back(integer("uint", 0xFFFFFFFEu));
    list.push_back(fixed<Vec2fProperty>("model::Property<osg::Vec2f>", "vec2", vec2f{1, 2}));
    list.push_back(fixed<Vec3fProperty>("model::Property<osg::Vec3f>", "vec3", vec3f{1, 2, 3}));
    list.push_back(fixed<Vec4fProperty>("model::Property<osg::Vec4f>", "vec4", vec4f{1, 2, 3, 4}));
    list.push_back(fixed<StringProperty>("model::Property<const char*>", "string", zr::string("Text")));
    list.push_back(fixed<ArgumentProperty>("model::ArgumentProperty", "argument", 31u));
    list.push_back(driven<AnimatedVec2fProperty, vec2f>("model::AnimatedProperty<osg::Vec2f>", "animated vec2", 32,
                                                        {{0.5, {7, 8}}}));
    list.push_back(drivenVector("animated vec3", 33));
    list.push_back(driven<AnimatedVec4fProperty, vec4f>("model::AnimatedProperty<osg::Vec4f>", "animated vec4", 34,
                                                        {{2, {1, 2, 3, 4}}}));
}

/// A mesh of `count` vertices (i, 10 + i, 20 + i) and one triangle of the first two and the last one.
struct Shape
{
    explicit Shape(u32 count)
    {
        vertices[kPosition0].stride = 4;
        vertices[kTexCoord0].stride = 2;
        for (u32 i = 0; i < count; ++i)
        {
            const f32 value = static_cast<f32>(i);
            for (const f32 part : {value, 10 + value, 20 + value, 0.0f})
                vertices[kPosition0].data.push_back(part);
            for (const f32 part : {30 + value, 40 + value})
                vertices[kTexCoord0].data.push_back(part);
        }
        indices.indices = {0, 1, count - 1};
    }
    MaterialPtr material(const char* name) const
    {
        MaterialPtr result(new PropertiesSet());
        result->setName(name);
        vertices.getFormat(result->vertexFormat);
        return result;
    }

    Vertices vertices;
    Indices indices;
};
} // namespace model
