#include "utils/RemoveEmpty.h"

#include <algorithm>

#include "RootNode.h"
#include "nodes/BaseRenderNode.h"
#include "nodes/ShellNode.h"

namespace model
{
void removeEmptyRenderNodes(RootNode* root)
{
    RootNode::List& list = root->renderNodes;
    const auto isEmpty = [](const ObjectPtr<BaseNode>& node)
    {
        const BaseRenderNode* renderNode = node->asRenderNode();
        return !renderNode || renderNode->getPrimitiveCount() == 0;
    };
    list.erase(std::remove_if(list.begin(), list.end(), isEmpty), list.end());
}

void removeEmptyShellNodes(RootNode* root)
{
    RootNode::List& list = root->shellNodes;
    const auto isEmpty = [](const ObjectPtr<BaseNode>& node)
    {
        const auto* shell = dynamic_cast<const BaseShellNode*>(node.get());
        return !shell || shell->isEmpty();
    };
    list.erase(std::remove_if(list.begin(), list.end(), isEmpty), list.end());
}
} // namespace model
