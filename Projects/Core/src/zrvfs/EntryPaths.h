#pragma once

#include <zr/containers.h>
#include <zrvfs/normalizePath.h>

namespace zrvfs
{
/// The texts of a driver's entries, one behind the other in one block: a hundred thousand paths are no hundred thousand
/// pieces of memory. Views of them are valid once all are added.
class TextPool
{
public:
    /// Where a text stands.
    struct Place
    {
        zr::u64 offset : 40;
        zr::u64 length : 24;
    };
    static constexpr zr::u64 kMaxLength = (1 << 24) - 1;

    /// `text` has at most `kMaxLength` bytes.
    Place add(std::string_view text)
    {
        const Place place{text_.size() & ((zr::u64{1} << 40) - 1), text.size() & kMaxLength};
        text_.append(text);
        return place;
    }
    std::string_view at(Place place) const { return std::string_view(text_).substr(place.offset, place.length); }
    void shrink() { text_.shrink_to_fit(); }

private:
    zr::string text_;
};

/// The paths of one file or directory of a source.
struct EntryPaths
{
    TextPool::Place path;       ///< the mount point joined to the name, normalised with its case kept
    TextPool::Place lowerPath;  ///< `path` in lower case
    TextPool::Place sourcePath; ///< where the entry is found in its source
};

/// Fills `paths` for an entry `name` of a source that is mounted at `mountPoint`; equal texts are stored once.
///
/// trimmed     whether trailing slashes go, as for directories
/// sourcePath  the location in the source
/// returns     false, and logs, if the entry would not lie under the mount point: a name can climb out with ".."
bool addEntryPaths(TextPool& texts, std::string_view mountPoint, std::string_view name, std::string_view sourcePath,
                   bool trimmed, EntryPaths& paths);
} // namespace zrvfs
