#include "verify.h"

#include <zlib.h>

#include <zrvfs/Drivers/ZDriver.h>
#include <zrvfs/fileErrors.h>

namespace zrvfs
{
namespace
{
zr::vector<DriverRef> driversOf(Manager& tree)
{
    zr::vector<DriverRef> drivers;
    tree.forEachDriver([](IDriver& driver, void* to)
                       { static_cast<zr::vector<DriverRef>*>(to)->push_back(DriverRef(&driver)); }, &drivers);
    return drivers;
}

/// One driver's files, in its own order.
class Verifier
{
public:
    Verifier(IDriver& checked, std::string_view below, std::FILE* output, Verified& counts)
        : driver(checked),
          zip(dynamic_cast<ZDriver*>(&checked)),
          path(below),
          out(output),
          verified(counts)
    {
    }

    static void see(void* context, zr::u64 index, std::string_view lowerPath, std::string_view shown, zr::u32 type)
    {
        Verifier& verifier = *static_cast<Verifier*>(context);
        if (type == kFile && verifier.isMeant(lowerPath)) verifier.verifyFile(index, shown);
    }

private:
    bool isMeant(std::string_view lowerPath) const
    {
        if (path.ends_with('/')) return lowerPath.starts_with(path);
        return lowerPath.starts_with(path) && (lowerPath.size() == path.size() || lowerPath[path.size()] == '/');
    }

    void verifyFile(zr::u64 index, std::string_view shown)
    {
        ++verified.files;
        char fault[128] = "";
        zr::BufferRef content;
        driver.openBuffer(content, index);
        FileStat stat;
        if (!content)
            std::snprintf(fault, sizeof(fault), "can't be read");
        else if (driver.stat(index, stat) && stat.size != content->size())
            std::snprintf(fault, sizeof(fault), "has %llu bytes instead of %llu",
                          static_cast<unsigned long long>(content->size()), static_cast<unsigned long long>(stat.size));
        else if (const zr::u32 crc = zip ? crcOf(*content) : 0; zip && crc != zip->getCrc32(index))
            std::snprintf(fault, sizeof(fault), "has the CRC-32 %08x instead of %08x", crc, zip->getCrc32(index));
        if (fault[0] == '\0') return;
        ++verified.damaged;
        std::fprintf(out, "damaged: %.*s of %s %s\n", ZR_VIEW(shown), driver.path.c_str(), fault);
    }

    static zr::u32 crcOf(const zr::IBuffer& content)
    {
        return static_cast<zr::u32>(crc32_z(crc32_z(0, nullptr, 0), content.data(), content.size()));
    }

    IDriver& driver;
    const ZDriver* const zip;
    const std::string_view path;
    std::FILE* const out;
    Verified& verified;
};
} // namespace

Verified verify(Manager& tree, std::string_view path, std::FILE* out)
{
    Verified verified;
    const PathString below = normalizePath(path, true);
    for (const DriverRef& driver : driversOf(tree))
    {
        Verifier verifier(*driver, below.view(), out, verified);
        driver->forEachEntry(Verifier::see, &verifier);
    }
    return verified;
}
} // namespace zrvfs
