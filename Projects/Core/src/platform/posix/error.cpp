#include <platform/error.h>

#include <cstring>

#include <locale.h>

namespace platform
{
const char* Error::text() const noexcept
{
    // A program that set a locale would get translated texts from strerror. Made once and never freed.
    static const locale_t english = newlocale(LC_ALL_MASK, "C", nullptr);
    const char* const found = english ? strerror_l(number, english) : nullptr;
    return found ? found : "Unknown error";
}
} // namespace platform
