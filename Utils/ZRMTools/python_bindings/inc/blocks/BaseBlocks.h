#pragma once

#include "inc/blocks/pyzrm_iblock.h"

namespace pyzrm
{
/// What every mesh of blocks starts with: positions and normals, three floats for each vertex.
class GeometryBlock : public IBlock
{
public:
    u32 getType() const override { return BT_Base; }
    zr::string check() const override;
    zr::string apply(model::BaseMeshRenderNode& node, u32& uvCounter) const override;

    void setPositions(Floats data) { positions = std::move(data.values); }
    void setNormals(Floats data) { normals = std::move(data.values); }

protected:
    /// Whole vertices; leftover floats don't count.
    std::size_t getVertexCount() const { return positions.size() / 3; }

private:
    model::SharedFloats positions;
    model::SharedFloats normals;
};

/// Geometry with an albedo map.
class BaseBlock : public GeometryBlock
{
public:
    zr::string check() const override;
    zr::string apply(model::BaseMeshRenderNode& node, u32& uvCounter) const override;

    void setAlbedoMapUV(Floats data) { albedoUV = std::move(data.values); }
    void setAlbedoMap(const zr::string& name) { albedoMap = name; }
    void setAlbedoMapUVShift(Ref<PropertyFloat2> shift) { albedoShift = shift->get(); }

private:
    zr::string albedoMap;
    model::SharedFloats albedoUV;
    model::PropertyPtr albedoShift;
};

/// Geometry in one colour.
class ColorBaseBlock : public GeometryBlock
{
public:
    zr::string check() const override;
    zr::string apply(model::BaseMeshRenderNode& node, u32& uvCounter) const override;

    void setColor(Ref<PropertyFloat3> value) { color = value->get(); }

private:
    model::PropertyPtr color;
};
} // namespace pyzrm
