#pragma once

#include <functional>
#include <string_view>

#include <zr/assert/Assert.h>

/// The rules by which a person silenced an assertion; each lives until the process ends. Under the caller's lock.
namespace zr
{
/// What must be equal for a rule to hold. A sum of these.
enum SkipFlag : u8
{
    kSameLocation = 1,
    kSameFunction = 2,
    kSameMessage = 4,
    kSameCallstack = 8,
};

/// A failed assertion, as a rule sees it. The texts are zero-terminated.
struct Failure
{
    const source_location_internal& location;
    const char* message; ///< empty: none
    const basic_string<char>& callstack;
};

/// Silences later failures that agree with this one in everything that `flags` name.
void addSkipRule(u8 flags, const Failure& failure);

/// Whether some rule silences the failure.
bool isSkipped(const Failure& failure);
} // namespace zr
