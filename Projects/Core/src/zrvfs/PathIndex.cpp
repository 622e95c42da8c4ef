#include <zrvfs/PathIndex.h>

#include <algorithm>

namespace zrvfs
{
namespace
{
/// Room for `count` more. To reserve exactly would copy everything again with each of many small mounts.
template <class Vector>
void reserveMore(Vector& vector, std::size_t count)
{
    const std::size_t wanted = vector.size() + count;
    if (wanted > vector.capacity()) vector.reserve(std::max(wanted, vector.capacity() + vector.capacity() / 2));
}
} // namespace

PathIndex::PathIndex() : slotsByPath(0, HashOfSlot{this}, SameSlot{this})
{
    clear();
}

void PathIndex::clear()
{
    slots.clear();
    versions.clear();
    freeSlot = freeVersion = kNone;
    slotsByPath.clear();
    directoriesByName.clear();
    directories.clear();
    directories.push_back({.parent = kNone, .lowerName = {}, .name = {}});
    drivers.clear();
}

void PathIndex::add(std::span<const CollectedEntry> entries, bool inFront)
{
    reserveMore(slots, entries.size());
    reserveMore(versions, entries.size());
    slotsByPath.reserve(slotsByPath.size() + entries.size());
    std::string_view lastLower; // of neighbours, most lie in one directory
    zr::u32 last = kRoot;
    for (const CollectedEntry& entry : entries)
    {
        if (entry.type == kDirectory)
        {
            addDirectories(entry.lowerPath, entry.path);
            continue;
        }
        const std::string_view lower = entry.lowerPath.substr(0, entry.lowerPath.rfind('/') + 1);
        if (lower != lastLower)
        {
            last = addDirectories(lower, entry.path.substr(0, entry.path.rfind('/') + 1));
            lastLower = lower;
        }
        addFile(entry, last, inFront);
    }
}

zr::u32 PathIndex::addDirectories(std::string_view lowerPath, std::string_view path)
{
    zr::u32 directory = kRoot;
    while (!lowerPath.empty())
    {
        const std::size_t lowerEnd = std::min(lowerPath.find('/'), lowerPath.size());
        const std::size_t end = std::min(path.find('/'), path.size());
        if (lowerEnd != 0) directory = addDirectory(directory, lowerPath.substr(0, lowerEnd), path.substr(0, end));
        lowerPath.remove_prefix(std::min(lowerEnd + 1, lowerPath.size()));
        path.remove_prefix(std::min(end + 1, path.size()));
    }
    return directory;
}

zr::u32 PathIndex::addDirectory(zr::u32 parent, std::string_view lowerName, std::string_view name)
{
    const auto known = directoriesByName.find(DirectoryKey{parent, lowerName});
    if (known != directoriesByName.end()) return known->second;
    const auto number = static_cast<zr::u32>(directories.size());
    Directory& made = directories.emplace_back(Directory{.parent = parent,
                                                         .nextSibling = directories[parent].firstChild,
                                                         .lowerName = zr::string(lowerName),
                                                         .name = zr::string(name)});
    directories[parent].firstChild = number;
    directoriesByName.emplace(DirectoryKey{parent, made.lowerName}, number);
    return number;
}

void PathIndex::addFile(const CollectedEntry& entry, zr::u32 directory, bool inFront)
{
    const zr::u32 version = takeVersion({entry.lowerPath.data(), entry.file.index, numberOf(entry.file.driver), kNone});
    const std::size_t hash = slotsByPath.hash(entry.lowerPath);
    const auto known = slotsByPath.find(entry.lowerPath, hash);
    if (known == slotsByPath.end())
    {
        versions[version].next = version;
        const zr::u32 slot = takeSlot({version, static_cast<zr::u32>(entry.lowerPath.size()), directory, kNone});
        slotsByPath.emplace_with_hash(hash, slot);
        linkToDirectory(slot);
        return;
    }
    Slot& slot = slots[*known];
    versions[version].next = versions[slot.last].next;
    versions[slot.last].next = version;
    if (!inFront) slot.last = version;
}

zr::u32 PathIndex::takeVersion(const Version& version)
{
    if (freeVersion == kNone)
    {
        versions.push_back(version);
        return static_cast<zr::u32>(versions.size() - 1);
    }
    const zr::u32 number = freeVersion;
    freeVersion = versions[number].next;
    versions[number] = version;
    return number;
}

zr::u32 PathIndex::takeSlot(const Slot& slot)
{
    if (freeSlot == kNone)
    {
        slots.push_back(slot);
        return static_cast<zr::u32>(slots.size() - 1);
    }
    const zr::u32 number = freeSlot;
    freeSlot = slots[number].nextInDirectory;
    slots[number] = slot;
    return number;
}

void PathIndex::linkToDirectory(zr::u32 slot)
{
    Directory& directory = directories[slots[slot].directory];
    slots[slot].nextInDirectory = directory.firstSlot;
    directory.firstSlot = slot;
}

zr::u32 PathIndex::numberOf(IDriver* driver)
{
    // A mount's entries come driver by driver, so the last one is nearly always the one.
    const auto known = std::find(drivers.rbegin(), drivers.rend(), driver);
    if (known != drivers.rend()) return static_cast<zr::u32>(drivers.rend() - known - 1);
    const auto free = std::find(drivers.begin(), drivers.end(), nullptr);
    if (free == drivers.end()) return (drivers.push_back(driver), static_cast<zr::u32>(drivers.size() - 1));
    *free = driver;
    return static_cast<zr::u32>(free - drivers.begin());
}

void PathIndex::removeMarked(std::span<const char> isLeaving)
{
    if (std::find(isLeaving.begin(), isLeaving.end(), 1) == isLeaving.end()) return;
    for (Directory& directory : directories)
        directory.firstSlot = kNone;
    for (zr::u32 i = 0; i < slots.size(); ++i)
    {
        Slot& slot = slots[i];
        if (slot.last == kNone) continue;
        // The path's text may be a leaving driver's: the slot leaves the table before, and comes back with another's.
        const std::string_view path = pathOf(slot);
        zr::u32 firstKept = kNone;
        zr::u32 lastKept = kNone;
        zr::u32 next = versions[slot.last].next;
        for (bool atEnd = false; !atEnd;)
        {
            const zr::u32 version = next;
            atEnd = version == slot.last;
            next = versions[version].next;
            if (isLeaving[versions[version].driver])
            {
                versions[version].next = freeVersion;
                freeVersion = version;
                continue;
            }
            (lastKept == kNone ? firstKept : versions[lastKept].next) = version;
            lastKept = version;
        }
        if (lastKept == kNone)
        {
            slotsByPath.erase(slotsByPath.find(path));
            slot.last = kNone;
            slot.nextInDirectory = freeSlot;
            freeSlot = i;
            continue;
        }
        versions[lastKept].next = firstKept;
        slot.last = lastKept;
        linkToDirectory(i);
    }
    for (std::size_t i = 0; i < isLeaving.size(); ++i)
        if (isLeaving[i]) drivers[i] = nullptr;
}

zr::u32 PathIndex::findSlot(std::string_view path) const
{
    const auto found = slotsByPath.find(path);
    return found == slotsByPath.end() ? kNone : *found;
}

zr::u32 PathIndex::findDirectory(std::string_view path) const
{
    if (!path.starts_with('/')) return kNone;
    path.remove_prefix(1);
    zr::u32 directory = kRoot;
    while (!path.empty())
    {
        const std::size_t end = std::min(path.find('/'), path.size());
        const auto found = directoriesByName.find(DirectoryKey{directory, path.substr(0, end)});
        if (found == directoriesByName.end()) return kNone;
        directory = found->second;
        path.remove_prefix(std::min(end + 1, path.size()));
    }
    return directory;
}

FileRef PathIndex::find(std::string_view path) const
{
    const zr::u32 slot = findSlot(path);
    return slot == kNone ? FileRef{} : fileOf(versions[versions[slots[slot].last].next]);
}

zr::vector<FileRef> PathIndex::versionsOf(std::string_view path) const
{
    zr::vector<FileRef> files;
    const zr::u32 slot = findSlot(path);
    if (slot == kNone) return files;
    const zr::u32 last = slots[slot].last;
    zr::u32 version = last;
    do
    {
        version = versions[version].next;
        files.push_back(fileOf(versions[version]));
    } while (version != last);
    return files;
}
} // namespace zrvfs
