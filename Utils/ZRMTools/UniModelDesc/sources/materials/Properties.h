#pragma once

#include <functional>

#include "base/Keys.h"
#include "materials/IProperty.h"

/// The one list of the classes of properties; the aliases, the visitor, the registry and what sets a class apart come
/// from it, in the order of the visitor's operations.
///
/// X(name, class, kind, tag, class name in registry and files)
#define MODEL_ANIMATED_PROPERTIES(X)                                                                                   \
    X(AnimatedVec4fProperty, AnimatedProperty<vec4f>, 4, "AFL4", "model::AnimatedProperty<osg::Vec4f>")                \
    X(AnimatedVec3fProperty, AnimatedProperty<vec3f>, 3, "AFL3", "model::AnimatedProperty<osg::Vec3f>")                \
    X(AnimatedVec2fProperty, AnimatedProperty<vec2f>, 2, "AFL2", "model::AnimatedProperty<osg::Vec2f>")                \
    X(AnimatedFloatProperty, AnimatedProperty<f32>, 0, "AFL1", "model::AnimatedProperty<float>")
#define MODEL_STATIC_PROPERTIES(X)                                                                                     \
    X(StringProperty, StaticProperty<zr::string>, 6, "STRG", "model::Property<const char*>")                           \
    X(Vec4fProperty, StaticProperty<vec4f>, 4, "FLT4", "model::Property<osg::Vec4f>")                                  \
    X(Vec3fProperty, StaticProperty<vec3f>, 3, "FLT3", "model::Property<osg::Vec3f>")                                  \
    X(Vec2fProperty, StaticProperty<vec2f>, 2, "FLT2", "model::Property<osg::Vec2f>")                                  \
    X(FloatProperty, StaticProperty<f32>, 0, "FLT1", "model::Property<float>")                                         \
    X(UIntProperty, StaticProperty<u32>, 1, "INT1", "model::Property<unsigned int>")
#define MODEL_PROPERTY_CLASSES(X)                                                                                      \
    MODEL_ANIMATED_PROPERTIES(X)                                                                                       \
    X(ArgumentProperty, ArgumentProperty, 0, "AARG", "model::ArgumentProperty")                                        \
    MODEL_STATIC_PROPERTIES(X)

namespace model
{
template <class V>
class StaticProperty;
template <class V>
class AnimatedProperty;
class ArgumentProperty;

#define MODEL_ALIAS(Name, Class, ...) using Name = Class;
MODEL_ANIMATED_PROPERTIES(MODEL_ALIAS)
MODEL_STATIC_PROPERTIES(MODEL_ALIAS)
#undef MODEL_ALIAS

/// What sets a class of the list apart.
template <class Class>
struct PropertyTraits;

#define MODEL_TRAITS(Name, Class, number, mark, text)                                                                  \
    template <>                                                                                                        \
    struct PropertyTraits<Class>                                                                                       \
    {                                                                                                                  \
        static constexpr u32 kKind = number;                                                                           \
        static constexpr char kTag[5] = mark;                                                                          \
        static constexpr const char* kClassName = text;                                                                \
    };
MODEL_PROPERTY_CLASSES(MODEL_TRAITS)
#undef MODEL_TRAITS

/// One operation for each class; `IProperty::accept` calls the one of its own class.
class IPropertyVisitor
{
public:
    virtual ~IPropertyVisitor() = default;

#define MODEL_VISIT(Name, ...) virtual void visit(Name& property) = 0;
    MODEL_PROPERTY_CLASSES(MODEL_VISIT)
#undef MODEL_VISIT
};

class IStaticProperty : public IProperty
{
public:
    bool isAnimated() const override { return false; }

protected:
    using IProperty::IProperty;
};

/// A value that an animation argument drives.
class IAnimatedProperty : public IProperty
{
public:
    bool isAnimated() const override { return true; }

    /// The argument's handle; `kNoArgument` is none and the value at creation.
    u32 getArgument() const { return argument; }
    void setArgument(u32 handle) { argument = handle; }

    u32 argument = kNoArgument;

protected:
    using IProperty::IProperty;
};

/// What each class of the list has of its own, between the class and its base.
template <class Class, class Base>
class PropertyClass : public Base
{
public:
    static constexpr const char* kClassName = PropertyTraits<Class>::kClassName;

    PropertyClass() : Base(PropertyTraits<Class>::kKind, PropertyTraits<Class>::kTag) {}

    const char* getClassName() const override { return kClassName; }
    void accept(IPropertyVisitor& visitor) override { visitor.visit(static_cast<Class&>(*this)); }
};

/// A constant of type f32, u32, vec2f, vec3f, vec4f or zr::string; zero or empty at creation.
template <class V>
class StaticProperty final : public PropertyClass<StaticProperty<V>, IStaticProperty>
{
public:
    const V& getValue() const { return value; }
    void setValue(V newValue) { value = std::move(newValue); }

    zr::string toString() const override;
    void write(io::IBinaryFileW& file) const override;
    bool equals(const PropertyPtr& other) const override;

    V value{};
};

/// Keys of type f32, vec2f, vec3f or vec4f. Whoever fills the list keeps it in ascending order of time.
template <class V>
class AnimatedProperty final : public PropertyClass<AnimatedProperty<V>, IAnimatedProperty>
{
public:
    const Keys<V>& getKeys() const { return keys; }
    void setKeys(Keys<V> newKeys) { keys = std::move(newKeys); }

    zr::string toString() const override;
    void write(io::IBinaryFileW& file) const override;
    bool equals(const PropertyPtr& other) const override;

    Keys<V> keys;
};

/// A value that is the argument itself.
class ArgumentProperty final : public PropertyClass<ArgumentProperty, IAnimatedProperty>
{
public:
    u32 getValue() const { return argument; }
    void setValue(u32 handle) { argument = handle; }

    zr::string toString() const override;
    void write(io::IBinaryFileW& file) const override;
    bool equals(const PropertyPtr& other) const override;
};

/// Calls the function with the argument of a property that is animated and has one. Null is none.
void reportArgument(const IProperty* property, const std::function<void(u32)>& function);
} // namespace model
