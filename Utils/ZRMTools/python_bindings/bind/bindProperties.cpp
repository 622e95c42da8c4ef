#include "bind/Binder.h"
#include "inc/PropertyFacades.h"

namespace pyzrm
{
void bindProperties()
{
    const auto text = [](const auto& facade) { return facade.get()->toString(); };

    Binder<PropertyFloat>()
        .constructor<>()
        .constructor<f32>()
        .constructor<WholeNumber, const KeyList<f32>&>()
        .constructor<WholeNumber, const KeyList<f32>&, bool>()
        .method("set", &PropertyFloat::set)
        .method("setAnim", &PropertyFloat::setAnim)
        .repr("PropertyFloat", text);
    Binder<PropertyFloat2>()
        .constructor<>()
        .constructor<const Float2&>()
        .constructor<WholeNumber, const KeyList<Float2>&>()
        .method("set", &PropertyFloat2::set)
        .method("setAnim", &PropertyFloat2::setAnim)
        .repr("PropertyFloat2", text);
    Binder<PropertyFloat3>()
        .constructor<>()
        .constructor<const Float3&>()
        .constructor<WholeNumber, const KeyList<Float3>&>()
        .method("set", &PropertyFloat3::set)
        .method("setAnim", &PropertyFloat3::setAnim)
        .repr("PropertyFloat3", text);
}
} // namespace pyzrm
