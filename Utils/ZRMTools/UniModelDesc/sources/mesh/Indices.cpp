#include "mesh/Indices.h"

#include <algorithm>

#include "io/IBinaryFileW.h"

namespace model
{
namespace
{
/// Writes each index in `kBytes` bytes, lowest first.
template <int kBytes>
void writeNarrow(io::IBinaryFileW& file, const zr::vector<u32>& indices)
{
    u8* out = file.append(indices.size() * kBytes);
    for (const u32 index : indices)
        for (int byte = 0; byte < kBytes; ++byte)
            *out++ = static_cast<u8>(index >> (8 * byte));
}
} // namespace

void Indices::write(io::IBinaryFileW& file) const
{
    const u32 largest = indices.empty() ? 0 : *std::max_element(indices.begin(), indices.end());
    const u8 code = largest < 0x100 ? 0 : largest < 0x10000 ? 1 : 2;
    file.writeU8(code);
    file.writeU32(static_cast<u32>(indices.size()));
    file.writeU32(primitiveType);
    if (indices.empty()) return;
    if (code == 0)
        writeNarrow<1>(file, indices);
    else if (code == 1)
        writeNarrow<2>(file, indices);
    else
        writeNarrow<4>(file, indices);
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
