#pragma once

#include <fstream>
#include <functional>
#include <iterator>
#include <string>

#include <pty.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

/// Where the core's lines go while they are tested.
namespace capture
{
/// A regular file that is gone with its object.
struct File
{
    const int descriptor = memfd_create("test", 0);
    const std::string path = "/proc/" + std::to_string(getpid()) + "/fd/" + std::to_string(descriptor);

    ~File() { close(descriptor); }

    std::string content() const
    {
        std::ifstream file(path, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }
};

/// What `action` writes to standard error.
inline std::string standardErrorOf(const std::function<void()>& action)
{
    const File file;
    const int before = dup(STDERR_FILENO);
    dup2(file.descriptor, STDERR_FILENO);
    action();
    dup2(before, STDERR_FILENO);
    close(before);
    return file.content();
}

/// The end of a child process: its exit status, or minus the signal that ended it.
inline int endOf(pid_t child)
{
    int status = 0;
    waitpid(child, &status, 0);
    return WIFSIGNALED(status) ? -WTERMSIG(status) : WEXITSTATUS(status);
}

/// What stands on a terminal, with what was typed, where `action` ran as a process of its own.
inline std::string onTerminal(const std::string& typed, const std::function<void()>& action)
{
    int terminal = -1;
    const pid_t child = forkpty(&terminal, nullptr, nullptr, nullptr);
    if (child == 0)
    {
        alarm(10); // whoever waits for more input fails
        action();
        _exit(0);
    }
    std::string shown(write(terminal, typed.data(), typed.size()) < 0 ? "could not type" : "");
    char part[4096];
    for (ssize_t count; (count = read(terminal, part, sizeof(part))) > 0;)
        shown.append(part, static_cast<std::size_t>(count));
    close(terminal);
    std::erase(shown, '\r');
    return shown + "\nend: " + std::to_string(endOf(child));
}

/// How often `part` stands in `text`.
inline std::size_t countOf(const std::string& text, const std::string& part)
{
    std::size_t count = 0;
    for (std::size_t at = 0; (at = text.find(part, at)) != std::string::npos; ++at)
        ++count;
    return count;
}
} // namespace capture
