#include "inc/PBRNode.h"

#include <algorithm>

#include "inc/blocks/BoneBlock.h"
#include "inc/blocks/DamageBlock.h"
#include "nodes/NumberNode.h"
#include "nodes/SkinNode.h"
#include "utils/mesh/DamageSplit.h"
#include <zr/array.h>

namespace pyzrm
{
namespace
{
void addPivot(model::BaseRenderNode& node, const model::vec3f& point)
{
    if (auto* mesh = dynamic_cast<model::RenderNode*>(&node)) mesh->addPivot(point);
    if (auto* skin = dynamic_cast<model::SkinNode*>(&node)) skin->addPivot(point);
}
} // namespace

PBRNode::PBRNode(const zr::string&, const zr::string& materialName) : PBRNode(materialName, &BlockFacts::inPbr)
{
    material->setMaterialName("def_material");
}

PBRNode::PBRNode(const zr::string& materialName, bool BlockFacts::* supportsBlock)
    : material(new model::PropertiesSet()),
      supports(supportsBlock)
{
    material->setName(materialName.c_str());
}

zr::string PBRNode::build()
{
    if (findBlock(BT_Number) && findBlock(BT_Bone)) return "You can not use bone(skin) and number at the same time.";
    std::sort(blocks.begin(), blocks.end(), [](const auto& a, const auto& b) { return a->getType() < b->getType(); });

    if (zr::string text = checkBlocks(); !text.empty()) return text;
    if (twoSided) material->setSingleSided(false);
    if (zr::string text = createNode(); !text.empty()) return text;
    return fillNode();
}

zr::string PBRNode::checkBlocks() const
{
    if (!findBlock(BT_Base))
        return "Material " + material->name + " must have the following blocks " + kBlockFacts[BT_Base].name + ".";
    for (const auto& block : blocks)
        if (!(kBlockFacts[block->getType()].*supports))
            return "Material " + material->name + " doesn't support block " + block->getTypeName() + ".";
    if (indices.indices.empty()) return "Indices aren't set.";
    for (const auto& block : blocks)
        if (zr::string text = block->check(); !text.empty()) return text;
    if (!control) return kNoControlNode;
    return {};
}

zr::string PBRNode::createNode()
{
    const model::ObjectPtr<model::Node>& controlNode = control->getNode();
    if (findBlock(BT_Number))
    {
        node = model::create<model::NumberNode>();
        node->setControlNode(0, controlNode);
    }
    else if (const auto* skinning = dynamic_cast<const BoneBlock*>(findBlock(BT_Bone)))
    {
        // A skin finds what it hangs on among its bones.
        if (!model::cast<model::Bone>(controlNode)) return "Control node of a skin must be a bone.";
        auto skin = model::create<model::SkinNode>();
        skin->resizeBones(skinning->getBones().size() + 1);
        skin->setControlNode(0, controlNode);
        for (std::size_t i = 0; i < skinning->getBones().size(); ++i)
            skin->setControlNode(i + 1, skinning->getBones()[i]->getNode());
        node = skin;
    }
    else
    {
        auto mesh = model::create<model::RenderNode>();
        if (waterMask) mesh->setPurpose(1);
        mesh->setControlNode(0, controlNode);
        node = mesh;
    }
    return {};
}

zr::string PBRNode::fillNode()
{
    node->setMaterial(material);
    node->getIndices() = indices;
    u32 uvCounter = 0;
    for (const auto& block : blocks)
        if (zr::string text = block->apply(*node, uvCounter); !text.empty()) return text;

    if (const auto* damage = dynamic_cast<const DamageBlock*>(findBlock(BT_Damage)))
    {
        node->setArgument(0, damage->getArgument());
        const auto mesh = model::cast<model::RenderNode>(node);
        if (mesh && damage->hasPerVertexArguments()) splitNodes = model::splitRenderNodeByDamageArgument(mesh.get());
        if (!splitNodes.empty()) // they go into the model in its place
        {
            node->getVertices() = {};
            node->getIndices() = {};
        }
    }
    return {};
}

IBlock* PBRNode::findBlock(u32 type) const
{
    for (const auto& block : blocks)
        if (block->getType() == type) return block.get();
    return nullptr;
}

bool PBRNode::hasBlock(const char* name) const
{
    return getBlock(name) != nullptr;
}

std::shared_ptr<IBlock> PBRNode::getBlock(const zr::string& name) const
{
    for (const auto& block : blocks)
        if (name == block->getTypeName()) return block;
    return nullptr;
}

NodeList PBRNode::getNodes() const
{
    if (!splitNodes.empty()) return NodeList(splitNodes.begin(), splitNodes.end());
    return {node};
}

zr::string PBRNode::getName() const
{
    return node ? node->getName() : "EMPTY PBRNode";
}

void PBRNode::addBlock(Ref<IBlock> block)
{
    const u32 type = block->getType();
    for (auto& present : blocks)
        if (present->getType() == type)
        {
            present = block.shared();
            return;
        }
    blocks.push_back(block.shared());
}

void PBRNode::setShadowCaster(WholeNumber mode)
{
    if (mode.value == 0 || mode.value == 1) material->setCastsShadow(mode.value == 0);
    if (mode.value == 2) material->setShadowFlag2(true);
}

void PBRNode::setTransparentMode(WholeNumber mode)
{
    if (mode.value >= 0 && mode.value <= 3) material->setBlending(mode.asHandle());
}

void PBRNode::setOpacityValue(Ref<PropertyFloat> value)
{
    setNamedProperty(*material, "opacityValue", value->get());
}

void PBRNode::setOpacityFresnelPower(Ref<PropertyFloat> power)
{
    setNamedProperty(*material, "opacityFresnelPower", power->get());
}

void PBRNode::setOpacityFresnelFactor(Ref<PropertyFloat> factor)
{
    setNamedProperty(*material, "opacityFresnelFactor", factor->get());
}

void PBRNode::addTransparentPivot(const zr::array<f32, 3>& point)
{
    const model::vec3f pivot(point[0], point[1], point[2]);
    for (const auto& part : splitNodes)
        addPivot(*part, pivot);
    if (splitNodes.empty() && node) addPivot(*node, pivot);
}

GlassNode::GlassNode(const zr::string&, const zr::string& materialName) : PBRNode(materialName, &BlockFacts::inGlass)
{
    material->setMaterialName("glass_instrumental_material");
    material->setBlending(1);
}

void GlassNode::setTransparentMode(WholeNumber mode)
{
    if (mode.value == 1 || mode.value == 3 || mode.value == 6) material->setBlending(mode.asHandle());
}

void GlassNode::setGlassType(WholeNumber type)
{
    if (type.value == 0) material->setMaterialName("glass_instrumental_material");
    if (type.value == 1) material->setMaterialName("glass_material");
}
} // namespace pyzrm
