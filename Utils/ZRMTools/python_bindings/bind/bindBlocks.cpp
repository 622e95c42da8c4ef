#include "bind/Binder.h"
#include "inc/blocks/BaseBlocks.h"
#include "inc/blocks/BoneBlock.h"
#include "inc/blocks/DamageBlock.h"
#include "inc/blocks/EmissiveBlocks.h"
#include "inc/blocks/MapBlocks.h"
#include "inc/blocks/NumberBlock.h"

namespace pyzrm
{
namespace
{
const char* typeName(const IBlock& block)
{
    return block.getTypeName();
}

void bindGeometryBlocks()
{
    Binder<BaseBlock>()
        .constructor<>()
        .method("setPositions", &BaseBlock::setPositions)
        .method("setNormals", &BaseBlock::setNormals)
        .method("setAlbedoMapUV", &BaseBlock::setAlbedoMapUV)
        .method("setAlbedoMap", &BaseBlock::setAlbedoMap)
        .method("setAlbedoMapUVShift", &BaseBlock::setAlbedoMapUVShift)
        .repr("BaseBlock", typeName);
    Binder<ColorBaseBlock>()
        .constructor<>()
        .method("setPositions", &ColorBaseBlock::setPositions)
        .method("setNormals", &ColorBaseBlock::setNormals)
        .method("setColor", &ColorBaseBlock::setColor)
        .repr("ColorBaseBlock", typeName);
}

void bindMapBlocks()
{
    Binder<AoBlock>()
        .constructor<>()
        .method("setAoMap", &AoBlock::setMap)
        .method("setAoMapUV", &AoBlock::setUV)
        .method("setAoShift", &AoBlock::setShift)
        .method("setAoAnimationArgument", &AoBlock::setAnimationArgument)
        .repr("AoBlock", typeName);
    Binder<DecalBlock>()
        .constructor<>()
        .method("setDecalMap", &DecalBlock::setMap)
        .method("setDecalMapUV", &DecalBlock::setUV)
        .method("setDecalShift", &DecalBlock::setShift)
        .repr("DecalBlock", typeName);
    Binder<NormalBlock>()
        .constructor<>()
        .method("setNormalMap", &NormalBlock::setMap)
        .method("setNormalMapUV", &NormalBlock::setUV)
        .repr("NormalBlock", typeName);
    Binder<AormsBlock>()
        .constructor<>()
        .method("setAormsMap", &AormsBlock::setMap)
        .method("setAormsMapUV", &AormsBlock::setUV)
        .repr("AormsBlock", typeName);
    Binder<GlassFilterBlock>()
        .constructor<>()
        .method("setColorMap", &GlassFilterBlock::setColorMap)
        .method("setInstrumental", &GlassFilterBlock::setInstrumental)
        .method("setColor", &GlassFilterBlock::setColor)
        .repr("GlassFilterBlock", typeName);
}
} // namespace

void bindBlocks()
{
    Binder<IBlock>().constructor<>().method("getTypeName", &IBlock::getTypeName);
    bindGeometryBlocks();
    Binder<FlirBlock>().constructor<>().method("setFlirMap", &FlirBlock::setFlirMap).repr("FlirBlock", typeName);
    Binder<DamageBlock>()
        .constructor<>()
        .method("setAlbedoMapUV", &DamageBlock::setAlbedoMapUV)
        .method("setNormalMapUV", &DamageBlock::setNormalMapUV)
        .method("setPerVertexArguments", &DamageBlock::setPerVertexArguments)
        .method("setAlbedoMap", &DamageBlock::setAlbedoMap)
        .method("setNormalMap", &DamageBlock::setNormalMap)
        .method("setMask", &DamageBlock::setMask)
        .method("setMaskRGBA", &DamageBlock::setMaskRGBA)
        .method("setArgument", &DamageBlock::setArgument)
        .repr("DamageBlock", typeName);
    Binder<BoneBlock>()
        .constructor<>()
        .method("setBoneWeights", &BoneBlock::setBoneWeights)
        .method("setBoneIndices", &BoneBlock::setBoneIndices)
        .method("setBones", &BoneBlock::setBones)
        .method("getBoneNames", &BoneBlock::getBoneNames)
        .method("setBoneNames", &BoneBlock::setBoneNames)
        .method("setSkinBox", &BoneBlock::setSkinBox)
        .repr("BoneBlock", typeName);
    Binder<NumberBlock>()
        .constructor<>()
        .method("setUVParams", &NumberBlock::setUVParams)
        .repr("NumberBlock", typeName);
    Binder<EmissiveBlock>()
        .constructor<>()
        .method("setEmissiveMap", &EmissiveBlock::setEmissiveMap)
        .method("setEmissiveMapUV", &EmissiveBlock::setEmissiveMapUV)
        .method("setAmount", &EmissiveBlock::setAmount)
        .method("setColor", &EmissiveBlock::setColor)
        .method("setEmissiveType", &EmissiveBlock::setEmissiveType)
        .method("setUVShift", &EmissiveBlock::setUVShift)
        .repr("EmissiveBlock", typeName);
    Binder<EmissiveColorBlock>()
        .constructor<>()
        .method("setColor", &EmissiveColorBlock::setColor)
        .method("setAmount", &EmissiveColorBlock::setAmount)
        .repr("EmissiveColorBlock", typeName);
    bindMapBlocks();
}
} // namespace pyzrm
