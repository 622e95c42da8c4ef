#pragma once

#include "nodes/RenderNode.h"

namespace model
{
/// An argument handle from a float: the fraction is cut, then what lies outside of the range is clamped; a negative
/// number becomes its 32-bit two's complement, NaN becomes 0.
u32 argumentFromFloat(f32 value);

/// Splits a mesh with a damage argument for each vertex (COLOR2) into one node for each argument.
///
/// A triangle whose corners differ in their argument is in none of the new nodes. They share one clone of the material,
/// without COLOR2, hang on the node's control node, have no names, and stand in the order of a `zr::unordered_map` that
/// was filled in the order of the triangles; that order reaches the file. The given node stays as it was. Linear in the
/// numbers of vertices and indices, however many arguments there are. Calls on nodes that share a control node may not
/// run together. returns  empty for a node of several parts, another primitive type, or without a triangle of one
/// argument
/// @throws zr::ExtException "Vertices don't have {} attribute." without COLOR2, "Vertex data is invalid." for
///         attributes of unequal vertex counts; std::out_of_range "Expected idx < size()" for an index beyond COLOR2
zr::vector<ObjectPtr<BaseRenderNode>> splitRenderNodeByDamageArgument(const RenderNode* node);
} // namespace model
