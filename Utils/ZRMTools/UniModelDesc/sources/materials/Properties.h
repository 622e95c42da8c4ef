#pragma once

#include <functional>

#include "base/Keys.h"
#include "materials/IProperty.h"

namespace model
{
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

/// A constant of type f32, u32, vec2f, vec3f, vec4f or zr::string; zero or empty at creation.
template <class V>
class StaticProperty final : public IStaticProperty
{
public:
    StaticProperty();

    const V& getValue() const { return value; }
    void setValue(V newValue) { value = std::move(newValue); }

    const char* getClassName() const override;
    zr::string toString() const override;
    void accept(IPropertyVisitor& visitor) override;
    void write(io::IBinaryFileW& file) const override;
    bool equals(const PropertyPtr& other) const override;

    V value{};
};

/// Keys of type f32, vec2f, vec3f or vec4f. Whoever fills the list keeps it in ascending order of time.
template <class V>
class AnimatedProperty final : public IAnimatedProperty
{
public:
    AnimatedProperty();

    const Keys<V>& getKeys() const { return keys; }
    void setKeys(Keys<V> newKeys) { keys = std::move(newKeys); }

    const char* getClassName() const override;
    zr::string toString() const override;
    void accept(IPropertyVisitor& visitor) override;
    void write(io::IBinaryFileW& file) const override;
    bool equals(const PropertyPtr& other) const override;

    Keys<V> keys;
};

/// A value that is the argument itself.
class ArgumentProperty final : public IAnimatedProperty
{
public:
    ArgumentProperty();

    u32 getValue() const { return argument; }
    void setValue(u32 handle) { argument = handle; }

    const char* getClassName() const override;
    zr::string toString() const override;
    void accept(IPropertyVisitor& visitor) override;
    void write(io::IBinaryFileW& file) const override;
    bool equals(const PropertyPtr& other) const override;
};

using FloatProperty = StaticProperty<f32>;
using UIntProperty = StaticProperty<u32>;
using Vec2fProperty = StaticProperty<vec2f>;
using Vec3fProperty = StaticProperty<vec3f>;
using Vec4fProperty = StaticProperty<vec4f>;
using StringProperty = StaticProperty<zr::string>;
using AnimatedFloatProperty = AnimatedProperty<f32>;
using AnimatedVec2fProperty = AnimatedProperty<vec2f>;
using AnimatedVec3fProperty = AnimatedProperty<vec3f>;
using AnimatedVec4fProperty = AnimatedProperty<vec4f>;

class IPropertyVisitor
{
public:
    virtual ~IPropertyVisitor() = default;

    virtual void visit(AnimatedVec4fProperty&) = 0;
    virtual void visit(AnimatedVec3fProperty&) = 0;
    virtual void visit(AnimatedVec2fProperty&) = 0;
    virtual void visit(AnimatedFloatProperty&) = 0;
    virtual void visit(ArgumentProperty&) = 0;
    virtual void visit(StringProperty&) = 0;
    virtual void visit(Vec4fProperty&) = 0;
    virtual void visit(Vec3fProperty&) = 0;
    virtual void visit(Vec2fProperty&) = 0;
    virtual void visit(FloatProperty&) = 0;
    virtual void visit(UIntProperty&) = 0;
};

/// Calls the function with the argument of a property that is animated and has one.
void reportArgument(const IProperty* property, const std::function<void(u32)>& function);
} // namespace model
