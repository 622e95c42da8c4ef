#pragma once

#include <iterator>

#include <zr/types.h>

namespace pyzrm
{
/// The kinds of blocks. A mesh has at most one of each, and they are applied in this order.
enum BlockType : zr::u32
{
    BT_Base = 0,
    BT_Normal = 1,
    BT_Flir = 2,
    BT_Damage = 3,
    BT_Aorms = 4,
    BT_Bone = 5,
    BT_Emissive = 6,
    BT_Ao = 7,
    BT_Decal = 8,
    BT_Glass = 9,
    BT_Number = 10,
    kNumBlockTypes
};

/// What a kind is called, and which meshes take it.
struct BlockFacts
{
    const char* name;
    bool inPbr;
    bool inGlass;
};

/// In the order of `BlockType`.
constexpr BlockFacts kBlockFacts[] = {
    {"BT_Base", true, true},   {"BT_Normal", true, true}, {"BT_Flir", true, true},      {"BT_Damage", true, true},
    {"BT_Aorms", true, true},  {"BT_Bone", true, true},   {"BT_Emissive", true, false}, {"BT_Ao", true, false},
    {"BT_Decal", true, false}, {"BT_Glass", false, true}, {"BT_Number", true, false},
};
static_assert(std::size(kBlockFacts) == kNumBlockTypes, "each kind needs its row, and the numbers leave no gap");
} // namespace pyzrm
