#include "utils/merge/MergeRule.h"

#include <cmath>

#include "nodes/ArgVisibilityNode.h"
#include "nodes/FakeSpotLights.h"
#include "nodes/NumberNode.h"
#include "nodes/ParentNodes.h"

namespace model
{
namespace
{
/// Pairs of points, which are merged like triangles.
constexpr u32 kLines = 1;
/// Blended surfaces are drawn in their own order.
constexpr u32 kBlended = 1;

void lookAtMesh(const RenderNode& mesh, bool isUnderBillboard, MergeCandidate& candidate)
{
    const u32 type = mesh.indices.primitiveType;
    candidate.shared.variant = type;
    if (!mesh.material || mesh.material->blending == kBlended) return;
    candidate.alone = type == kLines || type == kTriangles ? kNumRefusals : kOtherPrimitives;
    candidate.canTake = !isUnderBillboard;
}

void lookAtSpots(const FakeSpotLightsNode& spots, MergeCandidate& candidate)
{
    candidate.shared.variant = spots.directions.empty() ? 0 : 1;
    candidate.direction = spots.controls.front().direction;
    candidate.alone = kNumRefusals;
}

/// What the places of two control nodes refuse; `kNumRefusals` for nothing.
MergeRefusal refusalOfPlaces(const Node* a, const Node* b)
{
    const Node* meeting = Node::commonAncestor(a, b);
    if (checkParentNodes<ArgVisibilityNode>(a, meeting) || checkParentNodes<ArgVisibilityNode>(b, meeting))
        return kVisibilityBetween;
    return meeting && meeting->getType() == kLodNode ? kLodBetween : kNumRefusals;
}

MergeRefusal refusalOf(const MergeCandidate& key, const MergeCandidate& node)
{
    if (key.shared.material != node.shared.material) return kOtherMaterial;
    if (key.alone == kNoPartner || node.alone == kNoPartner) return kNoPartner;
    if (!propertiesEqual(key.node->properties, node.node->properties)) return kOtherProperties;
    if (key.alone != kNumRefusals || key.shared.variant != node.shared.variant) return kOtherPrimitives;
    if (!key.canTake || !isSameDirection(key.direction, node.direction)) return kNoPartner;
    return refusalOfPlaces(key.node->getControlNode(0).get(), node.node->getControlNode(0).get());
}
} // namespace

MergeCandidate makeCandidate(const ObjectPtr<BaseRenderNode>& node, ControlPlaces& places)
{
    MergeCandidate candidate;
    candidate.node = node;
    if (node->getNumControlNodes() != 1) return candidate;
    const ControlPlaces::Place place = places.find(node->getControlNode(0).get());
    candidate.region = place.region;
    candidate.shared.material = node->material.get();
    candidate.visibility = place.visibility;
    switch (node->getType())
    {
    case kRenderNode:
        lookAtMesh(static_cast<const RenderNode&>(*node), place.isUnderBillboard, candidate);
        break;
    case kFakeSpotLightsNode:
        lookAtSpots(static_cast<const FakeSpotLightsNode&>(*node), candidate);
        break;
    case kNumberNode:
        // COLOR1 of one float is the channel of the numbers.
        if (node->material && node->material->vertexFormat[kColor1] == 1) candidate.alone = kNumRefusals;
        break;
    default:
        candidate.alone = kNumRefusals;
        break;
    }
    return candidate;
}

bool canMerge(const MergeCandidate& key, const MergeCandidate& node, MergeStats& stats)
{
    if (key.node == node.node) return false;
    const MergeRefusal reason = refusalOf(key, node);
    if (reason == kNumRefusals) return true;
    ++stats[reason];
    return false;
}

bool isSameDirection(const vec3f& a, const vec3f& b)
{
    return std::abs(a.x() - b.x()) <= kDirectionTolerance && std::abs(a.y() - b.y()) <= kDirectionTolerance &&
           std::abs(a.z() - b.z()) <= kDirectionTolerance;
}
} // namespace model
