#include <zr/exceptions.h>

#include <zlib.h>
#include <zstd.h>

namespace zr
{
namespace
{
const char* zlibText(i32 code)
{
    // zlib indexes its table of texts without a test.
    return code < Z_VERSION_ERROR || code > Z_NEED_DICT ? "" : zError(code);
}
} // namespace

ZlibError::ZlibError(i32 returnCode, const char* text) : ReadError(text ? text : zlibText(returnCode)), code(returnCode)
{
}

ZstdError::ZstdError(u64 returnCode)
    : ReadError(ZSTD_getErrorName(static_cast<std::size_t>(returnCode))),
      code(returnCode)
{
}
} // namespace zr
