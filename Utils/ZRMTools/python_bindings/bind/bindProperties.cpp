#include "bind/Binder.h"
#include "inc/PropertyFacades.h"

namespace pyzrm
{
namespace
{
/// What the three classes share; `V` is the value as a script gives it.
template <class V>
Binder<PropertyFacade<V>> bindShared()
{
    Binder<PropertyFacade<V>> binder;
    binder.template constructor<>()
        .template constructor<const V&>()
        .template constructor<WholeNumber, const KeyList<V>&>()
        .method("set", &PropertyFacade<V>::set);
    return binder;
}
} // namespace

void bindProperties()
{
    const auto text = [](const auto& facade) { return facade.get()->toString(); };

    bindShared<f32>()
        .constructor<WholeNumber, const KeyList<f32>&, bool>()
        .method("setAnim", &PropertyFloat::setAnim)
        .repr("PropertyFloat", text);
    bindShared<Float2>().method("setAnim", &PropertyFloat2::setReducedAnim).repr("PropertyFloat2", text);
    bindShared<Float3>().method("setAnim", &PropertyFloat3::setReducedAnim).repr("PropertyFloat3", text);
}
} // namespace pyzrm
