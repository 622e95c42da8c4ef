#pragma once

#include <string_view>

#include <zr/InlineString.h>

namespace zrvfs
{
/// Room for most paths without the heap.
using PathString = zr::InlineString<256>;

/// A path in the one form in which paths are compared: slashes for backslashes and for runs of either, no ".", no ".."
/// that has something before it to leave. A leading "./" vanishes, a trailing slash stays, ".." at the top of a
/// relative path stays. "/a/./b//c/../d" gives "/a/b/d", "/a/.." gives "".
///
/// lowerCase  gives each character of the Basic Multilingual Plane its Unicode simple lower-case form, whatever the
/// locale
///
/// Bytes that are no UTF-8 stay as they are.
PathString normalizePath(std::string_view path, bool lowerCase);

/// `normalizePath` for the place of a source on the real file system: one given as a relative path stays relative, also
/// where its dots cancel ("a/../b" is "b"), and one trailing slash goes. Empty for the working directory.
PathString normalizeSource(std::string_view path);

/// `head` and `tail` with one slash between them, unless a slash or backslash stands there already or either is empty;
/// not normalised.
void joinPath(std::string_view head, std::string_view tail, PathString& joined);
} // namespace zrvfs
