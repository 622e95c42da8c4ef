#include <zrvfs/normalizePath.h>

#include <zr/containers.h>
#include <zr/text/LowerCase.h>
#include <zr/text/Utf8.h>

namespace zrvfs
{
namespace
{
constexpr bool isSlash(char character)
{
    return character == '/' || character == '\\';
}

/// Reads a path character by character and writes its normal form. What a dot or slash comes to mean shows only
/// behind it, so these are written late; a marker holds the output's length before each component that "/.." may cut.
class Normalizer
{
public:
    Normalizer(bool lowerCase, PathString& normalized) : isLowering(lowerCase), out(normalized) {}

    void run(std::string_view path)
    {
        const char* const end = path.data() + path.size();
        for (const char* at = path.data(); at != end;)
        {
            if (isSlash(*at))
            {
                onSlash();
                ++at;
            }
            else if (*at == '.' && state != kInName)
            {
                onDot();
                ++at;
            }
            else
            {
                beginName();
                at = copyName(at, end);
            }
        }
        finish();
    }

private:
    enum State
    {
        kStart,
        kLeadingSlash,
        kSlash,    ///< behind a name
        kDot,      ///< at the start of a component, with nothing written of it
        kDotDot,   ///< the same
        kSlashDot, ///< with its slash unwritten too
        kSlashDotDot,
        kDotSlash, ///< "./", of which nothing is written
        kInName,
    };

    void onSlash()
    {
        switch (state)
        {
        case kStart:
            state = kLeadingSlash;
            break;
        case kDot:
            state = kDotSlash;
            break;
        case kDotDot:
            out.append("..");
            state = kSlash;
            break;
        case kSlashDotDot:
            leave();
            state = kSlash;
            break;
        case kSlashDot:
        case kInName:
            state = kSlash;
            break;
        case kLeadingSlash:
        case kSlash:
        case kDotSlash:
            break;
        }
    }

    void onDot()
    {
        switch (state)
        {
        case kStart:
        case kDotSlash:
            state = kDot;
            break;
        case kLeadingSlash:
            out.append('/');
            state = kDot;
            break;
        case kSlash:
            state = kSlashDot;
            break;
        case kDot:
            state = kDotDot;
            break;
        case kSlashDot:
            state = kSlashDotDot;
            break;
        case kDotDot:
            out.append("...");
            state = kInName;
            break;
        case kSlashDotDot:
            out.append("/...");
            state = kInName;
            break;
        case kInName:
            break; // a dot in a name is copied with it
        }
    }

    /// Before a character that is neither slash nor dot.
    void beginName()
    {
        switch (state)
        {
        case kStart:
            markers.push_back(out.size());
            break;
        case kLeadingSlash:
        case kSlash:
            markers.push_back(out.size());
            out.append('/');
            break;
        case kDot:
            out.append('.');
            break;
        case kDotDot:
            out.append("..");
            break;
        case kSlashDot:
            out.append("/.");
            break;
        case kSlashDotDot:
            out.append("/..");
            break;
        case kDotSlash:
        case kInName:
            break;
        }
        state = kInName;
    }

    /// Copies up to the next slash.
    const char* copyName(const char* at, const char* end)
    {
        const char* stop = at;
        while (stop != end && !isSlash(*stop))
            ++stop;
        if (isLowering)
            appendLowerCase(at, stop);
        else
            out.append(std::string_view(at, static_cast<std::size_t>(stop - at)));
        return stop;
    }

    void appendLowerCase(const char* at, const char* end)
    {
        while (at != end)
        {
            if (static_cast<unsigned char>(*at) < 0x80)
            {
                const char character = *at++;
                out.append(character >= 'A' && character <= 'Z' ? static_cast<char>(character + ('a' - 'A'))
                                                                : character);
                continue;
            }
            const char* const before = at;
            const zr::u32 character = zr::readCharacter(at, end);
            if (character == zr::kNoCharacter)
                out.append(*at++);
            else if (character > 0xFFFF || zr::toLowerCase(character) == character)
                out.append(std::string_view(before, static_cast<std::size_t>(at - before)));
            else
            {
                zr::string lowered;
                zr::appendCharacter(lowered, zr::toLowerCase(character));
                out.append(lowered);
            }
        }
    }

    /// "/..": back to before the last component, if there is one.
    void leave()
    {
        if (markers.empty())
        {
            out.append("/..");
            return;
        }
        out.setLength(markers.back());
        markers.pop_back();
    }

    void finish()
    {
        if (state == kLeadingSlash || state == kSlash)
            out.append('/');
        else if (state == kDotDot)
            out.append("..");
        else if (state == kSlashDotDot)
            leave();
    }

    const bool isLowering;
    PathString& out;
    State state = kStart;
    zr::small_vector<zr::u64, 16> markers;
};

bool isAbsolute(std::string_view path)
{
    return !path.empty() && isSlash(path.front());
}
} // namespace

PathString normalizePath(std::string_view path, bool lowerCase)
{
    PathString normalized;
    Normalizer(lowerCase, normalized).run(path);
    return normalized;
}

PathString normalizeSource(std::string_view path)
{
    PathString source = normalizePath(path, true);
    std::string_view kept = source.view();
    if (kept.size() > 1 && kept.ends_with('/')) kept.remove_suffix(1);
    if (!isAbsolute(path) && isAbsolute(kept)) kept.remove_prefix(1);
    return PathString(kept);
}

void joinPath(std::string_view head, std::string_view tail, PathString& joined)
{
    joined.assign(head);
    if (!head.empty() && !tail.empty() && !isSlash(head.back()) && !isSlash(tail.front())) joined.append('/');
    joined.append(tail);
}
} // namespace zrvfs
