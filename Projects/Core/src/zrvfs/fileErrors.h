#pragma once

#include <string_view>

#include <platform/error.h>

namespace zrvfs
{
/// Logs that an operation on a file failed, with the system's text and number.
///
/// operation  printf-style, as "ReadFile(%d)"
[[gnu::format(printf, 3, 4)]] void reportFileError(std::string_view file, platform::Error error, const char* operation,
                                                   ...);

/// A path for a log line: "%.*s" takes both.
#define ZR_VIEW(view) static_cast<int>((view).size()), (view).data()
} // namespace zrvfs
