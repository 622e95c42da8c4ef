#pragma once

#include "inc/NodeFacades.h"
#include "inc/blocks/pyzrm_iblock.h"

namespace pyzrm
{
/// Makes the mesh a skin: four weights and four bone numbers for each vertex. Number 0 is the mesh's control node,
/// i + 1 the i-th bone of the block.
class BoneBlock : public IBlock
{
public:
    u32 getType() const override { return BT_Bone; }
    zr::string check() const override;
    zr::string apply(model::BaseMeshRenderNode& node, u32& uvCounter) const override;

    void setBoneWeights(Floats data) { weights = std::move(data.values); }
    void setBoneIndices(UInts data) { indices = std::move(data.values); }
    void setBones(const zr::vector<Ref<Bone>>& list);
    /// The names are the script's own affair.
    const zr::vector<zr::string>& getBoneNames() const { return names; }
    void setBoneNames(const zr::vector<zr::string>& list) { names = list; }
    void setSkinBox(const Float6& box) { skinBox = toBox(box); }

    const zr::vector<std::shared_ptr<Bone>>& getBones() const { return bones; }

private:
    model::SharedFloats weights;
    zr::vector<u32> indices;
    zr::vector<zr::string> names;
    zr::vector<std::shared_ptr<Bone>> bones;
    model::Box skinBox;
};
} // namespace pyzrm
