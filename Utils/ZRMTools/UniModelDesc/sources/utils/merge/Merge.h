#pragma once

#include "nodes/RenderNode.h"
#include <zr/array.h>

namespace model
{
/// How often a merge was refused, by reason. They are there to be looked at and decide nothing.
using MergeStats = zr::array<u32, 7>;

/// Which entry of `MergeStats` counts which reason.
enum MergeRefusal : u32
{
    kOtherMaterial = 0,
    kOtherProperties = 2,
    kOtherPrimitiveType = 3,
    kBlendingOrBillboard = 4,
    kVisibilityBetween = 5,
    kUnderLod = 6,
};

/// The nearest node that is on both chains from the control nodes up; null without one.
const Node* commonControlAncestor(const BaseNode& a, const BaseNode& b);

/// Whether two render nodes can become one: same material, equal properties, a triangle list or strip of the same type,
/// and nothing above their control nodes that would treat them differently.
/// @throws zr::ExtException "Material of render node isn't set."
bool canMerge(const RenderNode& a, const RenderNode& b, MergeStats& stats);

/// Joins nodes of one material into a new node with one parent entry for each distinct pair of node and argument, in
/// the order of first appearance. Linear in the data. Name, properties, purpose and pivots of the members are lost.
/// returns  the node itself for a list of one, null for an empty list
/// @throws zr::ExtException "Vertex data is invalid." when the members' vertices don't go together,
///         std::out_of_range "Expected idx < size()" for an index beyond the vertices of its member
ObjectPtr<RenderNode> mergeRenderNodes(const zr::vector<ObjectPtr<RenderNode>>& list);
} // namespace model
