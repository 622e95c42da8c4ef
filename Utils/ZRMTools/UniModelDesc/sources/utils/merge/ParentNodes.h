#pragma once

#include "nodes/Node.h"

namespace model
{
/// Whether the walk up from `from`, itself included, meets a node of class T before `ancestor`, which is not looked at.
template <class T>
bool checkParentNodes(const Node* from, const Node* ancestor)
{
    bool found = false;
    if (from)
        from->walkUp(
            [&](const Node* node)
            {
                if (node == ancestor) return false;
                found = dynamic_cast<const T*>(node) != nullptr;
                return !found;
            });
    return found;
}
} // namespace model
