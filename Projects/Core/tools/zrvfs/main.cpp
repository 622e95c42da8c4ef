// zrvfs: looks into directories and archives as the file system sees them.
#include <algorithm>
#include <cstdio>
#include <exception>
#include <string_view>

#include <zr/log/Control.h>
#include <zrvfs/fileErrors.h>

#include "verify.h"

namespace
{
using namespace zrvfs;

constexpr const char* kUsage = R"(usage: zrvfs COMMAND SOURCE[=MOUNT]... [PATH]
  ls      lists what lies below PATH, or everything; directories end in a slash
  cat     writes the content of the file PATH to standard output
  stat    prints type, size and time of PATH; an archive may keep more in the time than seconds
  verify  reads every file of every source, or those below PATH, and says which are damaged

SOURCE is a directory, a zip archive or a ZRCZ archive, and stands at MOUNT, which is / by default. An earlier source is
served before a later one. The last argument is PATH if it begins with a slash and has no "=", and is not the only one.
Exit status: 0, 1 if something is damaged, can't be mounted or isn't there, 2 for a wrong usage.
)";

constexpr int kFailed = 1;
constexpr int kUsageError = 2;

int usage()
{
    std::fputs(kUsage, stderr);
    return kUsageError;
}

/// Puts one SOURCE[=MOUNT] into the tree.
bool mountSource(std::string_view argument)
{
    std::size_t cut = argument.rfind("=/");
    if (cut == 0) cut = argument.npos;
    const zr::string source(argument.substr(0, cut));
    const zr::string mountPoint(cut == argument.npos ? "/" : argument.substr(cut + 1));
    try
    {
        return manager().mount(source.c_str(), mountPoint.c_str(), true, "zrvfs", false) != kNoMount;
    }
    catch (const std::exception& error)
    {
        std::fprintf(stderr, "%s: %s\n", source.c_str(), error.what());
        return false;
    }
}

/// Lists a directory and all below it. What is still to list is a list of its own: trees may be deep.
int list(std::string_view path)
{
    FileStat stat;
    if (path != "/" && (!manager().stat(path, stat) || stat.type != kDirectory))
    {
        std::fprintf(stderr, "There is no directory %.*s\n", ZR_VIEW(path));
        return kFailed;
    }
    zr::vector<zr::string> directories(1, zr::string(path));
    while (!directories.empty())
    {
        const zr::string directory = std::move(directories.back());
        directories.pop_back();
        zr::vector<ListedEntry> entries;
        manager().listEntries(entries, directory, nullptr, false);
        std::ranges::sort(entries, {}, &ListedEntry::name);
        for (const ListedEntry& entry : entries)
            std::printf("%s%s\n", entry.name.c_str(), entry.type == kDirectory ? "/" : "");
        for (auto entry = entries.rbegin(); entry != entries.rend(); ++entry)
            if (entry->type == kDirectory) directories.push_back(entry->name);
    }
    return 0;
}

int show(std::string_view path)
{
    zr::BufferRef content;
    manager().openBuffer(content, path, false);
    if (!content) return kFailed;
    return std::fwrite(content->data(), 1, content->size(), stdout) == content->size() ? 0 : kFailed;
}

int printStat(std::string_view path)
{
    FileStat stat;
    if (!manager().stat(path, stat))
    {
        std::fprintf(stderr, "There is no %.*s\n", ZR_VIEW(path));
        return kFailed;
    }
    std::printf("%s %llu %lld\n", stat.type == kDirectory ? "directory" : "file",
                static_cast<unsigned long long>(stat.size), static_cast<long long>(stat.time));
    return 0;
}

int verifyAll(std::string_view path)
{
    const Verified verified = verify(manager(), path, stdout);
    std::printf("%llu files, %llu damaged\n", static_cast<unsigned long long>(verified.files),
                static_cast<unsigned long long>(verified.damaged));
    return verified.damaged == 0 ? 0 : kFailed;
}

struct Command
{
    std::string_view name;
    int (*run)(std::string_view path);
    bool needsPath;
};

constexpr Command kCommands[] = {
    {"ls", list, false}, {"cat", show, true}, {"stat", printStat, true}, {"verify", verifyAll, false}};
} // namespace

int main(int count, char** arguments)
{
    if (count < 3) return usage();
    const auto command = std::ranges::find(kCommands, std::string_view(arguments[1]), &Command::name);
    if (command == std::end(kCommands)) return usage();
    const std::string_view last = arguments[count - 1];
    const bool hasPath = count > 3 && last.starts_with('/') && last.find('=') == last.npos;
    if (command->needsPath && !hasPath) return usage();

    zr::log::setConsoleFormat(zr::log::kLabel);
    zr::log::start({.synchronous = true}); // and what is for debugging alone isn't shown
    bool isWhole = true;
    for (int i = 2; i < count - (hasPath ? 1 : 0); ++i)
        isWhole = mountSource(arguments[i]) && isWhole;
    const int status = command->run(hasPath ? last : "/");
    zr::log::stop();
    return std::fflush(stdout) == 0 && isWhole ? status : kFailed;
}
