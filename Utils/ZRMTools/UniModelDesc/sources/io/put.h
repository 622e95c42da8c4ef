#pragma once

#include "io/IBinaryFileW.h"

/// One name for all fixed fields: the type of the value says how it is written. Sizes have no overload, so that a count
/// can't go out in the wrong width; nor have `bool` and enumerations.
namespace io
{
inline void put(IBinaryFileW& file, u8 value)
{
    file.writeU8(value);
}
inline void put(IBinaryFileW& file, u32 value)
{
    file.writeU32(value);
}
/// By its bits.
inline void put(IBinaryFileW& file, model::i32 value)
{
    file.writeU32(static_cast<u32>(value));
}
inline void put(IBinaryFileW& file, f32 value)
{
    file.writeF32(value);
}
inline void put(IBinaryFileW& file, f64 value)
{
    file.writeF64(value);
}
inline void put(IBinaryFileW& file, const model::vec2f& value)
{
    file.writeVec2f(value);
}
inline void put(IBinaryFileW& file, const model::vec3f& value)
{
    file.writeVec3f(value);
}
inline void put(IBinaryFileW& file, const model::vec4f& value)
{
    file.writeVec4f(value);
}
inline void put(IBinaryFileW& file, const model::vec3d& value)
{
    file.writeVec3d(value);
}
inline void put(IBinaryFileW& file, const model::vec4d& value)
{
    file.writeVec4d(value);
}
inline void put(IBinaryFileW& file, const model::matrixf& value)
{
    file.writeMatrixf(value);
}
inline void put(IBinaryFileW& file, const model::matrixd& value)
{
    file.writeMatrixd(value);
}
/// As `writeString`; names of nodes are `writeRawName`.
inline void put(IBinaryFileW& file, std::string_view text)
{
    file.writeString(text);
}
} // namespace io
