#include "ModelArguments.h"

#include <algorithm>

#include "RootNode.h"

namespace model
{
namespace
{
void forEachTreeArgument(const Node* root, const std::function<void(u32)>& function)
{
    if (!root) return;
    Node::visit(root,
                [&function](const Node* node)
                {
                    node->forEachArgument(function);
                    return true;
                });
}
} // namespace

zr::unordered_set<u32> getArgumentsList(const Node* root)
{
    zr::unordered_set<u32> arguments;
    forEachTreeArgument(root, [&arguments](u32 argument) { arguments.insert(argument); });
    return arguments;
}

u32 calcNumHandles(const RootNode& root)
{
    // No argument is `kNoArgument`, the largest number there is, so one more always fits.
    u32 handles = 0;
    const std::function<void(u32)> count = [&handles](u32 argument) { handles = std::max(handles, argument + 1); };
    forEachTreeArgument(root.rootTransform.get(), count);
    for (const RootNode::List* list : {&root.connectors, &root.renderNodes, &root.lights, &root.shellNodes})
        for (const ObjectPtr<BaseNode>& node : *list)
            if (node) node->forEachArgument(count);
    return handles;
}
} // namespace model
