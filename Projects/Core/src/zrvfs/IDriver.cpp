#include <zrvfs/IDriver.h>

namespace zrvfs
{
Driver::Driver(const MountRequest& request, std::string_view location)
{
    tag = request.tag;
    path = location;
    source = request.source;
    mountPoint = request.mountPoint;
    id = request.id;
}
} // namespace zrvfs
