#pragma once

#include <pybind11/stl.h>

#include "bind/adopt.h"
#include "bind/read.h"

namespace pyzrm
{
/// Registers a class, without methods yet, so that all signatures can name it.
template <class T, class... Bases>
void declare(py::module_& m, const char* name)
{
    py::class_<T, Bases..., std::shared_ptr<T>>(m, name);
}

/// Reads the arguments behind self and calls `function` with them.
template <class... Args, class Function>
decltype(auto) callWith(const py::args& given, const Place& call, Function&& function)
{
    return [&]<std::size_t... I>(std::index_sequence<I...>) -> decltype(auto)
    {
        constexpr bool isOnly = sizeof...(Args) == 1;
        // Braces, as they fix the order.
        std::tuple<std::decay_t<Args>...> values{Reader<std::decay_t<Args>>::read(
            PyTuple_GET_ITEM(given.ptr(), I + 1), call.argument(isOnly ? 0 : I + 1))...};
        return function(std::get<I>(std::move(values))...);
    }(std::index_sequence_for<Args...>());
}

/// @throws py::type_error for keywords, or a number of arguments behind self that is none of `counts`
void checkCount(const py::args& given, const py::kwargs& keywords, std::span<const std::size_t> counts,
                const Place& call);

template <class R>
py::object toPython(R&& result)
{
    if constexpr (std::is_convertible_v<R, std::shared_ptr<Facade>>)
        return handOver(result);
    else
        return py::cast(std::forward<R>(result));
}

/// Adds constructors and methods to a declared class. pybind11 hands over the arguments as they came and `Reader`s make
/// values of them, self among them, so that no call reaches a facade that isn't there. Parameters have neither names
/// nor defaults, and no two constructors of a class take the same number.
template <class T>
class Binder
{
public:
    Binder() : type(py::type::of<T>()), className(py::str(type.attr("__name__"))) {}

    template <class... Args>
    Binder& constructor()
    {
        if (!constructors) defineConstructor();
        constructors->counts.push_back(sizeof...(Args));
        constructors->makers.push_back(
            [](const py::args& given, const Place& call)
            {
                return callWith<Args...>(given, call, [](auto&&... values)
                                         { return std::make_shared<T>(std::forward<decltype(values)>(values)...); });
            });
        return *this;
    }

    template <class C, class R, class... Args>
    Binder& method(const char* name, R (C::*function)(Args...))
    {
        return define<Args...>(name, [function](T& self, std::decay_t<Args>&&... args) -> R
                               { return (self.*function)(std::forward<Args>(args)...); });
    }

    template <class C, class R, class... Args>
    Binder& method(const char* name, R (C::*function)(Args...) const)
    {
        return define<Args...>(name, [function](const T& self, std::decay_t<Args>&&... args) -> R
                               { return (self.*function)(std::forward<Args>(args)...); });
    }

    /// A method that calls `function(T&, Args...)`.
    template <class... Args, class Function>
    Binder& define(const char* name, Function function)
    {
        return add(name, name,
                   [function](const py::args& given, const py::kwargs& keywords, const Place& call)
                   {
                       const std::size_t count = sizeof...(Args);
                       checkCount(given, keywords, {&count, 1}, call);
                       const Ref<T> self = Reader<Ref<T>>::read(PyTuple_GET_ITEM(given.ptr(), 0), call);
                       return callWith<Args...>(given, call, [&](auto&&... values)
                                                { return run(function, *self, std::move(values)...); });
                   });
    }

    /// "pyzrm::Name(", what `describe(const T&)` says, ")".
    template <class Describe>
    Binder& repr(const char* nativeName, Describe describe)
    {
        return define<>("__repr__", [nativeName, describe](const T& self)
                        { return zr::string("pyzrm::") + nativeName + "(" + zr::string(describe(self)) + ")"; });
    }

private:
    struct Constructors
    {
        /// The numbers of arguments, and what makes an object of so many.
        std::vector<std::size_t> counts;
        std::vector<std::shared_ptr<T> (*)(const py::args& given, const Place& call)> makers;
    };

    template <class Function, class... Args>
    static py::object run(const Function& function, T& self, Args&&... args)
    {
        if constexpr (std::is_void_v<decltype(function(self, std::move(args)...))>)
        {
            function(self, std::move(args)...);
            return py::none();
        }
        else
            return toPython(function(self, std::move(args)...));
    }

    template <class Function>
    Binder& add(const char* name, const char* pythonName, Function function)
    {
        const std::string text = className + "." + name + "()";
        type.attr(name) = py::cpp_function(
            [function, text](const py::args& given, const py::kwargs& keywords) -> py::object
            { return function(given, keywords, Place(text.c_str())); }, py::name(pythonName), py::is_method(type));
        return *this;
    }

    /// Other than pybind11's own, this takes neither an object of a derived class, whose memory isn't ours, nor one
    /// that was constructed while the arguments were converted.
    void defineConstructor()
    {
        constructors = std::make_shared<Constructors>();
        const auto construct =
            [all = constructors](const py::args& given, const py::kwargs& keywords, const Place& call)
        {
            checkCount(given, keywords, all->counts, call);
            auto slot = slotOf(PyTuple_GET_ITEM(given.ptr(), 0), call);
            std::size_t match = 0;
            while (all->counts[match] + 1 != given.size())
                ++match;
            const std::shared_ptr<T> made = all->makers[match](given, call);
            if (!slot.holder_constructed()) adopt(slot, made.get(), &made);
            return py::none();
        };
        // Under the bare name pybind11 would treat it as one of its own.
        add("__init__", (className + ".__init__").c_str(), construct);
    }

    /// Where the memory of an object has its T.
    static py::detail::value_and_holder slotOf(py::handle self, const Place& call)
    {
        const py::detail::type_info* info = py::detail::get_type_info(typeid(T), /*throw_if_missing=*/true);
        if (PyObject_TypeCheck(self.ptr(), info->type))
        {
            auto* object = reinterpret_cast<py::detail::instance*>(self.ptr());
            auto slot = object->get_value_and_holder(info, /*throw_if_missing=*/false);
            if (slot.inst) return slot;
        }
        call.refuse("an object of the very class", self);
    }

    py::object type;
    std::string className;
    std::shared_ptr<Constructors> constructors;
};

void declareClasses(py::module_& m);
void bindStartAndStop(py::module_& m);
void bindLog(py::module_& m);
void bindModel();
void bindNodes();
void bindBlocks();
void bindFakeLights();
void bindShells();
void bindLights();
void bindProperties();
void bindRenderNodes();
} // namespace pyzrm
