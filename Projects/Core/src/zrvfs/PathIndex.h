#pragma once

#include <span>

#include <parallel_hashmap/phmap.h>

#include <zrvfs/IDriver.h>

namespace zrvfs
{
/// One entry of one driver, as a mount collects it.
struct FileRef
{
    IDriver* driver = nullptr;
    zr::u64 index = 0;
};

struct CollectedEntry
{
    FileRef file;
    std::string_view lowerPath;
    std::string_view path;
    zr::u32 type;
};

/// The tree of all mounts: which entries stand under a path, and what lies in a directory. It holds no references: the
/// drivers that it knows must live, and the paths of its entries are theirs.
///
///     path ──hash──> slot ──> last version ──> first version ──> ... ──> last     (a ring, so that either end is near)
///                     └─ directory ──> its slots, its directories
///
/// All lookups take normalised, lower-case paths. Not safe to use from two threads at once.
class PathIndex
{
public:
    PathIndex();
    PathIndex(const PathIndex&) = delete;
    PathIndex& operator=(const PathIndex&) = delete;

    /// Adds entries with the directories above them. Those of a path that is known come behind its versions in their
    /// own order, or, `inFront`, before them in reversed order.
    void add(std::span<const CollectedEntry> entries, bool inFront);

    /// Takes out the entries of all drivers for which `goes` says so; directories stay. Linear in the whole index.
    template <class Goes>
    void remove(Goes goes);
    /// Forgets everything.
    void clear();

    /// The version that a lookup serves; its driver is null when the path is no file.
    FileRef find(std::string_view path) const;
    /// All versions of a path, the first one served.
    zr::vector<FileRef> versionsOf(std::string_view path) const;
    /// `path` may end in a slash.
    bool hasDirectory(std::string_view path) const { return findDirectory(path) != kNone; }

    /// Calls `callback(name, type)` for what lies directly in a directory: files by their lower-case name, then
    /// directories by the name with which they came first.
    template <class Callback>
    void forEachIn(std::string_view directory, Callback callback) const;

private:
    static constexpr zr::u32 kNone = ~zr::u32{0};
    static constexpr zr::u32 kRoot = 0;

    struct Slot
    {
        zr::u32 last; ///< version; kNone in a free slot
        zr::u32 length;
        zr::u32 directory;
        zr::u32 nextInDirectory; ///< or the next free slot
    };
    struct Version
    {
        const char* path;
        zr::u64 index;
        zr::u32 driver; ///< in `drivers`
        zr::u32 next;   ///< the first one's after the last one, or the next free version
    };
    struct Directory
    {
        zr::u32 parent;
        zr::u32 firstSlot = kNone;
        zr::u32 firstChild = kNone;
        zr::u32 nextSibling = kNone;
        zr::string lowerName;
        zr::string name;
    };
    /// A directory is found by its parent and its name: a path a thousand directories deep costs no thousand paths.
    struct DirectoryKey
    {
        zr::u32 parent;
        std::string_view lowerName;
        bool operator==(const DirectoryKey&) const = default;
    };
    struct HashOfDirectory
    {
        std::size_t operator()(const DirectoryKey& key) const
        {
            return std::hash<std::string_view>{}(key.lowerName) + key.parent * 0x9E3779B97F4A7C15u;
        }
    };
    struct HashOfSlot
    {
        using is_transparent = void;
        std::size_t operator()(std::string_view path) const { return std::hash<std::string_view>{}(path); }
        std::size_t operator()(zr::u32 slot) const { return (*this)(owner->pathOf(owner->slots[slot])); }
        const PathIndex* owner;
    };
    struct SameSlot
    {
        using is_transparent = void;
        bool operator()(zr::u32 a, zr::u32 b) const { return a == b; }
        bool operator()(zr::u32 slot, std::string_view path) const { return owner->pathOf(owner->slots[slot]) == path; }
        bool operator()(std::string_view path, zr::u32 slot) const { return (*this)(slot, path); }
        const PathIndex* owner;
    };
    using SlotsByPath = phmap::flat_hash_set<zr::u32, HashOfSlot, SameSlot, zr::allocator<zr::u32>>;
    using DirectoriesByName = phmap::flat_hash_map<DirectoryKey, zr::u32, HashOfDirectory, std::equal_to<>,
                                                   zr::allocator<std::pair<const DirectoryKey, zr::u32>>>;

    std::string_view pathOf(const Slot& slot) const { return {versions[slot.last].path, slot.length}; }
    /// kNone for a driver that the index doesn't know.
    zr::u32 findSlot(std::string_view path) const;
    zr::u32 findDirectory(std::string_view path) const;
    FileRef fileOf(const Version& version) const { return {drivers[version.driver], version.index}; }

    zr::u32 numberOf(IDriver* driver);
    zr::u32 addDirectories(std::string_view lowerPath, std::string_view path);
    zr::u32 addDirectory(zr::u32 parent, std::string_view lowerName, std::string_view name);
    void addFile(const CollectedEntry& entry, zr::u32 directory, bool inFront);
    zr::u32 takeVersion(const Version& version);
    zr::u32 takeSlot(const Slot& slot);
    void linkToDirectory(zr::u32 slot);
    void removeMarked(std::span<const char> isLeaving);

    zr::vector<Slot> slots;
    zr::vector<Version> versions;
    zr::u32 freeSlot = kNone;
    zr::u32 freeVersion = kNone;
    SlotsByPath slotsByPath;
    zr::deque<Directory> directories; ///< never moved: the keys are views of their names
    DirectoriesByName directoriesByName;
    zr::vector<IDriver*> drivers; ///< null where a number is free
};

template <class Goes>
void PathIndex::remove(Goes goes)
{
    zr::vector<char> isLeaving(drivers.size());
    for (std::size_t i = 0; i < drivers.size(); ++i)
        if (drivers[i] && goes(*drivers[i])) isLeaving[i] = 1;
    removeMarked(isLeaving);
}

template <class Callback>
void PathIndex::forEachIn(std::string_view directory, Callback callback) const
{
    const zr::u32 found = findDirectory(directory);
    if (found == kNone) return;
    for (zr::u32 slot = directories[found].firstSlot; slot != kNone; slot = slots[slot].nextInDirectory)
    {
        const std::string_view path = pathOf(slots[slot]);
        callback(path.substr(path.rfind('/') + 1), kFile);
    }
    for (zr::u32 child = directories[found].firstChild; child != kNone; child = directories[child].nextSibling)
        callback(std::string_view(directories[child].name), kDirectory);
}
} // namespace zrvfs
