#pragma once

#include "io/ByteBuffer.h"
#include "io/IBinaryFileW.h"
#include "io/StringPool.h"

namespace model
{
/// A binary file that grows in memory. Every write is an insertion before the cursor: at the end it appends, elsewhere
/// what stands behind the cursor moves up, and no byte is ever overwritten. Strings go to a pool; the file holds their
/// indices.
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

    /// Makes room for `count` more bytes, so that they are never moved while the file grows.
    void reserve(std::size_t count);

    /// The bytes so far.
    const ByteBuffer& getBytes();
    /// Hands the bytes over; the file is empty afterwards.
    ByteBuffer takeBytes();
    StringPool& getStrings() { return strings; }

private:
    bool isAtEnd() const { return limit != nullptr; }
    /// Writes the position of the end back from `next`, so that `bytes` and `cursor` tell the truth.
    void settle();
    /// Lets writes fill the free room behind the end without a call.
    void moveToEnd();

    ByteBuffer bytes;
    /// Where the next write goes; while it is the end of the file, `next` says so alone.
    std::size_t cursor = 0;
    StringPool strings;
};
} // namespace model
