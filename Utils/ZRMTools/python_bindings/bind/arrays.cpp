#include "bind/arrays.h"

namespace pyzrm
{
namespace
{
/// A subclass can give other values than it holds.
bool isFlatArray(py::handle source)
{
    return Py_TYPE(source.ptr()) == py::detail::npy_api::get().PyArray_Type_ &&
           py::reinterpret_borrow<py::array>(source).ndim() == 1;
}

template <class T>
using Exact = py::array_t<T, py::array::forcecast>;

template <class T, class From, class Convert>
bool copyIf(py::handle source, zr::vector<T>& values, Convert convert)
{
    if (!py::isinstance<Exact<From>>(source)) return false;
    values = gather<T, From>(py::reinterpret_borrow<py::array>(source), convert);
    return true;
}
} // namespace

bool copyExact(py::handle source, zr::vector<f32>& values, const Place&)
{
    if (!isFlatArray(source)) return false;
    if (py::isinstance<Exact<f32>>(source))
    {
        values = copyFlat(py::reinterpret_borrow<Exact<f32>>(source));
        return true;
    }
    return copyIf<f32, f64>(source, values, [](f64 value) { return static_cast<f32>(value); });
}

bool copyExact(py::handle source, zr::vector<u32>& values, const Place& place)
{
    if (!isFlatArray(source)) return false;
    if (py::isinstance<Exact<u32>>(source))
    {
        values = copyFlat(py::reinterpret_borrow<Exact<u32>>(source));
        return true;
    }
    std::size_t index = 0;
    const auto checked = [&](auto value)
    {
        if (value < 0 || static_cast<u64>(value) > UINT32_MAX) place.at(index).refuse("an int from 0 to 4294967295");
        ++index;
        return static_cast<u32>(value);
    };
    return copyIf<u32, i64>(source, values, checked) || copyIf<u32, i32>(source, values, checked);
}
} // namespace pyzrm
