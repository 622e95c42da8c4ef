#include <zr/checked.h>

#include <stdexcept>

namespace zr
{
void raiseBadIndex()
{
    throw std::out_of_range("Expected idx < size()");
}

void detail::raiseEmptyBack()
{
    throw std::out_of_range("Expected !empty()");
}

void detail::raiseEmptyFront(bool isDeque)
{
    throw std::out_of_range(isDeque ? "Call front() on empty deque." : "Call front() on empty vector.");
}
} // namespace zr
