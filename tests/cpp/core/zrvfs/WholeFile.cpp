#include <platform/files.h>
#include <platform/module.h>
#include <zrvfs/WholeFile.h>

#include <atomic>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <thread>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{
namespace fs = std::filesystem;
using zrvfs::writeWholeFile;

std::string contentOf(const fs::path& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

bool writeText(const char* path, const std::string& text)
{
    return writeWholeFile(path, text.data(), text.size(), true);
}

/// Each test runs in an empty folder of its own, as real paths to write are relative.
class WholeFile : public testing::Test
{
protected:
    WholeFile()
    {
        fs::create_directories(folder);
        fs::current_path(folder);
    }
    ~WholeFile() override
    {
        fs::current_path(before);
        fs::remove_all(folder);
    }

    fs::path before = fs::current_path();
    fs::path folder = fs::temp_directory_path() / ("zr_whole_file_" + std::to_string(getpid()));
};

TEST_F(WholeFile, RewritesFromEmpty)
{
    for (const std::string& text : {std::string("a longer text"), std::string("\0\xFF\n", 3), std::string()})
    {
        ASSERT_TRUE(writeText("f", text));
        EXPECT_EQ(contentOf("f"), text);
    }
    EXPECT_TRUE(fs::exists("f"));
    EXPECT_TRUE(writeWholeFile("nothing", nullptr, 0, false));
    EXPECT_TRUE(fs::exists("nothing"));
    fs::create_symlink("f", "link");
    EXPECT_TRUE(writeText("link", "through"));
    EXPECT_EQ(contentOf("f"), "through");
}

TEST_F(WholeFile, ARefusalTouchesNothing)
{
    writeText("f", "old");
    fs::create_directory("folder");
    const std::string absolute = fs::absolute("f");
    EXPECT_FALSE(writeText(absolute.c_str(), "new"));
    EXPECT_FALSE(writeText("/x", "new"));
    EXPECT_FALSE(fs::exists("/x"));
    EXPECT_FALSE(writeWholeFile("f", "new", 0x1'0000'0000, false));
    EXPECT_FALSE(writeWholeFile(nullptr, "new", 3, false));
    for (const char* path : {"", "folder", "missing/f", "f/below"})
        EXPECT_FALSE(writeText(path, "new")) << path;
    EXPECT_EQ(contentOf("f"), "old");
    EXPECT_EQ(std::distance(fs::directory_iterator("."), {}), 2);
}

TEST_F(WholeFile, APipeIsRefusedAtOnce)
{
    ASSERT_EQ(mkfifo("pipe", 0600), 0);
    EXPECT_FALSE(writeText("pipe", "x")) << "without a reader";
    const int reader = open("pipe", O_RDONLY | O_NONBLOCK);
    EXPECT_FALSE(writeText("pipe", "x")) << "with a reader";
    char byte;
    EXPECT_EQ(read(reader, &byte, 1), 0) << "nothing may arrive";
    close(reader);
}

TEST_F(WholeFile, AWriteThatTheSystemCutsShortIsAFailure)
{
    rlimit old;
    getrlimit(RLIMIT_FSIZE, &old);
    const auto oldHandler = std::signal(SIGXFSZ, SIG_IGN);
    const rlimit small{4096, old.rlim_max};
    setrlimit(RLIMIT_FSIZE, &small);
    const bool fits = writeText("fits", std::string(4096, 'a'));
    const bool tooLong = writeText("long", std::string(4097, 'a'));
    setrlimit(RLIMIT_FSIZE, &old);
    std::signal(SIGXFSZ, oldHandler);
    EXPECT_TRUE(fits);
    EXPECT_FALSE(tooLong);
}

std::atomic<int> signals{0};

// A signal cuts a write into a pipe short when some of it went in, and ends it as a failure when nothing did.
TEST(PlatformFiles, AnInterruptedWriteGoesOn)
{
#ifdef __SANITIZE_THREAD__
    GTEST_SKIP() << "the thread sanitizer holds signals back until the write returns, and this waits for them before";
#endif
    constexpr std::size_t kSize = 1 << 20;
    struct sigaction quiet = {};
    struct sigaction old = {};
    quiet.sa_handler = [](int) { ++signals; };
    sigaction(SIGUSR1, &quiet, &old); // without SA_RESTART
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    std::string sent(kSize, '\0');
    for (std::size_t i = 0; i < kSize; ++i)
        sent[i] = static_cast<char>(i * 7 >> 3);
    std::size_t written = 0;
    platform::Error failed;
    std::thread writer([&] { failed = platform::writeAll({ends[1]}, sent.data(), kSize, written); });
    int full = 0;
    while (full < 65536)
        ioctl(ends[0], FIONREAD, &full);
    for (int sentSignals = 1; sentSignals <= 50; ++sentSignals)
    {
        pthread_kill(writer.native_handle(), SIGUSR1);
        while (signals < sentSignals)
            std::this_thread::yield();
    }

    std::string received;
    char part[5000];
    while (received.size() < kSize)
    {
        const ssize_t count = read(ends[0], part, sizeof(part));
        ASSERT_GT(count, 0);
        received.append(part, static_cast<std::size_t>(count));
    }
    writer.join();
    EXPECT_STREQ(failed.text(), "Success");
    EXPECT_EQ(written, kSize);
    EXPECT_TRUE(received == sent);
    close(ends[0]);
    close(ends[1]);
    sigaction(SIGUSR1, &old, nullptr);
}

TEST(PlatformModule, FindsTheFileOfAnAddress)
{
    static const int here = 0;
    char path[4096];
    const std::size_t length = platform::getModulePath(&here, path, sizeof(path));
    ASSERT_EQ(length, std::strlen(path));
    EXPECT_TRUE(platform::pathExists(path));
    EXPECT_EQ(fs::path(path).filename(), fs::read_symlink("/proc/self/exe").filename());
    EXPECT_EQ(platform::getModulePath(&here, path, length), 0u) << "no room for the terminator";
    EXPECT_EQ(platform::getModulePath(&here, path, length + 1), length);
    EXPECT_EQ(platform::getModulePath(path, path, sizeof(path)), 0u) << "the stack is in no file";
}
} // namespace
