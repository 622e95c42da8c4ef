#pragma once

#include <span>
#include <vector>

#include "bind/Place.h"

/// Copies of a script's sequences, taken before any value in them is converted. A conversion runs code of the script,
/// which can change the sequence, and a sequence of the script's own can claim another length each time it is asked.
namespace pyzrm
{
/// All items of what pybind11 takes for a list: a sequence that is no text, a set, a generator ... At most as many as
/// its length said when it was asked, once. An exception of the script passes through.
std::vector<py::object> snapshot(py::handle source, const Place& place);

/// Fills `items` from a sequence of exactly that length; false for anything else. An exception of the script passes
/// through.
bool takeItems(py::handle source, std::span<py::object> items);
} // namespace pyzrm
