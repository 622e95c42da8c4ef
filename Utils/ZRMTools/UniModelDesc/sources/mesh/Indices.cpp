#include "mesh/Indices.h"

#include <bit>
#include <cstring>

#include "io/IBinaryFileW.h"

namespace model
{
namespace
{
/// Writes each index as a `T`, lowest byte first.
template <class T>
void writeAs(io::IBinaryFileW& file, const zr::vector<u32>& indices)
{
    constexpr bool kIsLittle = std::endian::native == std::endian::little;
    if constexpr (kIsLittle && sizeof(T) == sizeof(u32))
        return file.writeLasting(indices.data(), indices.size() * sizeof(T));
    u8* const out = file.append(indices.size() * sizeof(T));
    for (std::size_t i = 0; i < indices.size(); ++i)
    {
        T index = static_cast<T>(indices[i]);
        if constexpr (!kIsLittle) index = std::byteswap(index);
        std::memcpy(out + i * sizeof(T), &index, sizeof(T));
    }
}
} // namespace

void Indices::write(io::IBinaryFileW& file) const
{
    u32 bits = 0; // the highest of all indices decides, which together they have
    for (const u32 index : indices)
        bits |= index;
    const u8 code = bits < 0x100 ? 0 : bits < 0x10000 ? 1 : 2;
    file.writeU8(code);
    file.writeU32(static_cast<u32>(indices.size()));
    file.writeU32(primitiveType);
    if (indices.empty()) return;
    if (code == 0)
        writeAs<u8>(file, indices);
    else if (code == 1)
        writeAs<u16>(file, indices);
    else
        writeAs<u32>(file, indices);
}

u32 Indices::getPrimitiveCount() const
{
    const u32 count = static_cast<u32>(indices.size());
    const auto less = [count](u32 dropped) { return count > dropped ? count - dropped : 0; };
    switch (primitiveType)
    {
    case kPoints:
        return count;
    case kLines:
        return count / 2;
    case kLineStrip:
        return less(1);
    case kTriangles:
        return count / 3;
    case kTriangleStrip:
    case kTriangleFan:
        return less(2);
    default:
        return 0;
    }
}
} // namespace model
