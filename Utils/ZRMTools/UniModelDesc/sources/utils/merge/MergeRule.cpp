#include "utils/merge/MergeRule.h"

#include <cmath>

#include "nodes/FakeSpotLights.h"
#include "nodes/NumberNode.h"

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
    candidate.canJoin = mesh.material && mesh.material->blending != kBlended && (type == kLines || type == kTriangles);
    candidate.canTake = !isUnderBillboard;
}

void lookAtSpots(const FakeSpotLightsNode& spots, MergeCandidate& candidate)
{
    candidate.shared.variant = spots.directions.empty() ? 0 : 1;
    candidate.direction = spots.controls.front().direction;
    candidate.canJoin = true;
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
    candidate.shared.visibility = place.visibility;
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
        candidate.canJoin = node->material && node->material->vertexFormat[kColor1] == 1;
        break;
    default:
        candidate.canJoin = true;
        break;
    }
    return candidate;
}

bool canMerge(const MergeCandidate& key, const MergeCandidate& node, const ControlPlaces& places)
{
    return key.node != node.node && key.canJoin && node.canJoin && key.canTake && key.shared == node.shared &&
           propertiesEqual(key.node->properties, node.node->properties) &&
           isSameDirection(key.direction, node.direction) && !places.meetAtLod(key.region, node.region);
}

bool isSameDirection(const vec3f& a, const vec3f& b)
{
    return std::abs(a.x() - b.x()) <= kDirectionTolerance && std::abs(a.y() - b.y()) <= kDirectionTolerance &&
           std::abs(a.z() - b.z()) <= kDirectionTolerance;
}
} // namespace model
