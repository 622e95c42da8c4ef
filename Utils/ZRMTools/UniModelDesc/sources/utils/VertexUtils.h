#pragma once

#include "Vertices.h"
#include "materials/PropertiesSet.h"
#include <zr/array.h>

/// Operations on the texture coordinates of one mesh: the attributes, the vertex format of its material, and the table
/// of channels, which holds coordinate set numbers (set n is the semantic `kTexCoord0 + n`) or -1. Calls on different
/// meshes may run together.
namespace model
{
/// Moves of attributes, each from one semantic to another. No semantic occurs twice on one side.
struct SemanticMove
{
    i32 from;
    i32 to;
};
using SemanticRemap = zr::small_vector<SemanticMove, kNumChannels>;

/// Drops each texture coordinate attribute that repeats an earlier one (no float differs by more than 0.001) and lets
/// the channels use the earlier one. Returns the number of attributes dropped.
u32 removeRepeatedTextureChannels(Vertices& vertices, TextureChannels& channels);

/// Drops the texture coordinate attributes that no channel uses.
/// @throws zr::ExtException "Wrong vertex size." when the format isn't that of the vertices
void removeUnusedTextureChannels(Vertices& vertices, VertexFormat& vertexFormat, const TextureChannels& channels);

/// Moves attributes. Every move takes its source from the state before the call, so a permutation comes out right.
/// @throws as `removeUnusedTextureChannels`
void remapTextureChannels(const SemanticRemap& remap, Vertices& vertices, VertexFormat& vertexFormat);

/// Floats of one vertex by the format.
u32 vertexFormatSize(const VertexFormat& vertexFormat);
} // namespace model
