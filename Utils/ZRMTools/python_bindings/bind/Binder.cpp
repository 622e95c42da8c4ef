#include "bind/Binder.h"

#include <algorithm>

namespace pyzrm
{
void checkCount(const py::args& given, const py::kwargs& keywords, std::span<const std::size_t> counts,
                const Place& call)
{
    if (!keywords.empty()) call.fail("arguments have no names");
    if (given.empty()) call.fail("self is missing");
    const std::size_t count = given.size() - 1;
    if (std::find(counts.begin(), counts.end(), count) != counts.end()) return;

    std::string wanted;
    for (const std::size_t possible : counts)
        wanted += (wanted.empty() ? "" : " or ") + std::to_string(possible);
    call.fail(wanted + (wanted == "1" ? " argument" : " arguments") + " expected, " + std::to_string(count) + " given");
}
} // namespace pyzrm
