#pragma once

#include "nodes/BaseMeshRenderNode.h"

namespace model
{
/// Gives every triangle of a triangle list a back: the vertices once more with turned normals (NORMAL0 alone), and the
/// triangles once more with the other winding, behind the first. A second call doubles the doubled mesh. Indices that
/// make no whole triangle stay at the end of the list. Calls on different nodes may run together.
/// @throws zr::ExtException "Vertices don't have {} attribute." without NORMAL0, "Vertex data is invalid." for
///         attributes of unequal vertex counts; std::out_of_range "Expected idx < size()" for an index beyond the
///         vertices; all with nothing changed
void makeTwoSided(BaseMeshRenderNode& node);
} // namespace model
