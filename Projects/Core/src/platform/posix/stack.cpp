#include <platform/debugger.h>

#include <string>

#ifdef ZR_STD_STACKTRACE
#include <stacktrace>
#else
#include <boost/stacktrace.hpp>
#endif

namespace platform
{
namespace
{
constexpr std::size_t kFrames = 65535;
}

[[gnu::noinline]] void renderStack(std::size_t skip, void (*take)(void* context, const char* text, std::size_t size),
                                   void* context)
{
#ifdef ZR_STD_STACKTRACE
    const auto stack = std::stacktrace::current(static_cast<std::stacktrace::size_type>(skip + 1), kFrames);
    const std::string text = stack.empty() ? std::string() : std::to_string(stack);
#else
    const boost::stacktrace::stacktrace stack(skip + 1, kFrames);
    const std::string text = stack.empty() ? std::string() : boost::stacktrace::to_string(stack);
#endif
    if (!text.empty()) take(context, text.data(), text.size());
}
} // namespace platform
