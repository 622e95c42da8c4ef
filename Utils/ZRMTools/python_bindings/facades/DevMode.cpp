#include "inc/DevMode.h"

#include "platform/files.h"
#include "platform/module.h"
#include <zr/containers.h>

namespace pyzrm
{
namespace
{
bool findMarker()
{
    static const char kAnchor = 0;
    char path[4096];
    const std::size_t length = platform::getModulePath(&kAnchor, path, sizeof(path));
    const zr::string file(path, length);
    // Without a separator the result is the marker in the current folder.
    const zr::string folder = file.substr(0, file.find_last_of("/\\") + 1);
    return length > 0 && platform::pathExists((folder + "dev_mode.json").c_str());
}

/// Looked for while the module is loaded, before any code of Python runs in it.
const bool devMode = findMarker();
} // namespace

bool isDevMode()
{
    return devMode;
}
} // namespace pyzrm
