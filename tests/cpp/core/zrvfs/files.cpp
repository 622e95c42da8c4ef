#include <fcntl.h>
#include <sys/stat.h>

#include <zr/EmptyBuffer.h>
#include <zr/MemBuffer.h>
#include <zrvfs/LuaSource.h>
#include <zrvfs/MappedFileBuffer.h>
#include <zrvfs/RealFiles.h>
#include <zrvfs/VFSManager.h>

#include "../capture.h"
#include "folder.h"

namespace
{
using namespace zrvfs;
namespace fs = std::filesystem;

using RealFiles = Folder;

TEST_F(RealFiles, ModesAreThoseOfTheTable)
{
    const auto write = [](const char* path, zr::u32 mode, const std::string& text)
    {
        const FilePtr file = openRealFile(path, mode, true);
        return file && file->write(text.data(), text.size()) == text.size();
    };
    EXPECT_TRUE(write("f", 1, "first") && write("f", 1, "ab") && write("f", 2, "cd"));
    EXPECT_EQ(fs::file_size("f"), 4u);
    const FilePtr file = openRealFile("f", 0, true);
    EXPECT_TRUE(file->size() == 4 && std::string(file->name()) == "f" && file->write("x", 1) == 0);
    mkfifo("pipe", 0600);
    const std::string absolute = fs::absolute("f");
    for (const char* path : {absolute.c_str(), "pipe", ".", "missing/f", ""})
        for (const zr::u32 mode : {0u, 1u, 2u, 3u})
            EXPECT_FALSE(openRealFile(path, mode, true)) << path << ' ' << mode;
    const std::string said = capture::standardErrorOf([] { openRealFile("missing", 0, false); });
    EXPECT_EQ(capture::countOf(said, "[missing] CreateFile(RO): No such file or directory (2)"), 1u) << said;
    EXPECT_EQ(capture::countOf(said, "Can't open file 'missing' from real path fs."), 1u) << said;
}

TEST_F(RealFiles, SmallOnesAreCopiedAndLargeOnesMapped)
{
    for (const std::size_t size : {0u, 1u, 0xFFFFFu, 0x100000u})
    {
        const std::string content(size, 'x');
        writeFile("File", content);
        bool found = false;
        const zr::BufferRef read = readRealFile("fILE", found, false);
        ASSERT_TRUE(found && read && read->size() == size) << size;
        EXPECT_TRUE(std::equal(content.begin(), content.end(), read->data()));
        EXPECT_EQ(dynamic_cast<MappedFileBuffer*>(read.get()) != nullptr, size >= 0x100000);
        EXPECT_EQ(read == zr::EmptyBuffer::get(), size == 0);
        EXPECT_EQ(dynamic_cast<MappedFileBuffer*>(readRealFile("File", found, true).get()) != nullptr, size != 0);
    }
    const zr::RefPtr<zr::MemBuffer> given = zr::MemBuffer::acquire(1);
    writeFile("small", "text");
    EXPECT_TRUE(readRealFileInto("small", given, true) == given.get() && given->size() == 4);
    EXPECT_FALSE(readRealFileInto(fs::absolute("small").string(), nullptr, true));
    LuaSource source;
    std::unique_ptr<zr::ILuaReader> chunks;
    source.open(chunks, "small");
    std::size_t size = 0;
    const char* const chunk = chunks->read(nullptr, &size);
    EXPECT_EQ(std::string(chunk, size), "text");
    EXPECT_TRUE(chunks->read(nullptr, &size) == nullptr && size == 0);
}

TEST_F(RealFiles, SizesHaveSixtyFourBits)
{
    constexpr zr::u64 kSize = 0x1'4000'0000; // a hole but for its last byte
    const auto writeLast = openRealFile("f", 1, true);
    ASSERT_TRUE(writeLast && writeLast->seek(kSize - 1) && writeLast->write("x", 1) == 1);
    bool found;
    const zr::BufferRef mapped = readRealFile("f", found, false);
    ASSERT_TRUE(mapped && mapped->size() == kSize);
    EXPECT_EQ(mapped->data()[kSize - 1], 'x');
    const FilePtr file = openRealFile("f", 0, true);
    char last = 0;
    EXPECT_TRUE(file->size() == kSize && file->skip(kSize - 1) && file->read(&last, 2) == 1 && last == 'x');
}

TEST_F(RealFiles, AMappedFileThatShrinksEndsNobody)
{
    writeFile("f", std::string(0x400000, 'x'));
    bool found;
    zr::BufferRef mapped = readRealFile("f", found, false);
    fs::resize_file("f", 0x1000);
    EXPECT_EQ(mapped->data()[0xFFF], 'x');
    EXPECT_EQ(mapped->data()[0x200000], 0);
    EXPECT_EQ(mapped->data()[0x3FFFFF], 0);
    EXPECT_NE(capture::standardErrorOf([&] { mapped = nullptr; }).find("has shrunk"), std::string::npos);
    // What concerns no mapping of ours ends the process as ever.
    writeFile("g", "x");
    const pid_t child = fork();
    if (child == 0)
    {
        const int file = open("g", O_RDWR);
        auto* const memory = static_cast<volatile char*>(mmap(nullptr, 0x2000, PROT_READ, MAP_SHARED, file, 0));
        _exit(memory[0x1000]);
    }
    EXPECT_NE(capture::endOf(child), 0);
}

TEST_F(RealFiles, DirectoriesAreScannedWithoutTraps)
{
    for (const char* name :
         {"top/b/file", "top/a", "top/.hidden", "top/.git/f", "top/C/Deep/x", "top/back\\slash", "top/gone"})
        writeFile(name, name);
    mkfifo("top/pipe", 0600);
    fs::create_directory_symlink("../..", "top/C/loop");
    fs::create_symlink("../a", "top/b/link");
    fs::create_symlink("nothing", "top/dangling");
    fs::path knot = "top/knot"; // each step has two ways on: 2^40 paths
    for (int i = 0; i < 40; ++i, knot /= "l")
    {
        fs::create_directories(knot / "l");
        fs::create_directory_symlink("l", knot / "m");
    }
    fs::path deep = "top/deep";
    for (int i = 0; i < 300; ++i)
        deep /= "directory";
    writeFile(deep / "end", "deep");

    Manager tree;
    tree.mount("top", "/", true, "", true);
    fs::remove("top/gone");
    const struct
    {
        std::string path;
        const char* content; ///< null: there is no such file
    } cases[] = {{"/a", "top/a"},
                 {"/b/link", "top/a"},
                 {"/c/deep/X", "top/C/Deep/x"},
                 {"/.hidden", nullptr},
                 {"/.git/f", nullptr},
                 {"/c/loop/top/a", nullptr},
                 {"/pipe", nullptr},
                 {"/dangling", nullptr},
                 {"/gone", nullptr},
                 {"/back/slash", "top/back\\slash"},
                 {deep.string().substr(3) + "/end", "deep"}};
    for (const auto& [path, content] : cases)
    {
        zr::BufferRef read;
        tree.openBuffer(read, path, true);
        EXPECT_EQ(read ? std::string(reinterpret_cast<const char*>(read->data()), read->size()) : "(none)",
                  content ? content : "(none)")
            << path;
    }
    EXPECT_TRUE(tree.exists("/gone")) << "it was there when it was mounted";
    FileStat stat;
    EXPECT_FALSE(tree.stat("/gone", stat));
}
} // namespace
