#pragma once

#include <utility>

#include "base/types.h"

/// The passes that change a finished model in place before it is written. `Model.save` runs them in the order in which
/// they are declared here, on its own thread; each leaves a model that is valid by itself.
///
/// A pass that raises leaves what it has already done to earlier nodes; `mergeNodes` changes the root's lists only as
/// its last action. None recurses by the depth of the tree, and the cost of each is near linear in what it works on.
/// A pass has the model to itself: nodes share materials, control nodes and properties.
namespace model
{
class RootNode;

/// Shrinks the node tree: nodes that do nothing become plain nodes, plain nodes and unused leaves go, static matrices
/// move into geometry and into the nodes below. Nodes that left the tree get the name "_DELETED_".
void optimizeTransformations(RootNode* root);

/// Makes render nodes with equal materials share the first of them.
/// returns  whether the number of distinct materials changed
/// errors   ExtException "There is still equal properties sets." when equality turns out not to be transitive
bool mergeEqualPropertiesSets(RootNode* root);

/// Drops texture coordinate attributes that repeat another one or that no channel uses, and renumbers the rest from
/// TEXCOORD0. Each mesh node gets a material of its own.
/// removed         written: the number of attributes that were dropped as repeats
/// isMergedNext    `mergeEqualPropertiesSets` is what follows: nodes that had one material and get equal ones go on
///                 sharing, as they would after it
/// errors   ExtException "Broken texture channels", "Empty texture channel", "Wrong vertex size."
void optimizeTextureChannels(RootNode* root, u32* removed, bool isMergedNext = false);

/// Replaces normals of (nearly) no length by 0, 1, 0. Returns whether there was one.
bool fixZeroNormals(RootNode* root);

/// Drops empty render and shell nodes and joins render nodes, omni lights, spot lights and number nodes that share a
/// material and may share a node. The four classes stand behind all other render nodes afterwards.
/// errors  ExtException "Material of render node isn't set.", std::out_of_range "Expected idx < size()"
void mergeNodes(RootNode* root);

/// Welds vertices whose floats agree within `tolerance`, then removes degenerate triangles and the nodes left empty.
/// returns  the vertices and the triangles removed
/// errors   std::out_of_range when an index lies beyond the vertices
std::pair<u32, u32> extremlyOptimizeMeshes(RootNode* root, f32 tolerance);

/// Removes vertices whose bytes repeat an earlier one. Returns how many.
u32 remapMeshes(RootNode* root);

/// Reorders triangles for the vertex cache of a renderer where that pays. Returns whether a mesh was changed.
bool optimizeVertexCache(RootNode* root);
} // namespace model
