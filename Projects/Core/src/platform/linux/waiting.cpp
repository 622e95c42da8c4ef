#include <platform/waiting.h>

#include <cerrno>
#include <climits>

#include <linux/futex.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

namespace platform
{
bool waitOnWord(const std::uint32_t* word, std::uint32_t expected, std::int64_t nanoseconds) noexcept
{
    constexpr std::int64_t kSecond = 1'000'000'000;
    const timespec limit{static_cast<time_t>(nanoseconds / kSecond), static_cast<long>(nanoseconds % kSecond)};
    const bool limited = nanoseconds >= 0;
    const long result = syscall(SYS_futex, word, FUTEX_WAIT_PRIVATE, expected, limited ? &limit : nullptr, nullptr, 0);
    return result == 0 || errno != ETIMEDOUT;
}

void wakeOnWord(const std::uint32_t* word, std::uint32_t count) noexcept
{
    const int threads = count > INT_MAX ? INT_MAX : static_cast<int>(count);
    syscall(SYS_futex, word, FUTEX_WAKE_PRIVATE, threads, nullptr, nullptr, 0);
}
} // namespace platform
