#include "mesh/Semantics.h"

namespace model
{
const char* getSemanticName(i32 semantic)
{
    static constexpr const char* kNames[] = {
        "POSITION0",  "NORMAL0",    "TANGENT0",   "BINORMAL0",  "TEXCOORD0",  "TEXCOORD1",  "TEXCOORD2",
        "TEXCOORD3",  "TEXCOORD4",  "TEXCOORD5",  "TEXCOORD6",  "TEXCOORD7",  "TEXCOORD8",  "TEXCOORD9",
        "TEXCOORD10", "TEXCOORD11", "TEXCOORD12", "TEXCOORD13", "TEXCOORD14", "TEXCOORD15", "COLOR0",
        "COLOR1",     "POSITION1",  "NORMAL1",    "TANGENT1",   "BINORMAL1",  "COLOR2",
    };
    constexpr i32 kCount = sizeof(kNames) / sizeof(*kNames);
    return semantic >= 0 && semantic < kCount ? kNames[semantic] : "UnknownSemantic";
}
} // namespace model
