#pragma once

#include "bind/casters.h"

namespace pyzrm
{
namespace py = pybind11;

/// The memory of an object of class T whose `__init__` is being called.
template <class T>
struct NewObject
{
    py::detail::value_and_holder slot;
};

/// Registers a class, without methods yet, so that all signatures can name it.
template <class T, class... Bases>
void declare(py::module_& m, const char* name)
{
    py::class_<T, Bases..., std::shared_ptr<T>>(m, name);
}

/// Adds constructors and methods to a declared class. Each method takes self as a `Ref`, so that no call reaches a
/// facade that isn't there; parameters have neither names nor defaults.
template <class T>
class Binder
{
public:
    Binder() : type(py::type::of<T>()) {}

    /// Other than pybind11's own, this takes neither an object of a derived class, whose memory isn't ours, nor one
    /// that was constructed while the arguments were converted.
    template <class... Args>
    Binder& constructor()
    {
        const auto construct = [](NewObject<T> object, Args... args)
        {
            if (object.slot.holder_constructed()) return;
            object.slot.value_ptr() = new T(std::forward<Args>(args)...);
            object.slot.type->init_instance(object.slot.inst, nullptr);
        };
        // Under the bare name pybind11 would treat it as one of its own.
        const std::string name = std::string(py::str(type.attr("__name__"))) + ".__init__";
        const py::object overloads = hasConstructor ? py::getattr(type, "__init__") : py::none();
        type.attr("__init__") =
            py::cpp_function(construct, py::name(name.c_str()), py::is_method(type), py::sibling(overloads));
        hasConstructor = true;
        return *this;
    }

    template <class C, class R, class... Args>
    Binder& method(const char* name, R (C::*function)(Args...))
    {
        return method(name,
                      [function](Ref<T> self, Args... args) -> R
                      { return ((*self).*function)(std::forward<Args>(args)...); });
    }

    template <class C, class R, class... Args>
    Binder& method(const char* name, R (C::*function)(Args...) const)
    {
        return method(name,
                      [function](Ref<T> self, Args... args) -> R
                      { return ((*self).*function)(std::forward<Args>(args)...); });
    }

    template <class Function>
    Binder& method(const char* name, Function&& function)
    {
        type.attr(name) = py::cpp_function(std::forward<Function>(function), py::name(name), py::is_method(type),
                                           py::sibling(py::getattr(type, name, py::none())));
        return *this;
    }

    /// "pyzrm::Name(", what `describe(const T&)` says, ")".
    template <class Describe>
    Binder& repr(const char* className, Describe describe)
    {
        return method("__repr__", [className, describe](Ref<T> self)
                      { return zr::string("pyzrm::") + className + "(" + zr::string(describe(*self)) + ")"; });
    }

private:
    py::object type;
    bool hasConstructor = false;
};

void declareClasses(py::module_& m);
void bindModel();
void bindNodes();
void bindBlocks();
void bindFakeLights();
void bindShells();
void bindLights();
void bindProperties();
void bindRenderNodes();
} // namespace pyzrm

template <class T>
struct pybind11::detail::type_caster<pyzrm::NewObject<T>>
{
    static constexpr auto name = make_caster<T>::name;
    template <class>
    using cast_op_type = pyzrm::NewObject<T>;

    bool load(handle source, bool)
    {
        const type_info* info = get_type_info(typeid(T), /*throw_if_missing=*/true);
        if (!PyObject_TypeCheck(source.ptr(), info->type)) return false;
        object.slot = reinterpret_cast<instance*>(source.ptr())->get_value_and_holder(info, /*throw_if_missing=*/false);
        return object.slot.inst != nullptr;
    }

    operator pyzrm::NewObject<T>() { return object; }

private:
    pyzrm::NewObject<T> object;
};
