#include <zrvfs/WholeFile.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{
namespace fs = std::filesystem;

std::string contentOf(const fs::path& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

/// In two parts.
bool writeText(const std::string& path, const std::string& text)
{
    const std::span<const zr::u8> whole(reinterpret_cast<const zr::u8*>(text.data()), text.size());
    const std::span<const zr::u8> parts[] = {whole.first(text.size() / 2), whole.subspan(text.size() / 2)};
    return zrvfs::writeWholeFile(path.c_str(), parts, true);
}

/// Each test runs in an empty folder of its own, as real paths to write are relative.
class WholeFile : public testing::Test
{
protected:
    WholeFile()
    {
        fs::create_directories(folder / "disk");
        fs::current_path(folder);
    }
    ~WholeFile() override
    {
        if (mounted) umount2("disk", MNT_DETACH);
        fs::current_path(before);
        fs::remove_all(folder);
    }

    bool mounted = false;
    fs::path before = fs::current_path();
    fs::path folder = fs::temp_directory_path() / ("zr_whole_file_" + std::to_string(getpid()));
};

TEST_F(WholeFile, TheOldFileGetsTheNewContent)
{
    mounted = mount("none", "disk", "ramfs", 0, "") == 0; // a file system that promises no room
    for (const std::string name : {"f", "disk/f"})
    {
        SCOPED_TRACE(name);
        ASSERT_TRUE(writeText(name, "first"));
        struct stat old;
        ASSERT_TRUE(chmod(name.c_str(), 0640) == 0 && stat(name.c_str(), &old) == 0);
        for (const std::string& text : {std::string("a longer text"), std::string("\0\xFF\n", 3), std::string()})
        {
            ASSERT_TRUE(writeText(name, text));
            EXPECT_EQ(contentOf(name), text);
        }
        const std::string link = name + "_link"; // to nothing yet
        fs::create_symlink("f_target", link);
        for (const char* text : {"through", "again"})
        {
            EXPECT_TRUE(writeText(link, text));
            EXPECT_EQ(contentOf(name + "_target"), text);
        }
        struct stat now;
        stat(name.c_str(), &now);
        EXPECT_TRUE(now.st_ino == old.st_ino && now.st_mode == old.st_mode);
    }
}

TEST_F(WholeFile, ARefusalTouchesNothing)
{
    writeText("f", "old");
    ASSERT_EQ(mkfifo("pipe", 0600), 0);
    const int reader = open("pipe", O_RDONLY | O_NONBLOCK);
    const std::string absolute = fs::absolute("f");
    for (const char* path : {absolute.c_str(), "/x", "", "disk", "missing/f", "f/below", "pipe"})
        EXPECT_FALSE(writeText(path, "new")) << path;
    EXPECT_FALSE(zrvfs::writeWholeFile("f", "new", 0x1'0000'0000, false));
    EXPECT_FALSE(zrvfs::writeWholeFile({"f\0g", 3}, "new", 3, false));
    char byte;
    EXPECT_EQ(read(reader, &byte, 1), 0) << "nothing may arrive";
    close(reader);
    EXPECT_FALSE(writeText("pipe", "new")) << "without a reader, at once";
    EXPECT_EQ(contentOf("f"), "old");
    EXPECT_FALSE(fs::exists("/x"));
    EXPECT_EQ(std::distance(fs::directory_iterator("."), {}), 3);
}

TEST_F(WholeFile, AFullDiskCostsNothing)
{
    mounted = mount("none", "disk", "tmpfs", 0, "size=64k") == 0;
    if (!mounted) GTEST_SKIP() << "this process may not mount a small disk to fill up";
    const std::string old(20000, 'o');
    ASSERT_TRUE(writeText("disk/f", old));
    std::ofstream("disk/filler") << std::string(100000, 'x');
    EXPECT_FALSE(writeText("disk/f", std::string(60000, 'n')));
    EXPECT_EQ(contentOf("disk/f"), old);
    EXPECT_FALSE(writeText("disk/new", std::string(60000, 'n')));
    EXPECT_FALSE(fs::exists("disk/new"));
    for (const std::string& fits : {std::string(20000, 'n'), std::string("short")})
    {
        EXPECT_TRUE(writeText("disk/f", fits)) << "the room of the old file serves the new";
        EXPECT_EQ(contentOf("disk/f"), fits);
    }
}

TEST_F(WholeFile, TheLimitOfAFilesSizeNeitherKillsNorCostsTheOldFile)
{
    const auto underLimit = []
    {
        const rlimit small{4096, RLIM_INFINITY};
        setrlimit(RLIMIT_FSIZE, &small);
        writeText("f", "old");
        const bool refused = !writeText("f", std::string(4097, 'n')) && !writeText("new", std::string(4097, 'n'));
        const bool kept = contentOf("f") == "old" && !fs::exists("new");
        _exit(refused && kept && writeText("f", std::string(4096, 'n')) ? 0 : 1);
    };
    EXPECT_EXIT(underLimit(), testing::ExitedWithCode(0), "");
}
} // namespace
