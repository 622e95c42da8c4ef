#include "utils/tree/NodeUsers.h"

#include <algorithm>

#include "RootNode.h"

namespace model::utils
{
NodeUsers::NodeUsers(const RootNode& root)
{
    u32 rank = 0;
    for (const ObjectPtr<BaseNode>& user : root.getAllNodes())
    {
        const u64 count = user ? user->getNumControlNodes() : 0;
        for (u32 index = 0; index < count; ++index)
            if (const ObjectPtr<Node> control = user->getControlNode(index))
                lists[control.get()].push_back({user.get(), index, rank++});
    }
}

zr::vector<Use> NodeUsers::take(const Node* node)
{
    const auto found = lists.find(node);
    if (found == lists.end()) return {};
    zr::vector<Use> uses = std::move(found->second);
    lists.erase(found);
    std::sort(uses.begin(), uses.end(), [](const Use& a, const Use& b) { return a.rank < b.rank; });
    return uses;
}

void NodeUsers::hang(const Use& use, const ObjectPtr<Node>& node)
{
    use.user->setControlNode(use.index, node);
    restore(use, use.user->getControlNode(use.index).get());
}

bool NodeUsers::replace(const Node* from, const ObjectPtr<Node>& to)
{
    const zr::vector<Use> uses = take(from);
    for (const Use& use : uses)
        hang(use, to);
    return !uses.empty();
}
} // namespace model::utils
