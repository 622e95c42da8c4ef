#include "utils/tree/NodeUsers.h"

#include <algorithm>
#include <utility>

#include "RootNode.h"
#include "utils/tree/Bakes.h"

namespace model::utils
{
NodeUsers::NodeUsers(const RootNode& root, ShadowTree& shadowTree) : tree(shadowTree)
{
    for (const RootNode::List* list : {&root.connectors, &root.lights, &root.shellNodes, &root.renderNodes})
        for (const ObjectPtr<BaseNode>& user : *list)
            if (user) add(*user);
}

void NodeUsers::add(BaseNode& user)
{
    const u64 count = user.getNumControlNodes();
    const bool waits = canWait(user);
    const u32 type = user.getType();
    const bool isAsked = type == kSkinNode || type == kShellSkinNode;
    isOrdered |= dependsOnOrder(user);
    for (u32 index = 0; index < count; ++index)
    {
        const u32 node = tree.find(user.getControlNode(index).get());
        if (node == kNoNode) continue;
        const u32 use = static_cast<u32>(uses.size());
        uses.push_back({.user = &user, .index = index, .canWait = waits, .isAsked = isAsked});
        restore(use, node);
    }
}

const zr::vector<u32>& NodeUsers::take(u32 node)
{
    taken.clear();
    for (u32 use = tree[node].firstUse; use != kNoNode; use = uses[use].next)
        taken.push_back(use);
    tree[node].firstUse = tree[node].lastUse = kNoNode;
    std::sort(taken.begin(), taken.end());
    return taken;
}

void NodeUsers::hang(u32 use, u32 node)
{
    Use& moved = uses[use];
    moved.isMoved = !moved.isAsked;
    if (moved.isAsked)
    {
        moved.user->setControlNode(moved.index, &tree.nodeOf(node));
        node = tree.find(moved.user->getControlNode(moved.index).get());
    }
    if (node != kNoNode) restore(use, node);
}

void NodeUsers::restore(u32 use, u32 node)
{
    ShadowNode& on = tree[node];
    uses[use].node = node;
    uses[use].next = kNoNode;
    (on.lastUse == kNoNode ? on.firstUse : uses[on.lastUse].next) = use;
    on.lastUse = use;
}

bool NodeUsers::replace(u32 from, u32 to)
{
    if (!isUsed(from)) return false;
    u32 use = std::exchange(tree[from].firstUse, kNoNode);
    tree[from].lastUse = kNoNode;
    while (use != kNoNode)
        hang(std::exchange(use, uses[use].next), to);
    return true;
}

/// Backwards, as an exception may have kept the later ones of a user that is listed more than once from moving.
void NodeUsers::write()
{
    for (auto use = uses.rbegin(); use != uses.rend(); ++use)
        if (use->isMoved) use->user->setControlNode(use->index, &tree.nodeOf(use->node));
}
} // namespace model::utils
