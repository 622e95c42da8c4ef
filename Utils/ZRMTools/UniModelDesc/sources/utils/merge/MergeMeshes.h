#pragma once

#include "nodes/NumberNode.h"
#include "utils/merge/GroupNodes.h"

/// What makes one mesh of a group. A group of one gives its member, which stays as it is. The new node has the material
/// and the root of the first member; names, properties, purposes and pivots of the members are lost. All are linear.
///
/// The members, their materials and control nodes are shared with other nodes: calls may not run together.
namespace model
{
/// What becomes of the meshes of a group's members.
enum class MemberMeshes
{
    kStay,
    kTaken, ///< each is emptied as soon as it was copied, so that not all is held twice; for checked groups only
};

/// Raises what the merge of the group would raise.
void checkMergeable(const Group<RenderNode>& group);
void checkMergeable(const Group<NumberNode>& group);

/// One node with one parent entry for each distinct pair of node and argument, in the order of first appearance.
/// returns  null for an empty group
/// @throws zr::ExtException "Vertex data is invalid." when the members' vertices don't go together,
///         std::out_of_range "Expected idx < size()" for an index beyond the vertices of its member; all with nothing
///         changed
ObjectPtr<RenderNode> mergeRenderNodes(const Group<RenderNode>& group, MemberMeshes meshes = MemberMeshes::kStay);

/// The same for a group of at least one number mesh. The controls of the members that share an entry follow each other,
/// and COLOR1 is raised to match.
/// @throws as `mergeRenderNodes`; zr::ExtException "Vertices don't have COLOR1 attribute."
ObjectPtr<NumberNode> mergeNumberNodes(const Group<NumberNode>& group, MemberMeshes meshes = MemberMeshes::kStay);
} // namespace model
