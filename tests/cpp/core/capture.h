#pragma once

#include <csignal>
#include <cstdio>
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

/// What stands on a terminal, with what was typed, where `action` ran as a process of its own; then how that ended.
/// The session's leader outlives it until all is read: its end would hang up, and what is under way would be lost.
inline std::string onTerminal(const std::string& typed, const std::function<void()>& action)
{
    int terminal = -1;
    const pid_t leader = forkpty(&terminal, nullptr, nullptr, nullptr);
    if (leader == 0)
    {
        const pid_t child = fork();
        if (child == 0)
        {
            alarm(10); // whoever waits for more input fails
            action();
            _exit(0);
        }
        dprintf(STDOUT_FILENO, "\nend: %d\n", endOf(child));
        signal(SIGHUP, SIG_DFL); // nohup leaves it ignored
        pause();
    }
    std::string shown(write(terminal, typed.data(), typed.size()) < 0 ? "could not type" : "");
    char part[4096];
    while (shown.find("\nend: ") == std::string::npos || shown.back() != '\n')
    {
        const ssize_t count = read(terminal, part, sizeof(part));
        if (count <= 0) break;
        shown.append(part, static_cast<std::size_t>(count));
        std::erase(shown, '\r');
    }
    close(terminal); // hangs up on the leader
    endOf(leader);
    return shown;
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
