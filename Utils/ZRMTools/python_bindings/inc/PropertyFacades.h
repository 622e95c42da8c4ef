#pragma once

#include "base/ObjectRegistry.h"
#include "inc/Arguments.h"
#include "inc/Facade.h"
#include "materials/Properties.h"

/// A constant or animated value, held as the property object that the model takes over. A setter makes a new object,
/// so what was handed out before stays as it was.
namespace pyzrm
{
/// The names under which the registry knows the properties of a value.
template <class V>
struct PropertyClass;
template <>
struct PropertyClass<f32>
{
    static constexpr const char* kStatic = "model::Property<float>";
    static constexpr const char* kAnimated = "model::AnimatedProperty<float>";
};
template <>
struct PropertyClass<model::vec2f>
{
    static constexpr const char* kStatic = "model::Property<osg::Vec2f>";
    static constexpr const char* kAnimated = "model::AnimatedProperty<osg::Vec2f>";
};
template <>
struct PropertyClass<model::vec3f>
{
    static constexpr const char* kStatic = "model::Property<osg::Vec3f>";
    static constexpr const char* kAnimated = "model::AnimatedProperty<osg::Vec3f>";
};
template <>
struct PropertyClass<zr::string>
{
    static constexpr const char* kStatic = "model::Property<const char*>";
};

template <class V>
model::ObjectPtr<model::StaticProperty<V>> makeStatic(const char* name, V value)
{
    auto property = model::create<model::StaticProperty<V>>(PropertyClass<V>::kStatic);
    property->setName(name);
    property->setValue(std::move(value));
    return property;
}

/// `keys` are sorted and, with `reduce`, simplified.
template <class V>
model::ObjectPtr<model::AnimatedProperty<V>> makeAnimated(const char* name, u32 argument, model::Keys<V> keys,
                                                          bool reduce)
{
    model::sortKeys(keys);
    if (reduce) model::simplifyKeys(keys, model::kPropertyTolerance);
    auto property = model::create<model::AnimatedProperty<V>>(PropertyClass<V>::kAnimated);
    property->setName(name);
    property->setArgument(argument);
    property->setKeys(std::move(keys));
    return property;
}

/// The keys of a script as they come.
model::Keys<f32> toKeys(const KeyList<f32>& list);

class PropertyFloat : public Facade
{
public:
    PropertyFloat() : PropertyFloat(0.0f) {}
    explicit PropertyFloat(f32 value) { set(value); }
    PropertyFloat(WholeNumber argument, const KeyList<f32>& keys) : PropertyFloat(argument, keys, /*reduce=*/true) {}
    PropertyFloat(WholeNumber argument, const KeyList<f32>& keys, bool reduce) { setAnim(argument, keys, reduce); }

    void set(f32 value);
    void setAnim(WholeNumber argument, const KeyList<f32>& keys, bool reduce);

    const model::PropertyPtr& get() const { return property; }

private:
    model::PropertyPtr property;
};

class PropertyFloat2 : public Facade
{
public:
    PropertyFloat2() : PropertyFloat2(Float2()) {}
    explicit PropertyFloat2(const Float2& value) { set(value); }
    PropertyFloat2(WholeNumber argument, const KeyList<Float2>& keys) { setAnim(argument, keys); }

    void set(const Float2& value);
    void setAnim(WholeNumber argument, const KeyList<Float2>& keys);

    const model::PropertyPtr& get() const { return property; }

private:
    model::PropertyPtr property;
};

class PropertyFloat3 : public Facade
{
public:
    PropertyFloat3() : PropertyFloat3(Float3()) {}
    explicit PropertyFloat3(const Float3& value) { set(value); }
    PropertyFloat3(WholeNumber argument, const KeyList<Float3>& keys) { setAnim(argument, keys); }

    void set(const Float3& value);
    void setAnim(WholeNumber argument, const KeyList<Float3>& keys);

    const model::PropertyPtr& get() const { return property; }

private:
    model::PropertyPtr property;
};
} // namespace pyzrm
