#include "io/IBinaryFileW.h"

namespace io
{
void IBinaryFileW::writeString(std::string_view text)
{
    writeRawName(text);
}

void IBinaryFileW::writeRawName(std::string_view text)
{
    writeU32(static_cast<u32>(text.size()));
    write(text.data(), text.size());
}

void IBinaryFileW::writeVec3d(const model::vec3d& value)
{
    writeF64(value.x);
    writeF64(value.y);
    writeF64(value.z);
}

void IBinaryFileW::writeVec4d(const model::vec4d& value)
{
    writeF64(value.x);
    writeF64(value.y);
    writeF64(value.z);
    writeF64(value.w);
}

void IBinaryFileW::writeMatrixd(const model::matrixd& value)
{
    for (const f64 number : value.m)
        writeF64(number);
}
} // namespace io
