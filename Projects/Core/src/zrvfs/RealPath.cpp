#include <zrvfs/RealPath.h>

#include <platform/directories.h>
#include <zr/text/LowerCase.h>

namespace zrvfs
{
namespace
{
/// The search for a name in a directory, without regard to case.
struct Search
{
    zr::string wanted; ///< in lower case
    zr::string found;

    static void see(void* context, const char* name, platform::NameKind)
    {
        Search& search = *static_cast<Search*>(context);
        if (!search.found.empty() && search.found <= name) return;
        if (zr::toLowerCase(name) == search.wanted) search.found = name;
    }
};
} // namespace

zr::string findRealPath(std::string_view path)
{
    zr::string found(path.starts_with('/') ? "/" : "");
    for (std::size_t at = 0; at < path.size();)
    {
        const std::size_t end = std::min(path.find('/', at), path.size());
        const std::string_view name = path.substr(at, end - at);
        at = end + 1;
        if (name.empty()) continue;
        zr::string next = found;
        if (!next.empty() && !next.ends_with('/')) next += '/';
        next += name;
        if (!platform::pathExists(next.c_str()))
        {
            Search search{zr::toLowerCase(name), {}};
            static_cast<void>(platform::forEachName(found.empty() ? "." : found.c_str(), Search::see, &search));
            if (search.found.empty()) return zr::string(path);
            next.replace(next.size() - name.size(), name.size(), search.found);
        }
        found = std::move(next);
    }
    return found.empty() ? zr::string(".") : found;
}
} // namespace zrvfs
