// The scan of a zip archive and the reading of its members.
#include <zrvfs/Drivers/ZipArchive.h>

#include "support.h"

namespace
{
struct Scan
{
    const fuzz::Bytes& archive;
    zr::u64 expected = 0;
    zr::u64 members = 0;

    static void expect(void* context, zr::u64 count) { static_cast<Scan*>(context)->expected = count; }
    static void see(void* context, const zrvfs::ZipMember& member) { static_cast<Scan*>(context)->read(member); }

    void read(const zrvfs::ZipMember& member)
    {
        fuzz::check(++members <= expected && expected <= archive.size() / 46);
        fuzz::checkPaths(member.name, member.isDirectory);
        zrvfs::ZipContent content;
        // Many members may claim the same bytes; a few are enough.
        if (members > 8 || !zrvfs::findZipContent(archive, member.localHeaderOffset, content)) return;
        if (const zr::BufferRef stored = zrvfs::readStored(archive, content, member.uncompressedSize))
            checkContent(*stored, member.uncompressedSize);
        int result;
        const zr::BufferRef inflated =
            zrvfs::readDeflated(archive, content, member.compressedSize, member.uncompressedSize, result);
        if (inflated) checkContent(*inflated, member.uncompressedSize);
    }

    static void checkContent(const zr::IBuffer& content, zr::u64 size)
    {
        fuzz::check(content.size() == size);
        volatile zr::u8 sum = 0; // each byte is there to read
        for (const zr::u8 byte : content.bytes())
            sum = sum ^ byte;
    }
};
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const fuzz::Bytes archive(data, size);
    Scan scan{archive};
    zrvfs::scanZip(archive, Scan::expect, Scan::see, &scan);
    return 0;
}
