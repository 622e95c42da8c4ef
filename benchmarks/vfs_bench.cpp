// The tree of mounts against PhysicsFS and libzip, and against nothing but zlib or a copy, on the same archives:
//     vfs_bench [MEGABYTES [ROUNDS [only-reading]]]
// The rivals take turns, piece by piece, and of each piece the best round counts, so that what else the machine does
// touches all of them alike and mostly falls out.
#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <numeric>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <fmt/format.h>
#include <malloc.h>
#include <physfs.h>
#include <unistd.h>
#include <zip.h>
#include <zlib.h>

#include "support/measure.h"
#include <zr/log/Control.h>
#include <zrvfs/Drivers/ZipArchive.h>
#include <zrvfs/VFSManager.h>

namespace
{
using Bytes = std::vector<zr::u8>;
namespace fs = std::filesystem;

constexpr int kMembers = 100000;
constexpr int kLookups = 1000000;
int readRounds = 5;

void need(bool holds, const char* what)
{
    if (holds) return;
    std::fprintf(stderr, "failed: %s\n", what);
    std::exit(1);
}

/// A rival does a piece of the work; what it does between pieces isn't timed.
struct Rival
{
    const char* name;
    std::function<void(std::size_t piece)> work;
    std::function<void()> between = [] {};
};

std::vector<double> race(std::size_t pieces, const std::vector<Rival>& rivals, int rounds)
{
    std::vector<double> total(rivals.size());
    for (std::size_t piece = 0; piece < pieces; ++piece)
    {
        std::vector<double> best(rivals.size(), 1e9);
        for (int round = 0; round < rounds; ++round)
            for (std::size_t i = 0; i < rivals.size(); ++i)
            {
                best[i] = std::min(best[i], bench::secondsOf([&] { rivals[i].work(piece); }));
                rivals[i].between();
            }
        for (std::size_t i = 0; i < rivals.size(); ++i)
            total[i] += best[i];
    }
    return total;
}

/// A row for each rival of the first; `aim` holds for the ratio to the rival of that name.
void report(const std::string& row, const std::vector<Rival>& rivals, const std::vector<double>& values,
            const char* unit, std::string_view aimed = "", double aim = bench::kNoAim)
{
    for (std::size_t i = 1; i < rivals.size(); ++i)
        bench::row(fmt::format("{}, {}", row, rivals[i].name), values[0] / values[i],
                   aimed == rivals[i].name ? aim : bench::kNoAim,
                   fmt::format("{} ({:.3f} {}, {:.3f} {})", rivals[i].name, values[0], unit, values[i], unit));
}

/// Deals the numbers below `count` to threads: `work(number, thread)`.
using Work = std::function<void(std::size_t number, std::size_t thread)>;
void share(std::size_t threads, std::size_t count, const Work& work)
{
    std::atomic<std::size_t> next{0};
    const auto run = [&](std::size_t thread)
    {
        for (std::size_t i = next++; i < count; i = next++)
            work(i, thread);
    };
    std::vector<std::jthread> others;
    for (std::size_t thread = 1; thread < threads; ++thread)
        others.emplace_back(run, thread);
    run(0);
}

struct Member
{
    std::string name;
    zr::u64 compressed;
    zr::u64 size;
    zr::u32 crc;
    zrvfs::ZipContent content;
};

/// The archive's bytes by position.
class File final : public zrvfs::ByteSource
{
public:
    explicit File(const char* path) : handle(open(path, O_RDONLY)) { need(handle >= 0, path); }
    File(const File&) = delete;
    File& operator=(const File&) = delete;
    ~File() { close(handle); }
    zr::u64 size() const override { return static_cast<zr::u64>(lseek(handle, 0, SEEK_END)); }
    zr::u64 readAt(zr::u64 offset, void* to, zr::u64 count) const override
    {
        return static_cast<zr::u64>(pread(handle, to, count, static_cast<off_t>(offset)));
    }

private:
    int handle;
};

std::vector<Member> membersOf(const File& archive)
{
    std::vector<Member> members;
    const auto see = [](void* to, const zrvfs::ZipMember& member)
    {
        static_cast<std::vector<Member>*>(to)->push_back(
            {std::string(member.name), member.compressedSize, member.uncompressedSize, member.crc32, {}});
        static_cast<std::vector<Member>*>(to)->back().content.offset = member.localHeaderOffset;
    };
    need(!zrvfs::scanZip(archive, [](void*, zr::u64) {}, see, &members), "scan");
    for (Member& member : members)
        need(zrvfs::findZipContent(archive, member.content.offset, member.content), "local header");
    return members;
}

/// Memory of its own for each thread, large enough and touched.
struct Scratch
{
    Bytes from = Bytes(8 << 20, 1);
    Bytes to = Bytes(8 << 20, 1);
};
Scratch scratch[2];

void readPurely(const File& archive, const Member& member, Scratch& memory)
{
    const bool isStored = member.content.method == zrvfs::kZipStored;
    need(archive.readAt(member.content.offset, (isStored ? memory.to : memory.from).data(), member.compressed) ==
             member.compressed,
         "pread");
    if (isStored) return;
    z_stream stream{};
    need(inflateInit2(&stream, -MAX_WBITS) == Z_OK, "inflateInit2");
    stream.next_in = memory.from.data();
    stream.avail_in = static_cast<uInt>(member.compressed);
    stream.next_out = memory.to.data();
    stream.avail_out = static_cast<uInt>(member.size);
    need(inflate(&stream, Z_FINISH) == Z_STREAM_END, "inflate");
    inflateEnd(&stream);
}

void readWithPhysFs(const Member& member, Scratch& memory)
{
    PHYSFS_File* const file = PHYSFS_openRead(member.name.c_str());
    need(file && PHYSFS_readBytes(file, memory.to.data(), member.size) == static_cast<PHYSFS_sint64>(member.size),
         "PHYSFS_readBytes");
    PHYSFS_close(file);
}

void readWithLibzip(zip_t* archive, zr::u64 index, const Member& member, Scratch& memory)
{
    zip_file_t* const file = zip_fopen_index(archive, index, 0);
    need(file && zip_fread(file, memory.to.data(), member.size) == static_cast<zip_int64_t>(member.size), "zip_fread");
    zip_fclose(file);
}

zr::u64 memoryInUse()
{
    const struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

void mountIn(zrvfs::Manager& tree, const char* source)
{
    need(tree.mount(source, "/", true, "bench", true) != zrvfs::kNoMount, source);
}

void raceManyMembers()
{
    std::unique_ptr<zrvfs::Manager> tree;
    zip_t* archive = nullptr;
    int error;
    const std::vector<Rival> mounting{
        {"ours",
         [&](std::size_t)
         {
             tree = std::make_unique<zrvfs::Manager>();
             mountIn(*tree, "many.zip");
         },
         [&] { tree.reset(); }},
        {"PhysicsFS", [](std::size_t) { need(PHYSFS_mount("many.zip", "/", 1), "PHYSFS_mount"); },
         [] { PHYSFS_unmount("many.zip"); }},
        {"libzip", [&](std::size_t) { need((archive = zip_open("many.zip", ZIP_RDONLY, &error)), "zip_open"); },
         [&] { zip_discard(archive); }}};
    report("mount of 100,000 members", mounting, race(1, mounting, 3), "s", "PhysicsFS", 0.5);

    std::vector<double> bytes;
    for (const Rival& rival : mounting)
    {
        const zr::u64 before = memoryInUse();
        rival.work(0);
        bytes.push_back(static_cast<double>(memoryInUse() - before) / kMembers);
    }
    report("memory of a mounted member", mounting, bytes, "B", "PhysicsFS", 1.0);

    std::mt19937 random(1);
    std::vector<std::string> paths(kLookups);
    for (std::string& path : paths)
    {
        char text[32];
        const auto number = static_cast<unsigned>(random() % kMembers);
        std::snprintf(text, sizeof(text), "/d%04u/f%06u.bin", number / 100, number);
        path = text;
    }
    constexpr std::size_t kPieces = 20, kPiece = kLookups / kPieces;
    const auto forPiece = [&](std::size_t piece, const auto& find)
    {
        for (std::size_t i = piece * kPiece; i < (piece + 1) * kPiece; ++i)
            need(find(paths[i]), paths[i].c_str());
    };
    const std::vector<Rival> looking{
        {"ours",
         [&](std::size_t piece) { forPiece(piece, [&](const std::string& path) { return tree->exists(path); }); }},
        {"PhysicsFS", [&](std::size_t piece)
         { forPiece(piece, [](const std::string& path) { return PHYSFS_exists(path.c_str()) != 0; }); }},
        {"libzip", [&](std::size_t piece)
         {
             forPiece(piece,
                      [&](const std::string& path) { return zip_name_locate(archive, path.c_str() + 1, 0) >= 0; });
         }}};
    report("1,000,000 lookups", looking, race(kPieces, looking, 1), "s", "PhysicsFS", 0.5);
    for (const Rival& rival : mounting)
        rival.between();
}

void readWithTree(zrvfs::Manager& tree, const std::string& path)
{
    zr::BufferRef content;
    tree.openBuffer(content, path, true);
    need(static_cast<bool>(content), path.c_str());
}

/// Pieces of about 128 MB: short rounds, but more than the caches of the processor hold.
std::vector<std::size_t> piecesOf(const std::vector<Member>& members)
{
    std::vector<std::size_t> starts{0};
    zr::u64 held = 0;
    for (std::size_t i = 0; i < members.size(); ++i)
        if ((held += members[i].size) >= 128 << 20) starts.push_back(i + 1), held = 0;
    if (starts.back() != members.size()) starts.push_back(members.size());
    return starts;
}

void raceReading(const char* kind, const char* archivePath, std::size_t threads)
{
    const File archive(archivePath);
    const std::vector<Member> members = membersOf(archive);
    const std::vector<std::size_t> starts = piecesOf(members);
    zrvfs::Manager tree;
    mountIn(tree, archivePath);
    need(PHYSFS_mount(archivePath, "/", 1), "PHYSFS_mount");
    std::vector<std::string> paths;
    for (const Member& member : members)
    {
        paths.push_back('/' + member.name);
        zr::BufferRef content;
        tree.openBuffer(content, paths.back(), true);
        need(content && crc32_z(0, content->data(), content->size()) == member.crc, "the same bytes");
    }
    int error;
    std::vector<zip_t*> archives; // none may be used from two threads
    for (std::size_t i = 0; i < threads; ++i)
        archives.push_back(zip_open(archivePath, ZIP_RDONLY, &error));
    const auto reading = [&](const char* name, const Work& read)
    {
        return Rival{name, [&, read](std::size_t piece)
                     {
                         share(threads, starts[piece + 1] - starts[piece],
                               [&](std::size_t i, std::size_t thread) { read(starts[piece] + i, thread); });
                     }};
    };
    const std::vector<Rival> rivals{
        reading("ours", [&](std::size_t i, std::size_t) { readWithTree(tree, paths[i]); }),
        reading("pure", [&](std::size_t i, std::size_t thread) { readPurely(archive, members[i], scratch[thread]); }),
        reading("PhysicsFS", [&](std::size_t i, std::size_t thread) { readWithPhysFs(members[i], scratch[thread]); }),
        reading("libzip", [&](std::size_t i, std::size_t thread)
                { readWithLibzip(archives[thread], i, members[i], scratch[thread]); })};
    report(fmt::format("reading, {}, {}", kind, bench::threadsText(threads)), rivals,
           race(starts.size() - 1, rivals, readRounds), "s", "pure", 1.05);
    for (zip_t* const each : archives)
        zip_discard(each);
    PHYSFS_unmount(archivePath);
}

void raceFormats(std::size_t threads)
{
    const std::vector<Member> members = membersOf(File("deflated.zip"));
    const std::vector<std::size_t> starts = piecesOf(members);
    const auto reading = [&](const char* name, const char* source)
    {
        const auto tree = std::make_shared<zrvfs::Manager>();
        mountIn(*tree, source);
        return Rival{name, [&, tree, threads](std::size_t piece)
                     {
                         share(threads, starts[piece + 1] - starts[piece], [&](std::size_t i, std::size_t)
                               { readWithTree(*tree, '/' + members[starts[piece] + i].name); });
                     }};
    };
    const std::vector<Rival> rivals{reading("ZRCZ", "packed.zrcz"), reading("deflated", "deflated.zip"),
                                    reading("stored", "stored.zip")};
    report(fmt::format("reading ZRCZ, {}", bench::threadsText(threads)), rivals,
           race(starts.size() - 1, rivals, readRounds), "s");
}

zr::u64 sumOf(std::span<const zr::u8> bytes)
{
    zr::u64 sum = 0;
    for (const zr::u8 byte : bytes)
        sum += byte;
    return sum;
}

void raceMapping()
{
    Bytes memory(fs::file_size("stored.zip"), 1);
    zr::u64 sums[2];
    const std::vector<Rival> rivals{
        {"mapped", [&](std::size_t) { sums[0] = sumOf(zrvfs::loadBuffer("stored.zip", true)->bytes()); }},
        {"read", [&](std::size_t)
         {
             need(File("stored.zip").readAt(0, memory.data(), memory.size()) == memory.size(), "read");
             sums[1] = sumOf(memory);
         }}};
    report("large file, each byte used", rivals, race(1, rivals, readRounds), "s");
    need(sums[0] == sums[1], "the same sum");
}
} // namespace

int main(int count, char** arguments)
{
    const std::string megabytes = count > 1 ? arguments[1] : "500";
    if (count > 2) readRounds = std::max(1, std::atoi(arguments[2]));
    const fs::path folder = fs::temp_directory_path() / ("vfs_bench." + std::to_string(getpid()));
    fs::create_directory(folder);
    fs::current_path(folder);
    const std::string make = ZRM_MAKE_ARCHIVES;
    int status = std::system((make + " zip64 many.zip " + std::to_string(kMembers)).c_str());
    if (status == 0) status = std::system((make + " content . " + megabytes).c_str());
    need(status == 0, make.c_str());
    zr::log::setDebuggerOnly(true);
    need(PHYSFS_init(arguments[0]), "PHYSFS_init");

    if (count <= 3)
        raceManyMembers(); // a third argument leaves them out: they take minutes, nearly all of them PhysicsFS's
    for (const std::size_t threads : {1, 2})
    {
        raceReading("stored", "stored.zip", threads);
        raceReading("deflated", "deflated.zip", threads);
        raceFormats(threads);
    }
    raceMapping();
    PHYSFS_deinit();
    fs::current_path("/");
    fs::remove_all(folder);
}
