#include <zrvfs/fileErrors.h>

#include <cstdarg>
#include <cstdio>

#include <zr/log/Log.h>

namespace zrvfs
{
void reportFileError(std::string_view file, platform::Error error, const char* operation, ...)
{
    char text[1024];
    std::va_list arguments;
    va_start(arguments, operation);
    std::vsnprintf(text, sizeof(text), operation, arguments);
    va_end(arguments);
    ZR_LOG(zr::log::kCoreTag, zr::log::kError, "[%.*s] %s: %s (%d)", ZR_VIEW(file), text, error.text(), error.number);
}
} // namespace zrvfs
