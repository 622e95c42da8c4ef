#pragma once

#include <cstring>

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include "inc/Arguments.h"
#include "inc/Facade.h"

/// How the values of scripts become the arguments of facades. A caster that gives false makes pybind11 raise its
/// TypeError; an exception goes to the script as it is.
namespace pybind11::detail
{
/// pybind11 by itself makes null of None, and fresh memory of an object whose `__init__` never ran.
template <class T>
struct type_caster<pyzrm::Ref<T>>
{
    static constexpr auto name = make_caster<T>::name;
    template <class>
    using cast_op_type = pyzrm::Ref<T>;

    bool load(handle source, bool)
    {
        make_caster<std::shared_ptr<T>> loaded;
        try
        {
            if (!loaded.load(source, /*convert=*/false)) return false;
        }
        catch (const cast_error&)
        {
            throw type_error(className(source) + ".__init__() was not called");
        }
        // Python lets a script assign `__class__`; what counts is the object behind it. Just to refuse it would make
        // pybind11 show the object in its message, by a `__repr__` that refuses it again, without end.
        if (!dynamic_cast<T*>(static_cast<pyzrm::Facade*>(loaded.value)))
            throw type_error("The object was not made as a " + className(source));
        facade = static_cast<std::shared_ptr<T>&>(loaded);
        return true;
    }

    operator pyzrm::Ref<T>() { return pyzrm::Ref<T>(facade); }

private:
    static std::string className(handle object) { return str(type::handle_of(object).attr("__name__")); }

    std::shared_ptr<T> facade;
};

template <>
struct type_caster<pyzrm::WholeNumber>
{
    PYBIND11_TYPE_CASTER(pyzrm::WholeNumber, const_name("int"));

    bool load(handle source, bool)
    {
        const auto whole = reinterpret_steal<object>(PyNumber_Index(source.ptr()));
        if (!whole)
        {
            PyErr_Clear();
            return false;
        }
        int overflow = 0;
        value.value = PyLong_AsLongLongAndOverflow(whole.ptr(), &overflow);
        return !overflow && value.value >= INT32_MIN && value.value <= UINT32_MAX;
    }
};

/// Takes an array of the very type, or what NumPy makes one of, with a single index from 0 up to its size.
template <class T>
struct type_caster<pyzrm::FlatArray<T>>
{
    using Array = array_t<T, array::forcecast>;
    static constexpr auto name = make_caster<Array>::name;
    template <class>
    using cast_op_type = pyzrm::FlatArray<T>;

    bool load(handle source, bool convert)
    {
        make_caster<Array> loaded;
        if (!loaded.load(source, convert)) return false;
        flat = cast_op<Array>(loaded);
        return true;
    }

    operator pyzrm::FlatArray<T>()
    {
        // The subscript that a shape other than (N,) or (N, 1) can't answer raises IndexError.
        const ssize_t count = flat.size();
        const ssize_t length = flat.ndim() > 0 ? flat.shape(0) : 0;
        if (length < count) static_cast<void>(flat.data(length));

        if (count == 0) return {};
        const T* first = flat.data();
        const bool isAligned = reinterpret_cast<std::uintptr_t>(first) % alignof(T) == 0;
        if (isAligned && flat.strides(0) == ssize_t(sizeof(T))) return {zr::vector<T>(first, first + count)};
        return {gather(reinterpret_cast<const char*>(first), flat.strides(0), count)};
    }

private:
    static zr::vector<T> gather(const char* source, ssize_t stride, ssize_t count)
    {
        zr::vector<T> values;
        values.reserve(static_cast<std::size_t>(count));
        for (ssize_t i = 0; i < count; ++i, source += stride)
        {
            T element;
            std::memcpy(&element, source, sizeof(T));
            values.push_back(element);
        }
        return values;
    }

    Array flat;
};
} // namespace pybind11::detail
