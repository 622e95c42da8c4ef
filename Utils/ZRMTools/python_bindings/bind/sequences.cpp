#include "bind/sequences.h"

#include <algorithm>
#include <iterator>

#include <pybind11/stl.h>

namespace pyzrm
{
namespace
{
/// Owns what a function of Python's gave; null means that it raised.
py::object own(PyObject* result)
{
    if (!result) throw py::error_already_set();
    return py::reinterpret_steal<py::object>(result);
}

std::size_t lengthOf(py::handle sequence)
{
    const py::ssize_t length = PySequence_Size(sequence.ptr());
    if (length < 0) throw py::error_already_set();
    return static_cast<std::size_t>(length);
}
/// The items of a list or tuple of Python's own, which can be had without any code of the script; null for others.
PyObject** itemsOf(py::handle source)
{
    const bool isPlain = PyList_CheckExact(source.ptr()) || PyTuple_CheckExact(source.ptr());
    return isPlain ? PySequence_Fast_ITEMS(source.ptr()) : nullptr;
}

/// At most `length` items by an iterator.
void iterate(py::handle source, std::size_t length, std::vector<py::object>& items)
{
    const py::object iterator = own(PyObject_GetIter(source.ptr()));
    while (items.size() < length)
    {
        PyObject* item = PyIter_Next(iterator.ptr());
        if (!item) break;
        items.push_back(own(item));
    }
    if (PyErr_Occurred()) throw py::error_already_set();
}
} // namespace

std::vector<py::object> snapshot(py::handle source, const Place& place)
{
    if (!py::detail::object_is_convertible_to_std_vector(source)) place.refuse("a list", source);
    const bool isSequence = PySequence_Check(source.ptr()) != 0;
    const py::object list =
        isSequence ? py::reinterpret_borrow<py::object>(source) : own(PySequence_List(source.ptr()));

    std::vector<py::object> items;
    const std::size_t length = lengthOf(list);
    items.reserve(length);
    if (PyObject** first = itemsOf(list))
        std::transform(first, first + length, std::back_inserter(items),
                       [](PyObject* item) { return py::reinterpret_borrow<py::object>(item); });
    else
        iterate(list, length, items);
    return items;
}

bool takeItems(py::handle source, std::span<py::object> items)
{
    if (!PySequence_Check(source.ptr()) || lengthOf(source) != items.size()) return false;
    PyObject** first = itemsOf(source);
    for (std::size_t i = 0; i < items.size(); ++i)
        items[i] = first ? py::reinterpret_borrow<py::object>(first[i])
                         : own(PySequence_GetItem(source.ptr(), static_cast<py::ssize_t>(i)));
    return true;
}
} // namespace pyzrm
