#include <algorithm>

#include "io/10/NodeWriter10.h"
#include <zr/text/LowerCase.h>

/// Materials: a count of fields, each behind its name.
namespace model
{
void NodeWriter10::writeMaterial(const PropertiesSet& material)
{
    const bool isDecal = material.decalId > 0;
    putCount(10u + (material.billboard ? 1 : 0) + (isDecal ? 1 : 0));
    put("BLENDING");
    putByte(material.blending);
    put("DEPTH_BIAS", material.depthBias ? 1u : 0u);
    put("VERTEX_FORMAT", material.vertexFormat);
    put("TEXTURE_COORDINATES_CHANNELS", material.channels);
    put("MATERIAL_NAME", material.materialName);
    put("NAME", material.name);
    put("SHADOWS");
    putByte((material.castsShadow ? 1u : 0u) | (material.shadowFlag2 ? 4u : 0u));
    put("TEXTURES");
    writeTextures(material);
    put("UNIFORMS");
    writeUniforms(material, /* animated= */ false);
    put("ANIMATED_UNIFORMS");
    writeUniforms(material, /* animated= */ true);
    if (material.billboard)
    {
        put("BILLBOARD");
        putByte(material.billboardMode1);
        putByte(material.billboardMode2);
    }
    if (isDecal) put("DECAL", material.decalId);
}

void NodeWriter10::writeTextures(const PropertiesSet& material)
{
    putCount(material.textures.countUsed());
    for (u32 i = 0; i < kNumTextures; ++i)
        if (const TextureSlot* slot = material.textures.find(i)) put(i, *slot);
}

void NodeWriter10::putField(const TextureSlot& slot)
{
    put(slot.textureIndex, zr::toLowerCase(slot.name));
    for (const u32 setting : slot.sampler)
        put(setting);
    put(slot.matrix);
}

void NodeWriter10::writeUniforms(const PropertiesSet& material, bool animated)
{
    const auto isListed = [animated](const PropertyPtr& property) { return property->isAnimated() == animated; };
    const PropertyList& list = material.properties;
    putCount(static_cast<std::size_t>(std::count_if(list.begin(), list.end(), isListed)));
    for (const PropertyPtr& property : list)
        if (isListed(property)) put(property);
}
} // namespace model
