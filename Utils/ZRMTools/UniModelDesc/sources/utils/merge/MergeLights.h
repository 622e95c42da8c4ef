#pragma once

#include "nodes/FakeOmniLights.h"
#include "nodes/FakeSpotLights.h"
#include "nodes/NumberNode.h"
#include "utils/merge/GroupNodes.h"

/// What makes one node of a group. A group of one gives its member. The new node has the material and the root of the
/// first member and nothing else of the members but what is said here. All are linear.
namespace model
{
/// Tolerance of directions that count as the same, on each axis.
constexpr f32 kDirectionTolerance = 1e-5f;
bool isSameDirection(const vec3f& a, const vec3f& b);

/// All lights in order, and each control node once.
/// @throws std::out_of_range "Expected idx < size()" for a light of a control node that isn't there
ObjectPtr<FakeOmniLightsNode> mergeFakeOmniLights(const Group<FakeOmniLightsNode>& group);

/// The same for spot lights: controls are the same with the same node and direction. The directions of the lights are
/// kept when the first member has some.
/// @throws as `mergeFakeOmniLights`, also for a light without a direction
ObjectPtr<FakeSpotLightsNode> mergeFakeSpotLights(const Group<FakeSpotLightsNode>& group);

/// One mesh with one parent entry for each distinct pair of node and argument. The controls of the members that share
/// an entry follow each other, and COLOR1 is raised to match.
/// @throws zr::ExtException "Vertex data is invalid." when the members' vertices don't go together
ObjectPtr<NumberNode> mergeNumberNodes(const Group<NumberNode>& group);
} // namespace model
