#include <platform/files.h>

#include <atomic>
#include <csignal>
#include <string>
#include <thread>

#include <gtest/gtest.h>
#include <sys/ioctl.h>
#include <unistd.h>

// A signal cuts a write into a pipe short when some of it went in, and ends it as a failure when nothing did.
TEST(PlatformFiles, AnInterruptedWriteGoesOn)
{
#ifdef __SANITIZE_THREAD__
    GTEST_SKIP() << "the thread sanitizer holds signals back until the write returns, and this waits for them before";
#endif
    static std::atomic<int> signals{0};
    struct sigaction counting = {};
    counting.sa_handler = [](int) { ++signals; };
    sigaction(SIGUSR1, &counting, nullptr); // without SA_RESTART
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    std::string sent(1 << 20, '\0');
    for (std::size_t i = 0; i < sent.size(); ++i)
        sent[i] = static_cast<char>(i * 7 >> 3);
    std::string received(sent.size(), '\0');
    std::thread reader(
        [&, writer = pthread_self()]
        {
            for (int full = 0; full < 65536;)
                ioctl(ends[0], FIONREAD, &full);
            for (int sentSignals = 1; sentSignals <= 50; ++sentSignals)
                for (pthread_kill(writer, SIGUSR1); signals < sentSignals;)
                    std::this_thread::yield();
            ssize_t count = 0;
            for (std::size_t at = 0; at < received.size(); at += std::size_t(count))
                if (count = read(ends[0], &received[at], 5000); count <= 0) break;
        });
    std::size_t written = 0;
    const platform::Error failed = platform::writeAll({ends[1]}, sent.data(), sent.size(), written);
    close(ends[1]);
    reader.join();
    EXPECT_TRUE(!failed && written == sent.size() && received == sent);
    EXPECT_STREQ(platform::closeFile({ends[1]}).text(), "Bad file descriptor");
    close(ends[0]);
}
