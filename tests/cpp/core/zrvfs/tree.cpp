#include <algorithm>
#include <map>
#include <random>
#include <set>

#include <fmt/format.h>

#include <zrvfs/VFSManager.h>

#include "../capture.h"
#include "folder.h"

namespace
{
using namespace zrvfs;
using Paths = std::vector<std::string>;

std::string textOf(const zr::BufferRef& buffer)
{
    if (!buffer) return "(none)";
    return {reinterpret_cast<const char*>(buffer->data()), static_cast<std::size_t>(buffer->size())};
}

std::string contentOf(Manager& tree, std::string_view path)
{
    zr::BufferRef content;
    tree.openBuffer(content, path, true);
    return textOf(content);
}

/// The paths of the drivers that serve a path, in order.
std::string sourcesOf(Manager& tree, std::string_view path)
{
    std::string sources;
    tree.forEachVersionSource(
        path, [](const char* source, void* to) { *static_cast<std::string*>(to) += source; }, &sources);
    return sources;
}

std::set<std::string> listed(Manager& tree, std::string_view directory)
{
    zr::vector<ListedEntry> entries;
    tree.listEntries(entries, directory, nullptr, true);
    std::set<std::string> names;
    for (const ListedEntry& entry : entries)
        EXPECT_TRUE(names.insert(fmt::format("{}{}", entry.name.c_str(), entry.type == kDirectory ? "/" : "")).second);
    return names;
}

/// A host's own kind of source: lists of paths below the mount point, by the source's name.
struct Lists final : IDriverFactory
{
    struct ListDriver final : Driver
    {
        ListDriver(const MountRequest& request, const Paths& names) : Driver(request, request.path)
        {
            for (const std::string& name : names)
                paths.push_back(request.mountPoint + name);
        }
        void forEachEntry(EntryCallback callback, void* context) override
        {
            for (std::size_t i = 0; i < paths.size(); ++i)
                callback(context, i, paths[i], paths[i], kFile);
        }
        bool stat(zr::u64 index, FileStat& out) override { return (out = {index, 0, kFile}, true); }
        FilePtr openFile(zr::u64) override { return nullptr; }
        const char* typeName() const noexcept override { return "ListDriver"; }
        void openBuffer(zr::BufferRef&, zr::u64) override {}
        void openReader(zr::ReaderPtr&, zr::u64) override {}

        Paths paths;
    };

    void create(DriverRef& out, const MountRequest& request, char* error, zr::u64 size, bool&) override
    {
        const auto found = lists.find(request.path);
        if (found != lists.end())
            out = DriverRef(new ListDriver(request, found->second));
        else if (std::string_view(request.path) == "broken")
            std::snprintf(error, size, "no such list");
    }

    std::map<std::string, Paths> lists;
};

class Tree : public Folder
{
protected:
    zr::u64 mount(const char* source, const char* point, bool append = true)
    {
        return tree.mount(source, point, append, "tag", true);
    }

    Manager tree;
};

TEST_F(Tree, MountsAreCountedAndSourcesFoundWhateverTheirCapitals)
{
    writeFile("Data/Sub/Name.TXT", "one");
    const zr::u64 id = mount("./DATA/", "/Mnt");
    ASSERT_NE(id, kNoMount);
    EXPECT_EQ(contentOf(tree, "/mnt\\/SUB/./name.txt"), "one");
    EXPECT_EQ(mount("x/../data", "/mnt/"), id);
    EXPECT_EQ(mount(std::filesystem::absolute("data").c_str(), "/mnt") == id, false) << "another name, another driver";
    for (const char* point : {"mnt", "", "\\mnt"})
        EXPECT_EQ(mount("data", point), kNoMount) << point;
    EXPECT_EQ(mount("missing", "/mnt"), kNoMount);
    EXPECT_TRUE(listed(tree, "/MNT") == std::set<std::string>{"Sub/"} &&
                listed(tree, "/mnt/sub/") == std::set<std::string>{"name.txt"});
    EXPECT_EQ(listed(tree, "Data/Sub"), std::set<std::string>{"Name.TXT"}) << "a real directory";
    FileStat stat;
    EXPECT_TRUE(tree.stat("/mnt/Sub", stat) && stat.type == kDirectory && stat.size == 0 && tree.exists("/mnt"));
    EXPECT_TRUE(tree.stat("/mnt/sub/NAME.txt", stat) && stat.type == kFile && stat.size == 3 && stat.time > 0);
    EXPECT_FALSE(tree.exists("/mnt/sub/name") || tree.openFile("/mnt/sub", 0, true) ||
                 tree.openFile("/mnt/sub/name.txt", 1, true));
    EXPECT_FALSE(tree.unmount(id)) << "mounted twice";
    EXPECT_TRUE(tree.exists("/mnt/sub/name.txt") && tree.unmount(id) && tree.unmount_by_tag("tag"));
    EXPECT_FALSE(tree.exists("/mnt/sub/name.txt") || tree.unmount(id) || tree.unmount_by_source("data"));
    EXPECT_TRUE(tree.exists("/mnt/sub")) << "directories stay";
}

TEST_F(Tree, WhatComesFirstIsServed)
{
    for (const char* name : {"a", "b", "c"})
        writeFile(std::string(name) + "/f", name);
    mount("a", "/");
    mount("b", "/", true);
    EXPECT_EQ(contentOf(tree, "/f"), "a");
    mount("c", "/", false);
    EXPECT_EQ(sourcesOf(tree, "/F"), "cab");
    std::string versions;
    EXPECT_TRUE(tree.forAllVersions("/f", [&](zr::BufferRef& content) { versions += textOf(content); }, true));
    EXPECT_EQ(versions, "cab");
    tree.remount([](zr::string& wanted, const char* path, void*) { wanted.assign(*path == 'c', 'B'); }, nullptr);
    EXPECT_EQ(sourcesOf(tree, "/f"), "bab");
    EXPECT_TRUE(tree.unmount_by_source("./B"));
    EXPECT_EQ(contentOf(tree, "/f"), "a");
}

TEST_F(Tree, OpenFilesKeepADriverFromGoing)
{
    writeFile("a/f", "content");
    mount("a", "/");
    FilePtr file = tree.openFile("/f", 0, true);
    zr::ReaderPtr reader;
    tree.openReader(reader, "/f", true);
    ASSERT_TRUE(file && reader);
    EXPECT_EQ(std::string(file->realName()), "a");
    tree.remount([](zr::string& wanted, const char*, void*) { wanted = "missing"; }, nullptr);
    EXPECT_EQ(contentOf(tree, "/f"), "content") << "stays where it is";
    EXPECT_NE(
        capture::standardErrorOf([&] { EXPECT_FALSE(tree.unmount_by_tag("tag")); }).find("as it has files opened"),
        std::string::npos);
    EXPECT_FALSE(tree.exists("/f"));
    char text[8] = "";
    EXPECT_TRUE(file->seek(3) && file->read(text, 8) == 4 && std::string(text) == "tent" && file->tell() == 7);
    EXPECT_TRUE(file->skip(2) && file->seek(1) && textOf(file->toBuffer()) == "content" && file->tell() == 1);
    EXPECT_EQ(reader->read(text, 7), 7u);
    file.reset();
    reader.reset();
    mount("a", "/");
    EXPECT_TRUE(tree.unmount_by_source("a"));
}

TEST_F(Tree, FailuresAreToldOnce)
{
    const auto lists = std::make_shared<Lists>();
    tree.addFactory(lists, true);
    tree.addFactory(lists, false);
    writeFile("archive.zip", "no archive");
    const struct
    {
        std::function<void()> act;
        const char* said;
    } cases[] = {
        {[&] { tree.mount("x", "m", true, "", false); }, "Invalid mount point m."},
        {[&] { tree.mount("X", "/", true, "", false); }, "No suitable driver found to mount x"},
        {[&] { tree.mount("broken", "/", true, "", true); }, "Drivers errors while mounting broken:"},
        {[&] { tree.mount("broken", "/", true, "", true); }, "\tno such list"},
        {[&] { tree.mount("archive", "/", true, "", true); },
         "\tZipDriver: Failed to open zip archive archive.zip. Reason: Invalid zip signature."},
        {[&] { tree.unmount(7); }, "Can't unmount drivers. Reason: Can't found drivers with given id == 7"},
        {[&] { tree.openFile("/x", 0, false); }, "Can't open file: /x."},
        {[&] { tree.openFile("/x", 2, false); },
         "Can't open file not for writing: /x. VFS supports only open for reading."},
        {[&] { tree.openWrite("/x", 1, false, false); }, "Trying to open /x on ro vfs."},
        {[&] { loadBuffer("x", false); }, "Can't open file 'x' from fs"},
    };
    for (const auto& [act, said] : cases)
        EXPECT_EQ(capture::countOf(capture::standardErrorOf(act), said), 1u) << said;
    tree.setMountFilter([](const char*, const char*, void*) { return false; }, nullptr);
    EXPECT_EQ(mount(".", "/"), kNoMount);
}

/// Random mounts, unmounts and remounts of overlapping lists against lists of versions kept in the plainest way.
TEST_F(Tree, IsWhatItsMountsMakeOfIt)
{
    std::mt19937 random(7);
    const auto below = [&random](std::size_t bound) { return static_cast<std::size_t>(random() % bound); };
    const auto lists = std::make_shared<Lists>();
    tree.clearFactories();
    tree.addFactory(lists, true);
    for (char name = 'a'; name <= 'h'; ++name)
        for (std::size_t i = below(30); i-- > 0;)
            lists->lists[{name}].push_back(fmt::format("d{}/e{}/{}", below(2), below(2), below(9)));

    struct Mounted
    {
        std::string source;
        zr::u64 id;
    };
    std::vector<Mounted> mounts;                              // in search order
    std::map<std::string, std::vector<std::string>> versions; // of a path, by source
    const auto pathOf = [](const std::string& name) { return fmt::format("/m/{}", name); };
    for (int step = 0; step < 400; ++step)
    {
        const std::string source(1, static_cast<char>('a' + below(8)));
        const auto known =
            std::find_if(mounts.begin(), mounts.end(), [&](const Mounted& m) { return m.source == source; });
        if (known != mounts.end())
        {
            ASSERT_TRUE(tree.unmount(known->id));
            for (auto& [path, sources] : versions)
                std::erase(sources, source);
            mounts.erase(known);
        }
        else if (!lists->lists[source].empty())
        {
            const bool append = below(2) == 0;
            const zr::u64 id = mount(source.c_str(), "/M", append);
            mounts.insert(append ? mounts.end() : mounts.begin(), {source, id});
            for (const std::string& name : lists->lists[source])
            {
                auto& sources = versions[pathOf(name)];
                sources.insert(append ? sources.end() : sources.begin(), source);
            }
        }
        if (step % 50 == 49) // a new round of all, in the order of the mounts
        {
            tree.remount([](zr::string& wanted, const char* path, void*) { wanted = path; }, nullptr);
            versions.clear();
            for (const Mounted& mounted : mounts)
                for (const std::string& name : lists->lists[mounted.source])
                    versions[pathOf(name)].push_back(mounted.source);
        }
        std::map<std::string, std::set<std::string>> files;
        for (const auto& [path, sources] : versions)
        {
            std::string expected;
            for (const std::string& each : sources)
                expected += each;
            ASSERT_EQ(sourcesOf(tree, path), expected) << path << " in step " << step;
            ASSERT_EQ(tree.countVersions(path), sources.size());
            const std::size_t slash = path.rfind('/');
            if (!sources.empty()) files[path.substr(0, slash)].insert(path.substr(slash + 1));
        }
        for (const auto& [directory, names] : files)
            for (const std::string& name : listed(tree, directory))
                ASSERT_TRUE(name.ends_with('/') || names.contains(name)) << name;
    }
}
} // namespace
