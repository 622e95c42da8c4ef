#include "bind/adopt.h"

namespace pyzrm
{
void adopt(py::detail::value_and_holder& slot, void* facade, const void* owner)
{
    slot.value_ptr() = facade;
    try
    {
        slot.type->init_instance(slot.inst, owner);
    }
    catch (...)
    {
        slot.value_ptr() = nullptr;
        throw;
    }
}

py::object handOver(const std::shared_ptr<Facade>& facade)
{
    if (!facade) return py::none();
    const Facade& object = *facade;
    auto* type = py::detail::get_type_info(typeid(object), /*throw_if_missing=*/true);
    void* whole = dynamic_cast<void*>(facade.get());
    if (const py::handle known = py::detail::find_registered_python_instance(whole, type))
        return py::reinterpret_steal<py::object>(known);

    auto made = py::reinterpret_steal<py::object>(py::detail::make_new_instance(type->type));
    auto slot = reinterpret_cast<py::detail::instance*>(made.ptr())->get_value_and_holder(type);
    // `Facade` is the first base of each class, so a pointer to one has the same form whatever class it names.
    adopt(slot, whole, &facade);
    return made;
}
} // namespace pyzrm
