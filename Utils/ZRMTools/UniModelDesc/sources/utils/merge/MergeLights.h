#pragma once

#include "nodes/FakeOmniLights.h"
#include "nodes/FakeSpotLights.h"
#include "utils/merge/GroupNodes.h"

/// What makes one node of a group of fake lights. A group of one gives its member. The new node has the material and
/// the root of the first member and nothing else of the members but what is said here. Both are linear.
///
/// The members, their materials and control nodes are shared with other nodes: calls may not run together.
namespace model
{
/// All lights in order, and each control node once.
/// @throws std::out_of_range "Expected idx < size()" for a light of a control node that isn't there
ObjectPtr<FakeOmniLightsNode> mergeFakeOmniLights(const Group<FakeOmniLightsNode>& group);

/// The same for spot lights: controls are the same with the same node and direction. The directions of the lights are
/// kept when the first member has some.
/// @throws as `mergeFakeOmniLights`, also for a light without a direction
ObjectPtr<FakeSpotLightsNode> mergeFakeSpotLights(const Group<FakeSpotLightsNode>& group);
} // namespace model
