#pragma once

#include <compare>

#include "nodes/BaseRenderNode.h"
#include "utils/merge/ControlPlaces.h"

namespace model
{
/// Why a pair of nodes stays apart. The numbers are places among the counters.
enum MergeRefusal : u32
{
    kOtherMaterial = 0,
    kOtherProperties = 2,
    kOtherPrimitives = 3, ///< also such as are never merged
    kNoPartner = 4,       ///< blended, under a billboard, or what else a class asks of a node by itself
    kVisibilityBetween = 5,
    kLodBetween = 6,
    kNumRefusals = 7, ///< as the reason of a node: there is none
};
/// How often each reason kept a pair apart.
using MergeStats = zr::array<u32, kNumRefusals>;

/// A render node as the rule of merging sees it. What takes a walk or a look into the node is found out once, so that a
/// pair costs nothing of the kind.
struct MergeCandidate
{
    /// What two nodes that are merged have in common exactly.
    struct Shared
    {
        const PropertiesSet* material = nullptr;
        /// The primitive type of a mesh; whether spot lights have directions.
        u32 variant = 0;

        auto operator<=>(const Shared&) const = default;
    };

    ObjectPtr<BaseRenderNode> node;
    Shared shared;
    /// The nearest visibility node above the control node: with different ones, one stands between one of the two
    /// control nodes and their common ancestor.
    const Node* visibility = nullptr;
    /// Of the control node, see `ControlPlaces`.
    u32 region = kNoRegion;
    /// What keeps it from all others, as key and as candidate: it has not one control node, or its class refuses it.
    MergeRefusal alone = kNoPartner;
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

/// Whether the key takes the node into its group; if not, one more for the reason. Neither symmetric nor transitive.
/// Both are of one class. Costs the depth of the tree.
bool canMerge(const MergeCandidate& key, const MergeCandidate& node, MergeStats& stats);

/// Tolerance of directions that count as the same, on each axis.
constexpr f32 kDirectionTolerance = 1e-5f;
bool isSameDirection(const vec3f& a, const vec3f& b);
} // namespace model
