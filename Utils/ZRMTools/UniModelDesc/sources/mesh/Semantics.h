#pragma once

#include "base/types.h"

namespace model
{
/// What a vertex attribute means. The numbers are the order of the attributes in vertex formats and interleaved data.
enum Semantic : i32
{
    kPosition0 = 0,
    kNormal0 = 1,
    kTangent0 = 2,
    kBinormal0 = 3,
    kTexCoord0 = 4, ///< TEXCOORDk is `kTexCoord0 + k`, k from 0 to 15
    kTexCoord15 = 19,
    kColor0 = 20,
    kColor1 = 21, ///< of a number mesh: one float, the position of the vertex's NumberControl
    kPosition1 = 22,
    kNormal1 = 23,
    kTangent1 = 24,
    kBinormal1 = 25,
    kColor2 = 26, ///< one float, the damage argument of the vertex
};

/// The name that messages use, such as "TEXCOORD3"; "UnknownSemantic" for a number outside 0 to 26.
const char* getSemanticName(i32 semantic);
} // namespace model
