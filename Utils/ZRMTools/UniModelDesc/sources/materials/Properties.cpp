#include "materials/Properties.h"

#include <cmath>
#include <iterator>

#include <fmt/format.h>

#include "io/IBinaryFileW.h"

namespace model
{
namespace
{
/// What sets a property class apart: `kTag` and `kKind` of its objects and its name in registry and file.
template <class V>
struct Static;
template <class V>
struct Animated;

#define MODEL_PROPERTY(Table, V, number, mark, text)                                                                   \
    template <>                                                                                                        \
    struct Table<V>                                                                                                    \
    {                                                                                                                  \
        static constexpr u32 kKind = number;                                                                           \
        static constexpr char kTag[5] = mark;                                                                          \
        static constexpr const char* kClassName = text;                                                                \
    };

MODEL_PROPERTY(Static, f32, 0, "FLT1", "model::Property<float>")
MODEL_PROPERTY(Static, u32, 1, "INT1", "model::Property<unsigned int>")
MODEL_PROPERTY(Static, vec2f, 2, "FLT2", "model::Property<osg::Vec2f>")
MODEL_PROPERTY(Static, vec3f, 3, "FLT3", "model::Property<osg::Vec3f>")
MODEL_PROPERTY(Static, vec4f, 4, "FLT4", "model::Property<osg::Vec4f>")
MODEL_PROPERTY(Static, zr::string, 6, "STRG", "model::Property<const char*>")
MODEL_PROPERTY(Animated, f32, 0, "AFL1", "model::AnimatedProperty<float>")
MODEL_PROPERTY(Animated, vec2f, 2, "AFL2", "model::AnimatedProperty<osg::Vec2f>")
MODEL_PROPERTY(Animated, vec3f, 3, "AFL3", "model::AnimatedProperty<osg::Vec3f>")
MODEL_PROPERTY(Animated, vec4f, 4, "AFL4", "model::AnimatedProperty<osg::Vec4f>")
#undef MODEL_PROPERTY

constexpr char kArgumentTag[5] = "AARG";

constexpr f32 kTolerance = 1e-5f;

bool isEqualValue(f32 a, f32 b)
{
    return std::abs(a - b) <= kTolerance;
}
bool isEqualValue(u32 a, u32 b)
{
    return a == b;
}
bool isEqualValue(const zr::string& a, const zr::string& b)
{
    return a == b;
}
template <class V>
bool isEqualValue(const V& a, const V& b)
{
    for (int i = 0; i < V::num_components; ++i)
        if (!isEqualValue(a._v[i], b._v[i])) return false;
    return true;
}

template <class V>
bool isEqualKey(const Key<V>& a, const Key<V>& b)
{
    return std::abs(a.time - b.time) <= 1e-5 && isEqualValue(a.value, b.value);
}

void writeValue(io::IBinaryFileW& file, f32 value)
{
    file.writeF32(value);
}
void writeValue(io::IBinaryFileW& file, u32 value)
{
    file.writeU32(value);
}
void writeValue(io::IBinaryFileW& file, const vec2f& value)
{
    file.writeVec2f(value);
}
void writeValue(io::IBinaryFileW& file, const vec3f& value)
{
    file.writeVec3f(value);
}
void writeValue(io::IBinaryFileW& file, const vec4f& value)
{
    file.writeVec4f(value);
}
void writeValue(io::IBinaryFileW& file, const zr::string& value)
{
    file.writeString(value);
}

template <class... Args>
void print(zr::string& out, fmt::format_string<Args...> format, Args&&... args)
{
    fmt::format_to(std::back_inserter(out), format, std::forward<Args>(args)...);
}

void printValue(zr::string& out, f64 value)
{
    print(out, "{:f}", value);
}
void printValue(zr::string& out, u32 value)
{
    print(out, "{}", value);
}
void printValue(zr::string& out, const zr::string& value)
{
    out += '"';
    out += value;
    out += '"';
}
template <class V>
void printValue(zr::string& out, const V& value)
{
    print(out, "vec{}(", static_cast<int>(V::num_components));
    for (int i = 0; i < V::num_components; ++i)
    {
        if (i > 0) out += ',';
        printValue(out, static_cast<f64>(value._v[i]));
    }
    out += ')';
}
void printValue(zr::string& out, f32 value)
{
    printValue(out, static_cast<f64>(value));
}
} // namespace

template <class V>
StaticProperty<V>::StaticProperty() : IStaticProperty(Static<V>::kKind, Static<V>::kTag)
{
}

template <class V>
const char* StaticProperty<V>::getClassName() const
{
    return Static<V>::kClassName;
}

template <class V>
zr::string StaticProperty<V>::toString() const
{
    zr::string text = getName();
    text += " = ";
    printValue(text, value);
    text += ';';
    return text;
}

template <class V>
void StaticProperty<V>::accept(IPropertyVisitor& visitor)
{
    visitor.visit(*this);
}

template <class V>
void StaticProperty<V>::write(io::IBinaryFileW& file) const
{
    IProperty::write(file);
    writeValue(file, value);
}

template <class V>
bool StaticProperty<V>::equals(const PropertyPtr& other) const
{
    return isSameNameAndClass(other.get()) && isEqualValue(value, static_cast<const StaticProperty&>(*other).value);
}

template <class V>
AnimatedProperty<V>::AnimatedProperty() : IAnimatedProperty(Animated<V>::kKind, Animated<V>::kTag)
{
}

template <class V>
const char* AnimatedProperty<V>::getClassName() const
{
    return Animated<V>::kClassName;
}

template <class V>
zr::string AnimatedProperty<V>::toString() const
{
    zr::string text = getName();
    print(text, " = animation({}, ", argument);
    for (const Key<V>& key : keys)
    {
        printValue(text, key.time);
        text += ',';
        printValue(text, key.value);
        text += ',';
    }
    // The last separator goes, which without keys is only the blank of the one before them.
    text.pop_back();
    text += ");";
    return text;
}

template <class V>
void AnimatedProperty<V>::accept(IPropertyVisitor& visitor)
{
    visitor.visit(*this);
}

template <class V>
void AnimatedProperty<V>::write(io::IBinaryFileW& file) const
{
    IProperty::write(file);
    file.writeU32(argument);
    file.writeU32(static_cast<u32>(keys.size()));
    for (const Key<V>& key : keys)
    {
        file.writeF64(key.time);
        writeValue(file, key.value);
    }
}

template <class V>
bool AnimatedProperty<V>::equals(const PropertyPtr& other) const
{
    if (!isSameNameAndClass(other.get())) return false;
    const auto& same = static_cast<const AnimatedProperty&>(*other);
    return argument == same.argument &&
           std::equal(keys.begin(), keys.end(), same.keys.begin(), same.keys.end(), isEqualKey<V>);
}

ArgumentProperty::ArgumentProperty() : IAnimatedProperty(0, kArgumentTag) {}

const char* ArgumentProperty::getClassName() const
{
    return "model::ArgumentProperty";
}

zr::string ArgumentProperty::toString() const
{
    zr::string text = getName();
    print(text, " = argument({});", argument);
    return text;
}

void ArgumentProperty::accept(IPropertyVisitor& visitor)
{
    visitor.visit(*this);
}

void ArgumentProperty::write(io::IBinaryFileW& file) const
{
    IProperty::write(file);
    file.writeU32(argument);
}

bool ArgumentProperty::equals(const PropertyPtr& other) const
{
    return isSameNameAndClass(other.get()) && argument == static_cast<const ArgumentProperty&>(*other).argument;
}

template class StaticProperty<f32>;
template class StaticProperty<u32>;
template class StaticProperty<vec2f>;
template class StaticProperty<vec3f>;
template class StaticProperty<vec4f>;
template class StaticProperty<zr::string>;
template class AnimatedProperty<f32>;
template class AnimatedProperty<vec2f>;
template class AnimatedProperty<vec3f>;
template class AnimatedProperty<vec4f>;

void reportArgument(const IProperty* property, const std::function<void(u32)>& function)
{
    if (!property || !property->isAnimated()) return;
    const u32 argument = static_cast<const IAnimatedProperty*>(property)->argument;
    if (argument != kNoArgument) function(argument);
}
} // namespace model
