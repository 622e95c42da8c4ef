#pragma once

#include "inc/IRenderNode.h"
#include "inc/NodeFacades.h"
#include "inc/blocks/pyzrm_iblock.h"
#include "nodes/BaseMeshRenderNode.h"
#include <zr/array.h>

namespace pyzrm
{
/// A mesh whose material is made of blocks. Nothing of the blocks reaches the model before `build`.
class PBRNode : public IRenderNode
{
public:
    /// The first name is not used: the nodes of a mesh of blocks have none.
    PBRNode(const zr::string& name, const zr::string& materialName);

    /// A second build makes a new node from the same material; the split nodes of an earlier one stay where no new
    /// ones replace them. A failure in a block's `apply` leaves a half-filled node.
    zr::string build() override;
    bool hasBlock(const char* name) const override;
    NodeList getNodes() const override;

    /// "EMPTY PBRNode" before the first build.
    zr::string getName() const;
    void setIndices(UInts data) { indices.indices = std::move(data.values); }
    void setControlNode(Ref<Node> facade) { control = facade.shared(); }
    /// Takes the place of a block of the same type, or the end.
    void addBlock(Ref<IBlock> block);
    /// Null when there is none.
    std::shared_ptr<IBlock> getBlock(const zr::string& name) const;
    void setShadowCaster(WholeNumber mode);
    void setTransparentMode(WholeNumber mode);
    void setOpacityValue(Ref<PropertyFloat> value);
    void setOpacityFresnelPower(Ref<PropertyFloat> power);
    void setOpacityFresnelFactor(Ref<PropertyFloat> factor);
    void setDecalId(WholeNumber id) { material->setDecalId(id.lowByte()); }
    void setTwoSided(bool enable) { twoSided = enable; }
    void setPurposeWaterMask() { waterMask = true; }
    /// Adds a pivot to what the last build made; does nothing before.
    void addTransparentPivot(const zr::array<f32, 3>& point);

protected:
    using MeshPtr = model::ObjectPtr<model::BaseMeshRenderNode>;

    /// A material of that name that takes the blocks of which `supports` is true.
    PBRNode(const zr::string& materialName, bool BlockFacts::* supports);

    model::MaterialPtr material;

private:
    IBlock* findBlock(u32 type) const;
    /// The three steps of a build behind the sorting of blocks.
    zr::string checkBlocks() const;
    zr::string createNode();
    zr::string fillNode();

    bool BlockFacts::* supports;
    MeshPtr node;
    zr::vector<model::ObjectPtr<model::BaseRenderNode>> splitNodes;
    std::shared_ptr<Node> control;
    model::Indices indices;
    /// At most one of each type; ascending types after a build.
    zr::vector<std::shared_ptr<IBlock>> blocks;
    bool twoSided = false;
    bool waterMask = false;
};

/// A mesh of glass.
class GlassNode : public PBRNode
{
public:
    GlassNode(const zr::string& name, const zr::string& materialName);

    void setTransparentMode(WholeNumber mode);
    void setGlassType(WholeNumber type);
};
} // namespace pyzrm
