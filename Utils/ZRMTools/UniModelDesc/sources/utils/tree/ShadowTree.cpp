#include "utils/tree/ShadowTree.h"

#include "base/ObjectRegistry.h"

namespace model::utils
{
ShadowTree::ShadowTree(Node& topNode)
{
    Node* const parent = topNode.parent();
    top = parent ? addAbove(*parent, topNode) : add(topNode, kNoNode);
    addBelowTop();
}

u32 ShadowTree::find(const Node* node) const
{
    return node && node->number < nodes.size() && nodes[node->number].node == node ? node->number : kNoNode;
}

u32 ShadowTree::following(u32 number) const
{
    if (nodes[number].firstChild != kNoNode) return nodes[number].firstChild;
    while (number != top && nodes[number].next == kNoNode)
        number = nodes[number].parent;
    return number == top ? kNoNode : nodes[number].next;
}

u32 ShadowTree::make(u32 namesake)
{
    if (freeNodes.empty())
    {
        freeNodes.push_back(size());
        nodes.emplace_back();
    }
    const u32 number = freeNodes.back();
    freeNodes.pop_back();
    nodes[number].namesake = namesake;
    return number;
}

u32 ShadowTree::makeTransform(u32 namesake, const matrixd& matrix)
{
    const u32 number = make(namesake);
    ShadowNode& made = nodes[number];
    made.type = kTransformNode;
    made.moveRule = 0;
    if (freeMatrices.empty())
    {
        freeMatrices.push_back(static_cast<u32>(matrices.size()));
        matrices.emplace_back();
    }
    made.matrix = freeMatrices.back();
    freeMatrices.pop_back();
    matrices[made.matrix] = matrix;
    return number;
}

u32 ShadowTree::adopt(const ObjectPtr<Node>& node)
{
    held.push_back(node);
    return add(*node, kNoNode);
}

void ShadowTree::insert(u32 parent, u32 child, u32 before)
{
    detach(child);
    ShadowNode& to = nodes[parent];
    ShadowNode& node = nodes[child];
    to.isChanged = true;
    node.parent = parent;
    node.next = before;
    u32& following = before == kNoNode ? to.lastChild : nodes[before].prev;
    node.prev = following;
    following = child;
    (node.prev == kNoNode ? to.firstChild : nodes[node.prev].next) = child;
}

void ShadowTree::detach(u32 child)
{
    ShadowNode& node = nodes[child];
    if (node.parent == kNoNode) return;
    ShadowNode& from = nodes[node.parent];
    from.isChanged = true;
    (node.prev == kNoNode ? from.firstChild : nodes[node.prev].next) = node.next;
    (node.next == kNoNode ? from.lastChild : nodes[node.next].prev) = node.prev;
    node.parent = node.next = node.prev = kNoNode;
}

void ShadowTree::remove(u32 number)
{
    detach(number);
    ShadowNode& node = nodes[number];
    if (node.node)
    {
        node.isRemoved = true;
        return;
    }
    if (node.matrix != kNoNode) freeMatrices.push_back(node.matrix);
    freeNodes.push_back(number);
    node = {};
}

const matrixd& ShadowTree::matrixOf(u32 number) const
{
    const ShadowNode& node = nodes[number];
    return node.node ? static_cast<const TransformNode*>(node.node)->matrix : matrices[node.matrix];
}

void ShadowTree::applyMatrix(u32 number, const matrixd& m)
{
    const ShadowNode& node = nodes[number];
    if (node.node)
        node.node->applyMatrix(m.m);
    else
        multiplyBy(matrices[node.matrix].m, m.m);
}

Node& ShadowTree::nodeOf(u32 number)
{
    ShadowNode& made = nodes[number];
    if (made.node) return *made.node;
    const auto node = create<Node>(getNodeTypeName(made.type));
    if (made.type == kTransformNode) static_cast<TransformNode&>(*node).setMatrix(matrices[made.matrix]);
    if (made.namesake != kNoNode) node->name = nodes[made.namesake].node->name;
    node->number = number;
    held.push_back(node);
    made.node = node.get();
    return *made.node;
}

void ShadowTree::write(bool isComplete)
{
    for (u32 parent = 0; parent < size(); ++parent)
        if (nodes[parent].isChanged) writeChildren(parent);
    // What was made has its name by now. A node that leaves may die here, and so may one that only it still held.
    for (u32 number = 0; number < size(); ++number)
    {
        if (nodes[number].parent != kNoNode || !nodes[number].node || number == above) continue;
        const ObjectPtr<Node> node = nodes[number].node;
        if (nodes[number].isRemoved && isComplete) node->setName("_DELETED_");
        if (node->parent()) node->parent()->remove(node);
    }
}

u32 ShadowTree::add(Node& node, u32 parent)
{
    const u32 number = size();
    node.number = number;
    ShadowNode& added = nodes.emplace_back();
    added.namesake = number;
    added.type = static_cast<u8>(node.getType());
    added.moveRule = static_cast<u8>(node.transformMoveRule());
    added.isBarrier = node.isOptimizationBarrier();
    added.node = &node;
    if (parent == kNoNode) return number;
    insert(parent, number, kNoNode);
    nodes[parent].isChanged = false;
    return number;
}

/// Returns the top.
u32 ShadowTree::addAbove(Node& parent, Node& topNode)
{
    held.emplace_back(&parent);
    above = add(parent, kNoNode);
    for (Node* child = parent.firstChild(); child; child = child->nextSibling())
        add(*child, above);
    const u32 found = find(&topNode);
    return found == kNoNode ? add(topNode, above) : found;
}

void ShadowTree::addBelowTop()
{
    u32 at = top;
    // Up and down along the links, which needs no path.
    for (Node* child = nodes[top].node->firstChild(); child || at != top;)
        if (child)
        {
            at = add(*child, at);
            child = child->firstChild();
        }
        else
        {
            child = nodes[at].node->nextSibling();
            at = nodes[at].parent;
        }
}

bool ShadowTree::isElsewhere(const Node& node, u32 parent) const
{
    const u32 number = find(&node);
    return number != kNoNode && nodes[number].parent != parent;
}

/// Moves only what isn't in its place. What leaves this list is passed over: it is taken when its new place is written.
void ShadowTree::writeChildren(u32 parent)
{
    if (nodes[parent].firstChild == kNoNode) return;
    Node& node = nodeOf(parent);
    Node* at = node.firstChild();
    for (u32 number = nodes[parent].firstChild; number != kNoNode; number = nodes[number].next)
    {
        Node& child = nodeOf(number);
        while (at && isElsewhere(*at, parent))
            at = at->nextSibling();
        if (at == &child)
            at = at->nextSibling();
        else
            node.insert(&child, at);
    }
}
} // namespace model::utils
