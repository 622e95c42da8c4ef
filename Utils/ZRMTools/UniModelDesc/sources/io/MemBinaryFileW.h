#pragma once

#include "io/FileParts.h"
#include "io/IBinaryFileW.h"
#include "io/StringPool.h"

namespace model
{
/// A binary file that grows in memory. Every write is an insertion before the cursor: at the end it appends, elsewhere
/// what stands behind the cursor moves up, and no byte is ever overwritten. Strings go to a pool; the file holds their
/// indices.
///
/// Positions count the bytes that lie in the file itself: bytes kept as references have none.
class MemBinaryFileW final : public io::IBinaryFileW
{
public:
    MemBinaryFileW();

    bool isOpen() const override { return true; }
    std::size_t write(const void* data, std::size_t size) override;
    /// The position is not checked; one behind the end is taken as the end at the next write.
    void seek(std::size_t position) override;
    std::size_t tell() const override;
    const char* name() const override { return "buffer"; }
    /// Writes the string's index; the string is cut at its first NUL.
    void writeString(std::string_view text) override;
    u8* append(std::size_t size) override;
    /// Long ones are kept as a reference.
    void writeLasting(const void* data, std::size_t size) override;

    /// Makes room for `count` more bytes, so that they are never moved while the file grows.
    void reserve(std::size_t count);

    /// The bytes so far, without those that are kept as references.
    const ByteBuffer& getBytes();
    /// Hands the file over; it is empty afterwards.
    FileParts takeParts();
    StringPool& getStrings() { return strings; }

private:
    /// Bytes of others behind the first `position` bytes of the file.
    struct Reference
    {
        std::size_t position;
        std::span<const u8> bytes;
    };

    bool isAtEnd() const { return limit != nullptr; }
    /// Writes the position of the end back from `next`, so that `bytes` and `cursor` tell the truth.
    void settle();
    /// Lets writes fill the free room behind the end without a call.
    void moveToEnd();

    ByteBuffer bytes;
    /// Where the next write goes; while it is the end of the file, `next` says so alone.
    std::size_t cursor = 0;
    /// In ascending order of the positions.
    zr::vector<Reference> references;
    StringPool strings;
};
} // namespace model
