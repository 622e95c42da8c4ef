#pragma once

#include <functional>

#include "materials/PropertyList.h"
#include "materials/TextureSlots.h"
#include "materials/VertexFormat.h"

namespace model
{
class PropertiesSet;

/// How materials are owned; they are no registered objects, so plain `new PropertiesSet` makes one.
using MaterialPtr = zr::Ptr<PropertiesSet>;

constexpr std::size_t kNumChannels = 13;
/// What a texture slot holds. A deck uses some of them for other maps, under the names at their end.
enum TextureNumber : u32
{
    kAlbedoTexture = 0, ///< also a deck's tiled base map and a mirror's texture
    kNormalTexture = 1, ///< also a deck's tiled normal map
    kTiledAormsTexture = 2,
    kDecalTexture = 3, ///< also a deck's base map
    kDeckAormsTexture = 4,
    kDamageAlbedoTexture = 5, ///< also a deck's rain mask
    kDeckDamageMaskTexture = 6,
    kDeckDamageTexture = 7,
    kEmissiveTexture = 8,
    kAmbientOcclusionTexture = 9, ///< also a deck's RGBA damage mask
    kDamageNormalTexture = 10,
    kAormsTexture = 13,
    kGlassFilterTexture = 14,
    kDamageMaskTexture = 15,
    kFlirTexture = 16,
    kDamageMaskRgbaTexture = 18,
};

/// The texture coordinate set of each map kind; -1 none.
using TextureChannels = zr::array<i32, kNumChannels>;

class BaseMaterial : public zr::Shared
{
public:
    zr::string name;
    u32 blending = 0;
    /// The uniforms, animated and static in one list.
    PropertyList properties;
    u8 depthBias = 0;
    u8 castsShadow = 1;
    u8 shadowFlag2 = 0;
};

/// The material of a render node. Several nodes may share one. Subscripts of the arrays are checked:
/// `std::out_of_range`, "zr::array: index out of range".
class PropertiesSet final : public BaseMaterial
{
public:
    PropertiesSet() { channels.fill(-1); }

    PropertyList& getProperties() { return properties; }
    const PropertyList& getProperties() const { return properties; }
    TextureSlot& getTexture(std::size_t index) { return textures[index]; }
    const VertexFormat& getVertexFormat() const { return vertexFormat; }
    const TextureChannels& getChannels() const { return channels; }

    /// Null stores the empty string, here and for the material name.
    void setName(const char* text);
    void setMaterialName(const char* text);
    void setBlending(u32 value) { blending = value; }
    void setCastsShadow(bool value) { castsShadow = value; }
    void setShadowFlag2(bool value) { shadowFlag2 = value; }
    void setDecalId(u8 value) { decalId = value; }
    void setSingleSided(bool value) { singleSided = value; }

    /// See `TextureSlots::set`.
    void setTexture(std::size_t index, const char* textureName) { textures.set(index, textureName); }
    void setFormat(std::size_t semantic, u8 numFloats) { vertexFormat[semantic] = numFloats; }
    void setChannel(std::size_t map, i32 coordinateSet) { channels[map] = coordinateSet; }

    /// Whether two sets draw alike. `singleSided` plays no part, nor do unused slots and the order of properties.
    bool isEqual(const PropertiesSet& other) const;
    /// A copy whose property objects are those of this set.
    MaterialPtr clone() const;
    void forEachArgument(const std::function<void(u32)>& function) const;

    /// 0 asks for back faces to be built at save.
    u8 singleSided = 1;
    /// By `TextureNumber`.
    TextureSlots textures;
    VertexFormat vertexFormat;
    TextureChannels channels;
    zr::string materialName;
    u8 decalId = 0;
    u8 billboard = 0;
    u32 billboardMode1 = 0;
    u32 billboardMode2 = 6;
    /// The place in the list of materials of the root that last listed this set, see `RootNode::getMaterialIndex`.
    u32 listedAt = 0;
};
} // namespace model
