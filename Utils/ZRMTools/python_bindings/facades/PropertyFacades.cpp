#include "inc/PropertyFacades.h"

namespace pyzrm
{
namespace
{
/// The name until the place that takes the property gives it another.
constexpr const char* kName = "_DUMMY_NAME_";

template <class V, class S, class Convert>
model::Keys<V> convertKeys(const KeyList<S>& list, Convert convert)
{
    model::Keys<V> keys;
    keys.reserve(list.size());
    for (const auto& [time, value] : list)
        keys.push_back({time, convert(value)});
    return keys;
}
} // namespace

model::Keys<f32> toKeys(const KeyList<f32>& list)
{
    return convertKeys<f32>(list, [](f32 value) { return value; });
}

void PropertyFloat::set(f32 value)
{
    property = makeStatic(kName, value);
}

void PropertyFloat::setAnim(WholeNumber argument, const KeyList<f32>& keys, bool reduce)
{
    property = makeAnimated(kName, argument.asHandle(), toKeys(keys), reduce);
}

void PropertyFloat2::set(const Float2& value)
{
    property = makeStatic(kName, toVec2f(value));
}

void PropertyFloat2::setAnim(WholeNumber argument, const KeyList<Float2>& keys)
{
    property = makeAnimated(kName, argument.asHandle(), convertKeys<model::vec2f>(keys, toVec2f), /*reduce=*/true);
}

void PropertyFloat3::set(const Float3& value)
{
    property = makeStatic(kName, toVec3f(value));
}

void PropertyFloat3::setAnim(WholeNumber argument, const KeyList<Float3>& keys)
{
    property = makeAnimated(kName, argument.asHandle(), convertKeys<model::vec3f>(keys, toVec3f), /*reduce=*/true);
}
} // namespace pyzrm
