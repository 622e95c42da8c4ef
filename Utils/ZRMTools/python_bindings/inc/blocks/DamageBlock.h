#pragma once

#include "inc/blocks/pyzrm_iblock.h"

namespace pyzrm
{
/// A second layer that an argument blends in: one for the mesh, or one for each vertex.
class DamageBlock : public IBlock
{
public:
    u32 getType() const override { return BT_Damage; }
    zr::string check() const override;
    zr::string apply(model::BaseMeshRenderNode& node, u32& uvCounter) const override;

    void setAlbedoMapUV(Floats data) { albedoUV = std::move(data.values); }
    void setNormalMapUV(Floats data) { normalUV = std::move(data.values); }
    void setPerVertexArguments(Floats data) { perVertexArguments = std::move(data.values); }
    void setAlbedoMap(const zr::string& name) { albedoMap = name; }
    void setNormalMap(const zr::string& name) { normalMap = name; }
    void setMask(const zr::string& name) { mask = name; }
    void setMaskRGBA(const zr::string& name) { maskRGBA = name; }
    void setArgument(WholeNumber handle) { argument = handle.asHandle(); }

    u32 getArgument() const { return argument; }
    bool hasPerVertexArguments() const { return !perVertexArguments.empty(); }

private:
    zr::string albedoMap;
    zr::string normalMap;
    zr::string mask;
    zr::string maskRGBA;
    model::SharedFloats albedoUV;
    model::SharedFloats normalUV;
    /// Floats that the split cuts to handles.
    model::SharedFloats perVertexArguments;
    u32 argument = model::kNoArgument;
};
} // namespace pyzrm
