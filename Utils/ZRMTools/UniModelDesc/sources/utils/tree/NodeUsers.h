#pragma once

#include <parallel_hashmap/phmap.h>

#include "nodes/BaseNode.h"
#include "nodes/Node.h"

namespace model
{
class RootNode;
}

namespace model::utils
{
/// Something that hangs on a node of the tree by one of its control nodes.
struct Use
{
    BaseNode* user = nullptr;
    u32 index = 0;
    /// Its place in the order of the root's lists; a user that is listed twice has two uses.
    u32 rank = 0;
};

/// What hangs on each node of the tree: the root's `isUsed`, `getUsers` and `replaceControlNode` without a search.
/// Valid while all control nodes are set through it and the lists of the root stay as they are.
class NodeUsers
{
public:
    explicit NodeUsers(const RootNode& root);

    bool isUsed(const Node* node) const { return lists.find(node) != lists.end(); }
    /// Takes what hangs on a node off the table, in the order of the root's lists. Each entry is to be given back by
    /// `hang` or `restore`.
    zr::vector<Use> take(const Node* node);
    /// Sets the user's control node. What refuses the node (a skin takes bones only) stays where it is.
    void hang(const Use& use, const ObjectPtr<Node>& node);
    /// Gives back what stays on its node.
    void restore(const Use& use, const Node* node) { lists[node].push_back(use); }
    /// Hangs everything from `from` onto `to`. Returns whether there was something.
    bool replace(const Node* from, const ObjectPtr<Node>& to);

private:
    /// Never holds an empty list.
    phmap::flat_hash_map<const Node*, zr::vector<Use>> lists;
};
} // namespace model::utils
