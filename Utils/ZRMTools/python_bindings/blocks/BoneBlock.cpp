#include "inc/blocks/BoneBlock.h"

#include <cmath>
#include <cstring>

#include "nodes/SkinNode.h"
#include <zr/checked.h>

namespace pyzrm
{
namespace
{
/// The low bytes of four indices, the first in the lowest byte.
u32 packBones(const u32* four)
{
    return (four[0] & 0xFFu) | (four[1] & 0xFFu) << 8 | (four[2] & 0xFFu) << 16 | (four[3] & 0xFFu) << 24;
}

bool areNormalized(const model::SharedFloats& weights)
{
    for (std::size_t i = 0; i + 3 < weights.size(); i += 4)
    {
        const f32 sum = weights[i] + weights[i + 1] + weights[i + 2] + weights[i + 3];
        if (!(std::fabs(sum - 1.0f) <= 0.0001f)) return false;
    }
    return true;
}
} // namespace

void BoneBlock::setBones(const zr::vector<Ref<Bone>>& list)
{
    bones.clear();
    bones.reserve(list.size());
    for (const Ref<Bone>& bone : list)
        bones.push_back(bone.shared());
}

zr::string BoneBlock::check() const
{
    if (weights.empty()) return "Bone weights aren't set.";
    if (indices.empty()) return "Bone indices aren't set.";
    if (indices.size() % 4 != 0) return "Invalid size of bone indices.";
    if (weights.size() != indices.size()) return "Invalid size of bone weights.";
    if (!areNormalized(weights)) return "Bone weights are not normalized.";
    return {};
}

zr::string BoneBlock::apply(model::BaseMeshRenderNode& node, u32&) const
{
    setAttribute(node, model::kColor1, 4, weights);

    const std::size_t count = node.getVertices().getVertexCount();
    if (indices.size() < 4 * count) zr::raiseBadIndex();
    zr::vector<f32> fourth(count);
    for (std::size_t i = 0; i < count; ++i)
    {
        // Bit for bit: as a float the packed value may be a NaN, which an assignment need not keep.
        const u32 packed = packBones(&indices[4 * i]);
        std::memcpy(&fourth[i], &packed, sizeof(packed));
    }
    node.getVertices().shareOne(model::kPosition0, 3, std::move(fourth));

    auto* skin = dynamic_cast<model::SkinNode*>(&node);
    if (!skin) return "Bone block : render node is not skin node.";
    skin->skinBox = skinBox;
    skin->setVersion(skinBox.isSet() ? 1 : 0);
    return {};
}
} // namespace pyzrm
