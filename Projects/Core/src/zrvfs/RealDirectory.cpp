#include <zrvfs/RealDirectory.h>

#include <algorithm>

namespace zrvfs
{
platform::Error listRealDirectory(const zr::string& directory, zr::vector<RealName>& names)
{
    names.clear();
    const platform::Error error = platform::forEachName(
        directory.c_str(),
        [](void* context, const char* name, platform::NameKind kind)
        {
            if (name[0] == '.' || kind == platform::NameKind::kOther) return;
            static_cast<zr::vector<RealName>*>(context)->push_back({name, kind});
        },
        &names);
    std::sort(names.begin(), names.end(), [](const RealName& a, const RealName& b) { return a.name < b.name; });
    return error;
}
} // namespace zrvfs
