#pragma once

#include "base/ObjectRegistry.h"
#include "compute/ScriptKeys.h"
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

template <class V>
model::ObjectPtr<model::AnimatedProperty<V>> makeAnimated(const char* name, u32 argument, model::Keys<V> keys)
{
    auto property = model::create<model::AnimatedProperty<V>>(PropertyClass<V>::kAnimated);
    property->setName(name);
    property->setArgument(argument);
    property->setKeys(std::move(keys));
    return property;
}

/// S is what a script gives: a float, or a tuple of them.
template <class S>
class PropertyFacade : public Facade
{
public:
    PropertyFacade() : PropertyFacade(S()) {}
    explicit PropertyFacade(const S& value) { set(value); }
    PropertyFacade(WholeNumber argument, const KeyList<S>& keys) : PropertyFacade(argument, keys, /*reduce=*/true) {}
    PropertyFacade(WholeNumber argument, const KeyList<S>& keys, bool reduce) { setAnim(argument, keys, reduce); }

    void set(const S& value) { property = makeStatic(kName, toValue(value)); }
    /// Keys are sorted and, with `reduce`, simplified.
    void setAnim(WholeNumber argument, const KeyList<S>& list, bool reduce)
    {
        const auto convert = [](const S& value) { return toValue(value); };
        auto keys = makeKeys<decltype(toValue(S()))>(list, convert, reduce ? &model::kPropertyTolerance : nullptr);
        property = makeAnimated(kName, argument.asHandle(), std::move(keys));
    }
    void setReducedAnim(WholeNumber argument, const KeyList<S>& list) { setAnim(argument, list, /*reduce=*/true); }

    const model::PropertyPtr& get() const { return property; }

private:
    /// The name until the place that takes the property gives it another.
    static constexpr const char* kName = "_DUMMY_NAME_";

    model::PropertyPtr property;
};

using PropertyFloat = PropertyFacade<f32>;
using PropertyFloat2 = PropertyFacade<Float2>;
using PropertyFloat3 = PropertyFacade<Float3>;
} // namespace pyzrm
