#include <algorithm>

#include "io/10/NodeWriter10.h"
#include <zr/text/LowerCase.h>

namespace model
{
void NodeWriter10::writeMaterial(PropertiesSet& material)
{
    const std::size_t start = file.tell();
    u32 numFields = 10;

    file.writeString("BLENDING");
    file.writeU8(static_cast<u8>(material.blending));
    file.writeString("DEPTH_BIAS");
    file.writeU32(material.depthBias ? 1 : 0);
    file.writeString("VERTEX_FORMAT");
    writeVertexFormat(material.vertexFormat);
    file.writeString("TEXTURE_COORDINATES_CHANNELS");
    writeCount(material.channels.size());
    for (const i32 channel : material.channels)
        file.writeU32(static_cast<u32>(channel));
    file.writeString("MATERIAL_NAME");
    file.writeString(material.materialName);
    file.writeString("NAME");
    file.writeString(material.name);
    file.writeString("SHADOWS");
    file.writeU8(static_cast<u8>((material.castsShadow ? 1 : 0) | (material.shadowFlag2 ? 4 : 0)));
    file.writeString("TEXTURES");
    writeTextures(material);
    file.writeString("UNIFORMS");
    writeUniforms(material, false);
    file.writeString("ANIMATED_UNIFORMS");
    writeUniforms(material, true);
    if (material.billboard)
    {
        ++numFields;
        file.writeString("BILLBOARD");
        file.writeU8(static_cast<u8>(material.billboardMode1));
        file.writeU8(static_cast<u8>(material.billboardMode2));
    }
    if (material.decalId > 0)
    {
        ++numFields;
        file.writeString("DECAL");
        file.writeU8(material.decalId);
    }

    // The count stands in front; writing it there moves the fields up.
    const std::size_t end = file.tell();
    file.seek(start);
    file.writeU32(numFields);
    file.seek(end + sizeof(u32));
}

void NodeWriter10::writeVertexFormat(const VertexFormat& format)
{
    writeCount(format.size());
    file.write(format.data(), format.size());
}

void NodeWriter10::writeTextures(PropertiesSet& material)
{
    // Both slots hold maps of one meaning; the later one wins.
    if (material.textures[2].isUsed() && material.textures[13].isUsed()) material.textures[2].name.clear();

    const auto isUsed = [](const TextureSlot& slot) { return slot.isUsed(); };
    writeCount(static_cast<std::size_t>(std::count_if(material.textures.begin(), material.textures.end(), isUsed)));
    for (u32 i = 0; i < kNumTextures; ++i)
    {
        if (!material.textures[i].isUsed()) continue;
        file.writeU32(i);
        writeTexture(material.textures[i]);
    }
}

void NodeWriter10::writeTexture(const TextureSlot& slot)
{
    file.writeU32(slot.textureIndex);
    file.writeString(zr::toLowerCase(slot.name));
    for (const u32 setting : slot.sampler)
        file.writeU32(setting);
    file.writeMatrixf(slot.matrix);
}

void NodeWriter10::writeUniforms(const PropertiesSet& material, bool animated)
{
    const auto isListed = [animated](const PropertyPtr& property) { return property->isAnimated() == animated; };
    const PropertyList& list = material.properties;
    writeCount(static_cast<std::size_t>(std::count_if(list.begin(), list.end(), isListed)));
    for (const PropertyPtr& property : list)
        if (isListed(property)) property->write(file);
}
} // namespace model
