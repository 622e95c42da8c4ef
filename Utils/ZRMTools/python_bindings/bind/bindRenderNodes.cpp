#include "bind/Binder.h"
#include "bind/describe.h"
#include "inc/FixedNodes.h"
#include "inc/PBRNode.h"

namespace pyzrm
{
namespace
{
using Name = const zr::string&;

void bindBlockNodes()
{
    const auto name = [](const PBRNode& facade) { return facade.getName(); };
    Binder<PBRNode>()
        .constructor<Name, Name>()
        .method("getName", &PBRNode::getName)
        .method("setIndices", &PBRNode::setIndices)
        .method("setControlNode", &PBRNode::setControlNode)
        .define<std::optional<Ref<IBlock>>>("addBlock",
                                            [](PBRNode& self, const std::optional<Ref<IBlock>>& block)
                                            {
                                                if (block) self.addBlock(*block);
                                            })
        .method("getBlock", &PBRNode::getBlock)
        .define<zr::string>("hasBlock", [](PBRNode& self, Name type) { return self.hasBlock(type.c_str()); })
        .method("setShadowCaster", &PBRNode::setShadowCaster)
        .method("setTransparentMode", &PBRNode::setTransparentMode)
        .method("setOpacityValue", &PBRNode::setOpacityValue)
        .method("setOpacityFresnelPower", &PBRNode::setOpacityFresnelPower)
        .method("setOpacityFresnelFactor", &PBRNode::setOpacityFresnelFactor)
        .method("setDecalId", &PBRNode::setDecalId)
        .method("setTwoSided", &PBRNode::setTwoSided)
        .method("setPurposeWaterMask", &PBRNode::setPurposeWaterMask)
        .method("addTransparentPivot", &PBRNode::addTransparentPivot)
        .repr("PBRNode", name);
    Binder<GlassNode>()
        .constructor<Name, Name>()
        .method("setTransparentMode", &GlassNode::setTransparentMode)
        .method("setGlassType", &GlassNode::setGlassType)
        .repr("GlassNode", name);
}

void bindDeck()
{
    Binder<DeckNode>()
        .constructor<Name, Name>()
        .method("setPositions", &DeckNode::setPositions)
        .method("setNormals", &DeckNode::setNormals)
        .method("setTiledUV", &DeckNode::setTiledUV)
        .method("setRegularUV", &DeckNode::setRegularUV)
        .method("setIndices", &DeckNode::setIndices)
        .method("setBaseTiledMap", &DeckNode::setBaseTiledMap)
        .method("setNormalTiledMap", &DeckNode::setNormalTiledMap)
        .method("setAormsTiledMap", &DeckNode::setAormsTiledMap)
        .method("setBaseMap", &DeckNode::setBaseMap)
        .method("setAormsMap", &DeckNode::setAormsMap)
        .method("setDamageMap", &DeckNode::setDamageMap)
        .method("setDamageMask", &DeckNode::setDamageMask)
        .method("setDamageMaskRGBA", &DeckNode::setDamageMaskRGBA)
        .method("setRainMask", &DeckNode::setRainMask)
        .method("setTransparentMode", &DeckNode::setTransparentMode)
        .method("setDecalId", &DeckNode::setDecalId)
        .method("setArgument", &DeckNode::setArgument)
        .method("setPerVertexArguments", &DeckNode::setPerVertexArguments)
        .method("setControlNode", &DeckNode::setControlNode)
        .repr("DeckNode", describeNodes);
}
} // namespace

void bindRenderNodes()
{
    bindBlockNodes();
    Binder<MirrorNode>()
        .constructor<Name, Name>()
        .method("setPositions", &MirrorNode::setPositions)
        .method("setNormals", &MirrorNode::setNormals)
        .method("setIndices", &MirrorNode::setIndices)
        .method("setTexture", &MirrorNode::setTexture)
        .method("setTextureCoordinates", &MirrorNode::setTextureCoordinates)
        .method("setControlNode", &MirrorNode::setControlNode)
        .repr("MirrorNode", describeNodes);
    Binder<ColorNode>()
        .constructor<Name, Name>()
        .method("setPositions", &ColorNode::setPositions)
        .method("setNormals", &ColorNode::setNormals)
        .method("setIndices", &ColorNode::setIndices)
        .method("setColor", &ColorNode::setColor)
        .method("setControlNode", &ColorNode::setControlNode)
        .repr("ColorNode", describeNodes);
    bindDeck();
}
} // namespace pyzrm
