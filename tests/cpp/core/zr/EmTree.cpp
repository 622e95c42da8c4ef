#include <zr/EmTree.h>

#include <algorithm>
#include <random>

#include <gtest/gtest.h>

namespace
{
struct Node;
using Tree = zr::EmTree<Node, zr::EmTreePtrStorage<Node, zr::DefaultDeleter>>;

int alive = 0;

struct Node : Tree, zr::Shared
{
    explicit Node(int number) : id(number) { ++alive; }
    ~Node() override { --alive; }

    int id;
};
using NodePtr = zr::Ptr<Node>;

NodePtr make(int id)
{
    return NodePtr(new Node(id));
}

/// The children by id, checked in both directions and for their parent.
std::vector<int> children(const Node* parent)
{
    std::vector<int> forward;
    std::vector<int> backward;
    for (const Node* child = parent->firstChild(); child; child = child->nextSibling())
    {
        EXPECT_EQ(child->parent(), parent);
        forward.push_back(child->id);
    }
    for (const Node* child = parent->lastChild(); child; child = child->prevSibling())
        backward.push_back(child->id);
    std::reverse(backward.begin(), backward.end());
    EXPECT_EQ(forward, backward);
    return forward;
}

std::vector<int> walk(const Node* start, int barrier = -1)
{
    std::vector<int> seen;
    Node::visit(start,
                [&](const Node* node)
                {
                    seen.push_back(node->id);
                    return node->id != barrier;
                });
    return seen;
}

/// A parent 0 with the children 1, 2 and 3, and a stranger 4.
struct Family
{
    std::vector<NodePtr> nodes;

    Family()
    {
        for (int id = 0; id <= 4; ++id)
            nodes.push_back(make(id));
        for (std::size_t id = 1; id <= 3; ++id)
            nodes[0]->insert(nodes[id], nullptr);
    }
    ~Family() { Node::unlinkAll(nodes[0]); }
};

constexpr std::size_t kNone = 9;

struct InsertCase
{
    const char* what;
    std::size_t child;
    std::size_t before;
    std::vector<int> expected;
};

TEST(EmTree, InsertMovesWithinAndIntoAList)
{
    const InsertCase cases[] = {
        {"first to the end", 1, kNone, {2, 3, 1}},      {"last to the end", 3, kNone, {1, 2, 3}},
        {"first before last", 1, 3, {2, 1, 3}},         {"last before first", 3, 1, {3, 1, 2}},
        {"before its next", 1, 2, {1, 2, 3}},           {"before its previous", 2, 1, {2, 1, 3}},
        {"middle before itself", 2, 2, {1, 2, 3}},      {"last before itself", 3, 3, {1, 2, 3}},
        {"stranger before first", 4, 1, {4, 1, 2, 3}},  {"stranger to the end", 4, kNone, {1, 2, 3, 4}},
        {"stranger before itself", 4, 4, {1, 2, 3, 4}}, {"before a node of no list", 1, 4, {2, 3, 1}},
    };
    for (const InsertCase& row : cases)
    {
        SCOPED_TRACE(row.what);
        Family family;
        family.nodes[0]->insert(family.nodes[row.child], row.before == kNone ? NodePtr() : family.nodes[row.before]);
        EXPECT_EQ(children(family.nodes[0].get()), row.expected);
    }
    EXPECT_EQ(alive, 0);
}

TEST(EmTree, RemoveCutsBothSidesAndIgnoresStrangers)
{
    for (std::size_t id = 1; id <= 3; ++id)
    {
        Family family;
        family.nodes[0]->remove(family.nodes[4]);
        family.nodes[0]->remove(nullptr);
        family.nodes[id]->remove(family.nodes[0]);
        EXPECT_EQ(children(family.nodes[0].get()), (std::vector<int>{1, 2, 3}));
        Node* node = family.nodes[id].get();
        family.nodes[0]->remove(node);
        EXPECT_TRUE(!node->parent() && !node->nextSibling() && !node->prevSibling());
        std::vector<int> expected{1, 2, 3};
        std::erase(expected, node->id);
        EXPECT_EQ(children(family.nodes[0].get()), expected);
        EXPECT_EQ(node->getReferenceCount(), 1u);
    }
    EXPECT_EQ(alive, 0);
}

TEST(EmTree, ACopyStartsWithItsSourcesLinksAndNobodyLeadsToIt)
{
    Family family;
    const Node* source = family.nodes[2].get();
    NodePtr copy(new Node(*source));
    ++alive; // the copy constructor does not count
    EXPECT_EQ(copy->parent(), source->parent());
    EXPECT_EQ(copy->prevSibling(), source->prevSibling());
    EXPECT_EQ(copy->nextSibling(), source->nextSibling());
    EXPECT_EQ(children(family.nodes[0].get()), (std::vector<int>{1, 2, 3}));
    EXPECT_EQ(copy->getReferenceCount(), 1u);
}

/// The same tree as plain vectors of numbers, with every answer found by the plain definition.
struct PlainTree
{
    std::vector<int> parent;
    std::vector<std::vector<int>> lists;

    explicit PlainTree(int count) : parent(std::size_t(count), -1), lists(std::size_t(count)) {}

    std::vector<int> chain(int node) const
    {
        std::vector<int> nodes;
        for (; node >= 0; node = parent[std::size_t(node)])
            nodes.push_back(node);
        return nodes;
    }
    bool isAbove(int upper, int node) const
    {
        const std::vector<int> nodes = chain(node);
        return std::find(nodes.begin(), nodes.end(), upper) != nodes.end();
    }
    int common(int a, int b) const
    {
        for (int upper : chain(a))
            if (isAbove(upper, b)) return upper;
        return -1;
    }
    void remove(int node)
    {
        if (parent[std::size_t(node)] >= 0) std::erase(lists[std::size_t(parent[std::size_t(node)])], node);
        parent[std::size_t(node)] = -1;
    }
    void insert(int under, int node, int before)
    {
        remove(node);
        std::vector<int>& list = lists[std::size_t(under)];
        list.insert(std::find(list.begin(), list.end(), before), node);
        parent[std::size_t(node)] = under;
    }
    void walk(int node, std::vector<int>& out) const
    {
        out.push_back(node);
        for (int child : lists[std::size_t(node)])
            walk(child, out);
    }
};

TEST(EmTree, RandomOperationsAgreeWithAPlainTree)
{
    constexpr int kNodes = 30;
    for (unsigned seed = 1; seed <= 5; ++seed)
    {
        SCOPED_TRACE(seed);
        std::mt19937 random(seed);
        std::vector<NodePtr> nodes;
        for (int id = 0; id < kNodes; ++id)
            nodes.push_back(make(id));
        PlainTree plain(kNodes);
        const auto any = [&] { return int(random() % kNodes); };
        const auto at = [&](int id) { return id < 0 ? nullptr : nodes[std::size_t(id)].get(); };
        for (int step = 0; step < 1500; ++step)
        {
            const int under = any();
            const int node = any();
            ASSERT_EQ(at(under)->wouldCycle(at(node)), plain.isAbove(node, under));
            if (random() % 8 == 0)
            {
                if (Node* parent = at(node)->parent()) parent->remove(at(node));
                plain.remove(node);
            }
            else if (!plain.isAbove(node, under))
            {
                const std::vector<int>& list = plain.lists[std::size_t(under)];
                int before = list.empty() ? -1 : list[random() % list.size()];
                if (before == node) before = -1;
                at(under)->insert(at(node), at(before));
                plain.insert(under, node, before);
            }
            const int a = any();
            ASSERT_EQ(Node::commonAncestor(at(a), at(node)), at(plain.common(a, node)));
            ASSERT_EQ(children(at(under)), plain.lists[std::size_t(under)]);
            std::vector<int> expected;
            plain.walk(a, expected);
            ASSERT_EQ(walk(at(a)), expected);
        }
        for (const NodePtr& node : nodes)
            if (!node->parent()) Node::unlinkAll(node);
        nodes.clear();
        ASSERT_EQ(alive, 0);
    }
}

TEST(EmTree, FalsePrunesOneBranchAndAnEmptyFunctionRaises)
{
    Family family;
    family.nodes[1]->insert(family.nodes[4], nullptr);
    EXPECT_EQ(walk(family.nodes[0].get()), (std::vector<int>{0, 1, 4, 2, 3}));
    EXPECT_EQ(walk(family.nodes[0].get(), 1), (std::vector<int>{0, 1, 2, 3}));
    EXPECT_EQ(walk(family.nodes[1].get()), (std::vector<int>{1, 4})) << "never leaves the subtree";
    EXPECT_THROW(Node::visit(family.nodes[0].get(), std::function<bool(const Node*)>()), std::bad_function_call);
    EXPECT_THROW(Node::visit(family.nodes[0], std::function<bool(NodePtr)>()), std::bad_function_call);

    std::vector<int> upward;
    family.nodes[4]->walkUp(
        [&](const Node* node)
        {
            upward.push_back(node->id);
            return node->id != 1;
        });
    EXPECT_EQ(upward, (std::vector<int>{4, 1}));
}

TEST(EmTree, AVisitedNodeMayBeRemoved)
{
    Family family;
    family.nodes[2]->insert(family.nodes[4], nullptr);
    NodePtr root = family.nodes[0];
    std::vector<int> seen;
    Node::visit(root,
                [&](const NodePtr& node)
                {
                    seen.push_back(node->id);
                    if (node->id == 4) family.nodes[2]->remove(node);
                    return true;
                });
    EXPECT_EQ(seen, (std::vector<int>{0, 1, 2, 4, 3}));
}

TEST(EmTree, ADyingTreeLeavesTheParentItHangsUnder)
{
    Family family;
    family.nodes[2]->insert(family.nodes[4], nullptr);
    Node::unlinkAll(family.nodes[2]);
    EXPECT_EQ(children(family.nodes[0].get()), (std::vector<int>{1, 3}));
    EXPECT_EQ(family.nodes[4]->parent(), nullptr);
    Node::unlinkAll(nullptr);
}

// Recursion would overflow the stack here, and a cost that grows with the depth for each node would not end.
TEST(EmTree, AMillionNestedNodes)
{
    constexpr int kDepth = 1'000'000;
    for (bool downward : {true, false})
    {
        SCOPED_TRACE(downward);
        NodePtr top = make(0);
        NodePtr bottom = top;
        for (int id = 1; id < kDepth; ++id)
        {
            NodePtr node = make(id);
            NodePtr& upper = downward ? bottom : node;
            NodePtr& lower = downward ? node : top;
            ASSERT_FALSE(upper->wouldCycle(lower.get()));
            upper->insert(lower, nullptr);
            (downward ? bottom : top) = node;
        }
        EXPECT_TRUE(bottom->wouldCycle(top.get()));
        Family family; // a small subtree is soon gone through, however deep the node is that asks
        for (int i = 0; i < 100'000; ++i)
            ASSERT_FALSE(bottom->wouldCycle(family.nodes[0].get()));
        EXPECT_EQ(Node::commonAncestor(bottom.get(), top.get()), top.get());
        EXPECT_EQ(walk(top.get()).size(), std::size_t(kDepth));
        int visited = 0;
        Node::visit(top, [&](const NodePtr&) { return ++visited > 0; });
        EXPECT_EQ(visited, kDepth);
        Node::unlinkAll(top);
        EXPECT_EQ(alive, 2 + 5);
        top.release();
        bottom.release();
        EXPECT_EQ(alive, 5);
    }
}
} // namespace
