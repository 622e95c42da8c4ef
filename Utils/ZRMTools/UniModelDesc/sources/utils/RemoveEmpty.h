#pragma once

namespace model
{
class RootNode;

/// Keeps, in order, the render nodes that have primitives.
void removeEmptyRenderNodes(RootNode* root);
/// Keeps, in order, the shell nodes that have something to write.
void removeEmptyShellNodes(RootNode* root);
} // namespace model
