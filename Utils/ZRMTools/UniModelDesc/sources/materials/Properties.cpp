#include "materials/Properties.h"

#include <cmath>
#include <iterator>

#include <fmt/format.h>

#include "materials/putKeys.h"

namespace model
{
namespace
{
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
zr::string StaticProperty<V>::toString() const
{
    zr::string text = this->getName();
    text += " = ";
    printValue(text, value);
    text += ';';
    return text;
}

template <class V>
void StaticProperty<V>::write(io::IBinaryFileW& file) const
{
    IProperty::write(file);
    io::put(file, value);
}

template <class V>
bool StaticProperty<V>::equals(const PropertyPtr& other) const
{
    return this->isSameNameAndClass(other.get()) &&
           isEqualValue(value, static_cast<const StaticProperty&>(*other).value);
}

template <class V>
zr::string AnimatedProperty<V>::toString() const
{
    zr::string text = this->getName();
    print(text, " = animation({}, ", this->argument);
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
void AnimatedProperty<V>::write(io::IBinaryFileW& file) const
{
    IProperty::write(file);
    io::put(file, this->argument);
    putKeys(file, keys);
}

template <class V>
bool AnimatedProperty<V>::equals(const PropertyPtr& other) const
{
    if (!this->isSameNameAndClass(other.get())) return false;
    const auto& same = static_cast<const AnimatedProperty&>(*other);
    return this->argument == same.argument &&
           std::equal(keys.begin(), keys.end(), same.keys.begin(), same.keys.end(), isEqualKey<V>);
}

zr::string ArgumentProperty::toString() const
{
    zr::string text = getName();
    print(text, " = argument({});", argument);
    return text;
}

void ArgumentProperty::write(io::IBinaryFileW& file) const
{
    IProperty::write(file);
    io::put(file, argument);
}

bool ArgumentProperty::equals(const PropertyPtr& other) const
{
    return isSameNameAndClass(other.get()) && argument == static_cast<const ArgumentProperty&>(*other).argument;
}

#define MODEL_INSTANTIATE(Name, Class, ...) template class Class;
MODEL_ANIMATED_PROPERTIES(MODEL_INSTANTIATE)
MODEL_STATIC_PROPERTIES(MODEL_INSTANTIATE)
#undef MODEL_INSTANTIATE

void reportArgument(const IProperty* property, const std::function<void(u32)>& function)
{
    if (!property || !property->isAnimated()) return;
    const u32 argument = static_cast<const IAnimatedProperty*>(property)->argument;
    if (argument != kNoArgument) function(argument);
}
} // namespace model
