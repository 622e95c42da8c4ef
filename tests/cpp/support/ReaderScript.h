#pragma once

#include <algorithm>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include <zr/Reader.h>
#include <zr/exceptions.h>

namespace test
{
/// Lends its content in pieces of a few bytes; behind `honest` bytes it skips less than it is asked to.
class PieceReader final : public zr::Reader
{
public:
    PieceReader(std::span<const zr::u8> bytes, std::size_t pieceSize, zr::u64 honestBytes = ~zr::u64{0})
        : content(bytes),
          piece(pieceSize),
          honest(honestBytes)
    {
    }

    zr::u64 read(void* destination, zr::u64 count) override
    {
        const std::span<const zr::u8> part = content.first(std::min<zr::u64>(count, content.size()));
        std::copy(part.begin(), part.end(), static_cast<zr::u8*>(destination));
        content = content.subspan(part.size());
        return part.size();
    }
    zr::u64 skip(zr::u64 count) override
    {
        const zr::u64 amount = std::min({count, zr::u64{content.size()}, honest});
        content = content.subspan(amount);
        honest -= amount;
        return amount;
    }
    zr::u64 remaining() const override { return content.size(); }
    std::span<const zr::u8> peek() override { return content.first(std::min(piece, content.size())); }

private:
    std::span<const zr::u8> content;
    std::size_t piece;
    zr::u64 honest;
};

/// What came of a reader that was read to its end or until it raised.
struct Reading
{
    zr::u64 delivered = 0;
    std::string error;           ///< the text of what it raised
    const char* fault = nullptr; ///< a promise of `zr::Reader` that it broke
};

/// Reads, skips and peeks in steps that `next()` chooses by its numbers. No step may give other bytes than those of
/// `content` (if it is known), more of them than were `stated`, or more than the reader said remain.
template <class Next>
Reading follow(zr::Reader& reader, zr::u64 stated, std::optional<std::span<const zr::u8>> content, Next next)
{
    constexpr zr::u64 kAll = ~zr::u64{0}, kRoom = zr::u64{1} << 24;
    Reading result;
    const auto check = [&](bool isGood, const char* what)
    {
        if (!isGood && !result.fault) result.fault = what;
    };
    const auto isContent = [&](std::span<const zr::u8> bytes)
    {
        if (!content) return true;
        const auto left = content->subspan(std::min<zr::u64>(result.delivered, content->size()));
        return bytes.size() <= left.size() && std::equal(bytes.begin(), bytes.end(), left.begin());
    };
    std::vector<zr::u8> memory;
    const auto read = [&](zr::u64 count)
    {
        memory.resize(std::min(count, reader.remaining()));
        memory.shrink_to_fit(); // what is written behind it shows
        const zr::u64 got = reader.read(memory.data(), count);
        check(got <= memory.size() && isContent(std::span(memory).first(got)), "other bytes");
        return got;
    };
    try
    {
        for (bool isEnd = false; !isEnd && !result.fault;)
        {
            const unsigned choice = next();
            const zr::u64 amount = next();
            const zr::u64 sizes[] = {0, 1, amount, 64 * amount, 0x1FFFF, 0x20000, 1024 * amount, kAll};
            const zr::u64 count = std::min(sizes[choice / 4 % 8], reader.remaining() <= kRoom ? kAll : kRoom);
            zr::u64 got = 0;
            if (choice % 4 == 3)
            {
                const std::span<const zr::u8> lent = reader.peek();
                check(lent.size() <= reader.remaining() && isContent(lent), "peeked other bytes");
                isEnd = lent.empty();
            }
            else
            {
                got = choice % 4 == 2 ? reader.skip(count) : read(count);
                isEnd = got < count;
            }
            result.delivered += got;
            check(reader.remaining() + result.delivered <= stated, "more than was stated");
        }
        check(read(7) == 0 && reader.skip(7) == 0 && reader.peek().empty() && reader.remaining() == 0, "no end");
    }
    catch (const zr::ReadError& error)
    {
        result.error = error.what();
        try
        {
            check(read(1) == 0 && reader.skip(kAll) == 0 && reader.peek().empty(), "went on behind an error");
        }
        catch (const zr::ReadError&)
        {
        }
    }
    return result;
}
} // namespace test
