#include <zr/EmTree.h>

#include <algorithm>
#include <random>

#include <gtest/gtest.h>

namespace
{
int alive = 0;

struct Node : zr::EmTree<Node, zr::EmTreePtrStorage<Node, zr::DefaultDeleter>>, zr::Shared
{
    explicit Node(int number) : id(number) { ++alive; }
    ~Node() override { --alive; }

    int id;
};
using NodePtr = zr::Ptr<Node>;
using Ids = std::vector<int>;

/// The same tree as plain lists of numbers, with every answer found by the plain definition.
struct PlainTree
{
    Ids parent;
    std::vector<Ids> lists;

    bool isAbove(int upper, int node) const
    {
        while (node >= 0 && node != upper)
            node = parent[node];
        return node >= 0;
    }
    void remove(int node)
    {
        if (parent[node] >= 0) std::erase(lists[parent[node]], node);
        parent[node] = -1;
    }
    void insert(int under, int node, int before)
    {
        if (before == node && parent[node] == under) return;
        remove(node);
        lists[under].insert(std::ranges::find(lists[under], before), node);
        parent[node] = under;
    }
    void walk(int node, int barrier, Ids& out) const
    {
        out.push_back(node);
        if (node == barrier) return;
        for (int child : lists[node])
            walk(child, barrier, out);
    }
};

TEST(EmTree, RandomOperationsAgreeWithAPlainTree)
{
    constexpr int kNodes = 30;
    std::mt19937 random(1);
    std::vector<NodePtr> nodes;
    for (int id = 0; id < kNodes; ++id)
        nodes.emplace_back(new Node(id));
    PlainTree plain{Ids(kNodes, -1), std::vector<Ids>(kNodes)};
    const auto any = [&] { return int(random() % kNodes); };
    const auto at = [&](int id) { return id < 0 ? nullptr : nodes[id].get(); };
    for (int step = 0; step < 10000; ++step)
    {
        const int under = any();
        const int node = any();
        ASSERT_EQ(at(under)->wouldCycle(at(node)), plain.isAbove(node, under));
        if (random() % 8 == 0)
        {
            at(under)->remove(at(node)); // mostly a stranger, which stays where it is
            if (plain.parent[node] == under) plain.remove(node);
        }
        else if (random() % 40 == 0)
        {
            Ids below;
            plain.walk(node, -1, below);
            Node::unlinkAll(at(node));
            for (int id : below)
                plain.remove(id);
        }
        else if (!plain.isAbove(node, under))
        {
            const Ids& list = plain.lists[under]; // before one of it, itself, a stranger or nothing
            const int before = list.empty() || random() % 4 == 0 ? any() - 1 : list[random() % list.size()];
            at(under)->insert(at(node), at(before));
            plain.insert(under, node, before);
        }

        const int barrier = any();
        Ids expected, seen, backward;
        plain.walk(under, barrier, expected);
        const auto note = [&](const NodePtr& met) { return seen.push_back(met->id), met->id != barrier; };
        Node::visit(NodePtr(at(under)), note);
        ASSERT_EQ(seen, expected);
        for (const Node* child = at(under)->lastChild(); child; child = child->prevSibling())
            backward.insert(backward.begin(), child->id);
        ASSERT_EQ(backward, plain.lists[under]);
        int common = under;
        while (common >= 0 && !plain.isAbove(common, node))
            common = plain.parent[common];
        ASSERT_EQ(Node::commonAncestor(at(under), at(node)), at(common));
        ASSERT_EQ(at(node)->parent(), at(plain.parent[node]));
    }
    for (const NodePtr& node : nodes)
        Node::unlinkAll(node);
    nodes.clear();
    EXPECT_EQ(alive, 0);
}

TEST(EmTree, AVisitorMayRemoveItsNodeOrThrow)
{
    const NodePtr root(new Node(0));
    for (int id = 1; id <= 3; ++id)
        root->insert(new Node(id), nullptr);
    Node::visit(root, [&](const NodePtr& node) { return root->remove(node), true; });
    EXPECT_EQ(root->lastChild()->prevSibling(), root->firstChild()) << "the way on is read when a node is done";
    EXPECT_THROW(Node::visit(root, [](const NodePtr&) -> bool { throw std::bad_alloc(); }), std::bad_alloc);
    Node::unlinkAll(root);
    EXPECT_EQ(alive, 1);
}

// Recursion would overflow the stack here, and a cost that grows with the depth for each node would not end.
TEST(EmTree, AMillionNestedNodes)
{
    for (bool downward : {true, false})
    {
        NodePtr top(new Node(0));
        NodePtr bottom = top;
        for (int id = 1; id < 1'000'000; ++id)
        {
            const NodePtr node(new Node(id));
            const NodePtr upper = downward ? bottom : node;
            const NodePtr lower = downward ? node : top;
            ASSERT_FALSE(upper->wouldCycle(lower.get()));
            upper->insert(lower, nullptr);
            (downward ? bottom : top) = node;
        }
        EXPECT_TRUE(bottom->wouldCycle(top.get()));
        const NodePtr small(new Node(-1)); // a small subtree is soon gone through, however deep the node is that asks
        for (int i = 0; i < 100'000; ++i)
            ASSERT_FALSE(bottom->wouldCycle(small.get()));
        Node::unlinkAll(top);
        EXPECT_EQ(alive, 3);
    }
}
} // namespace
