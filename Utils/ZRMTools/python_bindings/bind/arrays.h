#pragma once

#include <cstring>

#include <pybind11/numpy.h>

#include "bind/Place.h"
#include "inc/Arguments.h"

/// Copies of NumPy arrays, one index from 0 up to the array's size.
namespace pyzrm
{
/// `convert` makes a T of each value of a first axis that may have any stride and any alignment.
template <class T, class From, class Convert>
zr::vector<T> gather(const py::array& flat, Convert convert)
{
    zr::vector<T> values(static_cast<std::size_t>(flat.size()));
    const auto* source = static_cast<const char*>(flat.data());
    const py::ssize_t stride = values.empty() ? 0 : flat.strides(0);
    for (T& value : values)
    {
        From element;
        std::memcpy(&element, source, sizeof(From));
        value = convert(element);
        source += stride;
    }
    return values;
}

/// @throws py::index_error for a shape other than (N,) or (N, 1)
template <class T>
zr::vector<T> copyFlat(const py::array_t<T, py::array::forcecast>& flat)
{
    // The subscript that such a shape can't answer raises.
    const py::ssize_t count = flat.size();
    const py::ssize_t length = flat.ndim() > 0 ? flat.shape(0) : 0;
    if (length < count) static_cast<void>(flat.data(length));

    if (count == 0) return {};
    const T* first = flat.data();
    const bool isAligned = reinterpret_cast<std::uintptr_t>(first) % alignof(T) == 0;
    if (isAligned && flat.strides(0) == py::ssize_t(sizeof(T))) return zr::vector<T>(first, first + count);
    return gather<T, T>(flat, [](T element) { return element; });
}

/// Copies an array of shape (N,) whose values convert without a loss of meaning, as they would one by one; false, with
/// nothing done, for anything else.
bool copyExact(py::handle source, zr::vector<f32>& values, const Place& place);
bool copyExact(py::handle source, zr::vector<u32>& values, const Place& place);
} // namespace pyzrm
