#pragma once

#include <string_view>

#include <zr/types.h>

/// The questions of a failed assertion, on the controlling terminal.
namespace zr
{
enum class AssertChoice
{
    Abort,
    Retry, ///< break into a debugger
    Ignore,
};

struct AssertAnswer
{
    AssertChoice choice = AssertChoice::Abort;
    u8 skipFlags = 0; ///< the marks beside Ignore, of `SkipFlag`
};

/// Shows the report and waits for one of the three choices; Abort where nobody can be asked.
/// offered  the marks that may be set, of `SkipFlag`
AssertAnswer askAboutAssertion(std::string_view report, u8 offered) noexcept;

/// Says that no debugger could be started.
void tellDebuggerIsMissing() noexcept;
} // namespace zr
