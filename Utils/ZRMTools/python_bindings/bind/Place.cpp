#include "bind/Place.h"

namespace pyzrm
{
void Place::refuse(const std::string& wanted, py::handle found) const
{
    std::string problem = wanted + " expected";
    // An int that is refused for its size is no other thing than what was wanted.
    const bool isIntForInt = found && PyLong_Check(found.ptr()) && wanted.starts_with("an int");
    if (found && !isIntForInt) problem.append(", not ").append(Py_TYPE(found.ptr())->tp_name);
    fail(problem);
}

void Place::fail(const std::string& problem) const
{
    throw py::type_error(toString() + problem);
}

std::string Place::toString() const
{
    if (!outer) return std::string(text) + ": ";
    std::string before = outer->toString();
    if (!text) return before;
    // The list inside of an argument or of another list stands behind a comma.
    if (outer->outer && outer->text) before.replace(before.size() - 2, 2, ", ");
    return before + text + " " + std::to_string(number) + ": ";
}
} // namespace pyzrm
