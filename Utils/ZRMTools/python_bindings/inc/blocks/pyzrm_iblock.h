#pragma once

#include "inc/Arguments.h"
#include "inc/Facade.h"
#include "inc/PropertyFacades.h"
#include "inc/blocks/BlockTypes.h"
#include "nodes/BaseMeshRenderNode.h"
#include <zr/exceptions.h>

namespace pyzrm
{
/// One aspect of a mesh's material. A block keeps what the script gives it and writes it into a model node at each
/// build; it can serve several meshes.
class IBlock : public Facade
{
public:
    virtual u32 getType() const { ZR_RAISE("Calling pure virtual function."); }
    /// Tests the block by itself; "" or the message for the script.
    virtual zr::string check() const { ZR_RAISE("Calling pure virtual function."); }
    /// Writes the block into the node and its material; "" or the message for the script.
    ///
    /// uvCounter  the next free TEXCOORD; raised by one for each set that the block adds
    virtual zr::string apply(model::BaseMeshRenderNode& node, u32& uvCounter) const
    {
        static_cast<void>(node);
        static_cast<void>(uvCounter);
        ZR_RAISE("Calling pure virtual function.");
    }

    /// For instance "BT_Base"; "UNKNOWN" for a type that is none.
    const char* getTypeName() const;
};

/// Writes an attribute and its place in the material's vertex format.
void setAttribute(model::BaseMeshRenderNode& node, i32 semantic, u8 stride, const model::SharedFloats& data);

/// The same with zeros for each vertex of POSITION0.
void setZeroAttribute(model::BaseMeshRenderNode& node, i32 semantic, u8 stride);

/// Adds a set of texture coordinates as the next free TEXCOORD and makes a map of the material read it.
void addTexCoords(model::BaseMeshRenderNode& node, u32& uvCounter, std::size_t map, const model::SharedFloats& data);

/// Gives the property its name and puts it into the material; nothing for null.
void setNamedProperty(model::PropertiesSet& material, const char* name, const model::PropertyPtr& property);
} // namespace pyzrm
