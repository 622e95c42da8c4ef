#include "inc/blocks/pyzrm_iblock.h"

#include <iterator>

namespace pyzrm
{
const char* IBlock::getTypeName() const
{
    const u32 type = getType();
    return type < std::size(kBlockFacts) ? kBlockFacts[type].name : "UNKNOWN";
}

void setAttribute(model::BaseMeshRenderNode& node, i32 semantic, u8 stride, const model::SharedFloats& data)
{
    node.getMaterial()->setFormat(static_cast<std::size_t>(semantic), stride);
    node.getVertices().share(semantic, stride, stride, data);
}

void setZeroAttribute(model::BaseMeshRenderNode& node, i32 semantic, u8 stride)
{
    node.getMaterial()->setFormat(static_cast<std::size_t>(semantic), stride);
    node.getVertices().addZeros(semantic, stride);
}

void addTexCoords(model::BaseMeshRenderNode& node, u32& uvCounter, std::size_t map, const model::SharedFloats& data)
{
    setAttribute(node, model::kTexCoord0 + static_cast<i32>(uvCounter), 2, data);
    node.getMaterial()->setChannel(map, static_cast<i32>(uvCounter));
    ++uvCounter;
}

void setNamedProperty(model::PropertiesSet& material, const char* name, const model::PropertyPtr& property)
{
    if (!property) return;
    property->setName(name);
    material.properties.set(property);
}
} // namespace pyzrm
