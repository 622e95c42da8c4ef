#pragma once

#include <compare>

#include "nodes/BaseRenderNode.h"
#include "utils/merge/ControlPlaces.h"

namespace model
{
/// A render node as the rule of merging sees it. What takes a walk or a look into the node is found out once, so that a
/// pair costs nothing of the kind.
struct MergeCandidate
{
    /// What two nodes that are merged have in common exactly.
    struct Shared
    {
        const PropertiesSet* material = nullptr;
        /// The nearest visibility node above the control node: with different ones, one stands between one of the two
        /// control nodes and their common ancestor.
        const Node* visibility = nullptr;
        /// The primitive type of a mesh; whether spot lights have directions.
        u32 variant = 0;

        auto operator<=>(const Shared&) const = default;
    };

    ObjectPtr<BaseRenderNode> node;
    Shared shared;
    /// Of the control node, see `ControlPlaces`.
    u32 region = kNoRegion;
    /// It has one control node and meets what its class asks of a node by itself, as key and as candidate.
    bool canJoin = false;
    /// As a key it takes others.
    bool canTake = true;
    /// Of the control of spot lights.
    vec3f direction;

    /// Nothing but the place decides between two such nodes with equal `shared`. All that scripts build are plain.
    bool isPlain() const { return node->properties.empty() && direction == vec3f(); }
};

/// Looks at a node of one of the classes that are merged: exactly `RenderNode`, `FakeOmniLightsNode`,
/// `FakeSpotLightsNode` or `NumberNode`.
MergeCandidate makeCandidate(const ObjectPtr<BaseRenderNode>& node, ControlPlaces& places);

/// Whether the key takes the node into its group. Neither symmetric nor transitive. Both are of one class.
bool canMerge(const MergeCandidate& key, const MergeCandidate& node, const ControlPlaces& places);

/// Tolerance of directions that count as the same, on each axis.
constexpr f32 kDirectionTolerance = 1e-5f;
bool isSameDirection(const vec3f& a, const vec3f& b);
} // namespace model
