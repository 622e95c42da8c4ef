#pragma once

#include <memory>

#include <pybind11/pybind11.h>

#include "inc/Facade.h"

/// The one place where a facade and its Python object become a pair.
///
/// Left to itself pybind11 is given a bare pointer, makes a `std::shared_ptr` of it later, and frees the facade a
/// second time when that, or the entry in its table of objects, finds no memory. Here the facade has its owner before
/// pybind11 hears of it, and a Python object whose facade can't be entered lets go of it. What remains pybind11's own
/// is the memory of the Python object itself: where that runs out, nothing of ours exists yet.
namespace pyzrm
{
namespace py = pybind11;

/// Makes `owner` (a `std::shared_ptr` of the slot's class) the owner of what stands in the slot.
///
/// facade  the object as the slot's class
/// owner   taken over, or, when an exception ends the call, left alone
void adopt(py::detail::value_and_holder& slot, void* facade, const void* owner);

/// The Python object of a facade: the one that there is, or a new one of the class that the facade was made as.
py::object handOver(const std::shared_ptr<Facade>& facade);
} // namespace pyzrm
