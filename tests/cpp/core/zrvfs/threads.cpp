#include <atomic>
#include <cstdlib>
#include <thread>
#include <vector>

#include <fmt/format.h>
#include <zstd.h>

#include <zr/exceptions.h>
#include <zr/hash.h>
#include <zrvfs/VFSManager.h>

#include "Soak.h"
#include "folder.h"

namespace
{
using namespace zrvfs;

template <class T>
void put(std::string& bytes, T value)
{
    bytes.append(reinterpret_cast<const char*>(&value), sizeof(value));
}

/// A ZRCZ archive of files by name; every second one is compressed.
std::string zrczOf(const std::vector<std::pair<std::string, std::string>>& files)
{
    std::string members, names, records, spans;
    for (const auto& [name, content] : files)
    {
        const bool isFrame = (spans.size() / 16) % 2 == 1;
        std::string stored = content;
        if (isFrame)
        {
            stored.resize(ZSTD_compressBound(content.size()));
            stored.resize(ZSTD_compress(stored.data(), stored.size(), content.data(), content.size(), 1));
        }
        for (const zr::u64 value :
             {members.size(), stored.size(), content.size(), zr::u64{0}, zr::u64{isFrame}, zr::u64{0}})
            put(records, value);
        put(spans, zr::u64{names.size()});
        put(spans, zr::u64{name.size()});
        members += stored;
        names += name;
    }
    std::string index(4 + 8, '\0');
    put(index, zr::u64{names.size()});
    index += names + std::string(3 * 8 + 8, '\0');
    put(index, zr::u64{files.size()});
    index += records + std::string(files.size() * 24, '\0') + spans + std::string(files.size() * 32, '\0');
    std::string trailer;
    put(trailer, zr::u64{index.size()});
    return members + index + trailer + std::string(24, '\0') + std::string("\3\0\0\0ZRCZ", 8);
}

std::string contentOfFile(int number)
{
    std::string content(static_cast<std::size_t>(number) * 977 % 5000 + (number == 0 ? 0x180000 : 1), '\0');
    for (std::size_t i = 0; i < content.size(); ++i)
        content[i] = static_cast<char>(i * 31 / 7 + static_cast<std::size_t>(number));
    return content;
}

zr::u64 digest(const void* bytes, std::size_t size)
{
    return zr::hashBytes(static_cast<const unsigned char*>(bytes), size);
}

/// The content of a path by one of three ways; 0 when it can't be opened.
zr::u64 digestOf(Manager& tree, const std::string& path, unsigned way)
{
    std::string read;
    if (way == 0)
    {
        zr::BufferRef content;
        tree.openBuffer(content, path, true);
        return content ? digest(content->data(), content->size()) : 0;
    }
    const FilePtr file = way == 1 ? tree.openFile(path, 0, true) : nullptr;
    zr::ReaderPtr reader;
    if (way == 2) tree.openReader(reader, path, true);
    if (!file && !reader) return 0;
    char part[700];
    while (const zr::u64 count = file ? file->read(part, sizeof(part)) : reader->read(part, sizeof(part)))
        read.append(part, count);
    return digest(read.data(), read.size());
}

class Concurrency : public Folder
{
};

constexpr int kFiles = 60;

/// Eight threads read everything while another mounts and unmounts over it.
void readWhileMounting()
{
    Manager tree;
    std::vector<zr::u64> digests;
    for (int i = 0; i < kFiles; ++i)
    {
        const std::string content = contentOfFile(i);
        digests.push_back(digest(content.data(), content.size()));
    }
    for (const char* source : {"dir", "zip", "zrcz"})
        ASSERT_NE(tree.mount(source, fmt::format("/{}", source).c_str(), true, "kept", true), kNoMount) << source;
    std::atomic<bool> isDone{false};
    std::atomic<int> wrong{0};
    std::vector<std::jthread> threads;
    for (unsigned thread = 0; thread < 8; ++thread)
        threads.emplace_back(
            [&, thread]
            {
                for (int i = 0; i < 3 * kFiles; ++i)
                {
                    const int number = (i + static_cast<int>(thread) * 7) % kFiles;
                    const std::string name = fmt::format("/f{}", number);
                    const char* const source = i % 3 == 0 ? "/dir" : i % 3 == 1 ? "/zip" : "/zrcz";
                    // A stream takes each ZRCZ member for compressed.
                    const unsigned way =
                        (static_cast<unsigned>(i) / 3 + thread) % (i % 3 == 2 && number % 2 == 0 ? 2 : 3);
                    if (digestOf(tree, fmt::format("{}{}", source, name), way) !=
                        digests[static_cast<std::size_t>(number)])
                        ++wrong;
                    const zr::u64 shared = digestOf(tree, fmt::format("/both{}", name), way % 2);
                    if (shared != 0 && shared != digests[static_cast<std::size_t>(number)]) ++wrong;
                }
            });
    threads.emplace_back(
        [&]
        {
            for (unsigned i = 0; !isDone; ++i)
            {
                const char* const source = i % 3 == 0 ? "dir" : i % 3 == 1 ? "zip" : "zrcz";
                tree.mount(source, "/both", i % 2 == 0, "moving", true);
                if (i % 2 == 1) tree.unmount_by_tag("moving"); // false while somebody reads there
                if (i % 8 == 7) tree.remount([](zr::string&, const char*, void*) {}, nullptr);
            }
        });
    for (std::size_t i = 0; i < 8; ++i)
        threads[i].join();
    isDone = true;
    threads.back().join();
    EXPECT_EQ(wrong, 0);
}

TEST_F(Concurrency, NothingIsLostAndNothingReadWrong)
{
    std::vector<std::pair<std::string, std::string>> files;
    for (int i = 0; i < kFiles; ++i)
    {
        files.emplace_back(fmt::format("f{}", i), contentOfFile(i));
        writeFile(fmt::format("dir/{}", files.back().first), files.back().second);
    }
    writeFile("zrcz.zrcz", zrczOf(files));
    if (std::system("cd dir && zip -q ../zip.zip *") != 0) GTEST_SKIP() << "there is no zip to make an archive";
    test::soak(readWhileMounting);
}
} // namespace
