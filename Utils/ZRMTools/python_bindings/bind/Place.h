#pragma once

#include <cstddef>
#include <string>

#include <pybind11/pybind11.h>

namespace pyzrm
{
namespace py = pybind11;

/// Where a value stands in the arguments of a call. Places are linked through the stack, so the text is only built for
/// a mistake. It stays short whatever the script passed: pybind11's own would show every argument in full.
class Place
{
public:
    /// The call itself, such as "Node.addChild()".
    explicit Place(const char* function) : text(function) {}

    /// The argument of a number from 1; 0 for the only one, which needs none.
    Place argument(std::size_t which) const { return {this, which ? "argument" : nullptr, which}; }
    /// The value at an index of the list that stands here.
    Place at(std::size_t index) const { return {this, isList ? "key" : "entry", index, /*isList=*/true}; }

    /// @throws py::type_error "Lod.__init__(): argument 2, entry 3: a float expected, not str"; without `found` the
    /// text ends before the comma
    [[noreturn]] void refuse(const std::string& wanted, py::handle found = {}) const;
    /// @throws py::type_error the same with any text behind the place
    [[noreturn]] void fail(const std::string& text) const;

private:
    Place(const Place* outerPlace, const char* what, std::size_t which, bool inList = false)
        : outer(outerPlace),
          text(what),
          number(which),
          isList(inList)
    {
    }

    std::string toString() const;

    const Place* outer = nullptr;
    const char* text;
    std::size_t number = 0;
    bool isList = false;
};
} // namespace pyzrm
