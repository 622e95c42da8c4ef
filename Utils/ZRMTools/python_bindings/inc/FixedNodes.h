#pragma once

#include "inc/ControlledNode.h"
#include "inc/IRenderNode.h"
#include "nodes/RenderNode.h"

/// The meshes with a vertex format of their own: coloured meshes, mirrors, decks.
namespace pyzrm
{
/// What they share. The mesh is filled by the setters and handed to the node at each build.
class FixedNode : public ControlledNode<IRenderNode, model::RenderNode>
{
public:
    NodeList getNodes() const override { return {node}; }

    /// Appends points x, y, z to those of earlier calls.
    void addPositions(const zr::vector<f32>& points);
    void setData(i32 semantic, zr::vector<f32> data) { vertices[semantic].data = std::move(data); }
    void setIndexList(zr::vector<u32> list) { indices.indices = std::move(list); }

protected:
    /// Makes the node and its material with these (semantic, width) attributes.
    FixedNode(const zr::string& name, const zr::string& materialName, const char* materialType,
              std::initializer_list<std::pair<model::Semantic, u8>> format);

    bool hasControlNode() const { return node->getControlNode(0) != nullptr; }

    model::MaterialPtr material;
    model::Vertices vertices;
    model::Indices indices;
};

/// A mesh of one colour.
class ColorNode : public FixedNode
{
public:
    ColorNode(const zr::string& name, const zr::string& materialName);

    zr::string build() override;

    void setPositions(Floats data) { addPositions(data.values); }
    void setNormals(Floats data) { setData(model::kNormal0, std::move(data.values)); }
    void setIndices(UInts data) { setIndexList(std::move(data.values)); }
    void setColor(f32 red, f32 green, f32 blue);
};

class MirrorNode : public FixedNode
{
public:
    MirrorNode(const zr::string& name, const zr::string& materialName);

    zr::string build() override;

    void setPositions(FloatList list) { addPositions(list.values); }
    void setNormals(Floats data) { setData(model::kNormal0, std::move(data.values)); }
    void setIndices(UIntList list) { setIndexList(std::move(list.values)); }
    void setTexture(const zr::string& name) { texture = name; }
    void setTextureCoordinates(Floats data) { setData(model::kTexCoord0, std::move(data.values)); }

private:
    zr::string texture;
};

/// Tiled maps on TEXCOORD0, regular and damage maps on TEXCOORD1; tangents are computed from the tiled ones.
class DeckNode : public FixedNode
{
public:
    DeckNode(const zr::string& name, const zr::string& materialName);

    /// @throws std::out_of_range for an index at or beyond the number of vertices
    zr::string build() override;
    NodeList getNodes() const override;

    void setPositions(FloatList list) { addPositions(list.values); }
    void setNormals(FloatList list) { setData(model::kNormal0, std::move(list.values)); }
    void setTiledUV(FloatList list) { setData(model::kTexCoord0, std::move(list.values)); }
    void setRegularUV(FloatList list) { setData(kRegularTexCoord, std::move(list.values)); }
    void setIndices(UIntList list) { setIndexList(std::move(list.values)); }
    void setBaseTiledMap(const zr::string& name) { baseTiledMap = name; }
    void setNormalTiledMap(const zr::string& name) { normalTiledMap = name; }
    void setAormsTiledMap(const zr::string& name) { aormsTiledMap = name; }
    void setBaseMap(const zr::string& name) { baseMap = name; }
    void setAormsMap(const zr::string& name) { aormsMap = name; }
    void setDamageMap(const zr::string& name) { damageMap = name; }
    void setDamageMask(const zr::string& name) { damageMask = name; }
    void setDamageMaskRGBA(const zr::string& name) { damageMaskRGBA = name; }
    void setRainMask(const zr::string& name) { rainMask = name; }
    void setTransparentMode(WholeNumber mode) { transparentMode = mode.asHandle(); }
    void setDecalId(WholeNumber id) { decalId = id.lowByte(); }
    void setArgument(WholeNumber handle) { argument = handle.asHandle(); }
    void setPerVertexArguments(Floats data) { perVertexArguments = std::move(data.values); }
    /// Other than the base's: the node follows at `build`.
    void setControlNode(Ref<Node> facade) { control = facade.shared(); }

private:
    static constexpr model::Semantic kRegularTexCoord = static_cast<model::Semantic>(model::kTexCoord0 + 1);

    zr::string check() const;
    void fillTangents();
    void fillMaterial();

    zr::string baseTiledMap;
    zr::string normalTiledMap;
    zr::string aormsTiledMap;
    zr::string baseMap;
    zr::string aormsMap;
    zr::string damageMap;
    zr::string damageMask;
    zr::string damageMaskRGBA;
    zr::string rainMask;
    u32 transparentMode = 0;
    u8 decalId = 0;
    u32 argument = model::kNoArgument;
    /// Floats that the split cuts to handles.
    zr::vector<f32> perVertexArguments;
    std::shared_ptr<Node> control;
    zr::vector<model::ObjectPtr<model::BaseRenderNode>> splitNodes;
};
} // namespace pyzrm
