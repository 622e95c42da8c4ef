#pragma once

namespace platform
{
/// What the system answered to a call: 0 when it did as asked, otherwise its own number of the failure.
/// The numbers differ from system to system; shared code hands them on and compares none.
struct [[nodiscard]] Error
{
    int number = 0;

    explicit operator bool() const noexcept { return number != 0; }

    /// The system's English text for the number, whatever the locale: "No such file or directory". Never null; for an
    /// unknown number it says so. Valid until the same thread asks for another text.
    const char* text() const noexcept;

    friend bool operator==(Error, Error) = default;
};
} // namespace platform
