#include "Builders.h"
#include "nodes/ArgVisibilityNode.h"
#include "nodes/BillboardNode.h"
#include "nodes/LodNode.h"
#include "utils/merge/Merge.h"
#include "utils/merge/ParentNodes.h"

namespace model
{
namespace
{
const Vertices kTriangle = points({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}});

/// Two nodes of one material on two nodes below `top`.
struct Pair
{
    Pair()
    {
        top->insert(left, nullptr);
        top->insert(right, nullptr);
        a->setControlNode(0, left);
        b->setControlNode(0, right);
    }
    ~Pair() { Node::unlinkAll(top); }

    /// Puts the node between `top` and `left`.
    void put(const ObjectPtr<Node>& node)
    {
        top->insert(node, nullptr);
        node->insert(left, nullptr);
    }

    ObjectPtr<Node> top = create<Node>("model::Node");
    ObjectPtr<Node> left = create<Node>("model::Node");
    ObjectPtr<Node> right = create<Node>("model::Node");
    MaterialPtr material = materialFor(kTriangle);
    ObjectPtr<RenderNode> a = renderNode(kTriangle, triangles({0, 1, 2}), material);
    ObjectPtr<RenderNode> b = renderNode(kTriangle, triangles({2, 1, 0}), material);
};

TEST(CanMerge, EachReasonHasItsCounter)
{
    struct Row
    {
        const char* what;
        void (*change)(Pair&);
        int counter; // -1: merges; -2: refused without a counter
    };
    const Row kRows[] = {
        {"alike", [](Pair&) {}, -1},
        {"no control nodes at all", [](Pair& p) { p.a->setControlNode(0, nullptr), p.b->setControlNode(0, nullptr); },
         -1},
        {"the same object", [](Pair& p) { p.b = p.a; }, -2},
        {"two parts", [](Pair& p) { p.b->parents.resize(2); }, -2},
        {"no part", [](Pair& p) { p.a->parents.clear(); }, -2},
        {"equal materials that are two", [](Pair& p) { p.b->setMaterial(p.material->clone()); }, 0},
        {"blended", [](Pair& p) { p.material->setBlending(1); }, 4},
        {"blended otherwise", [](Pair& p) { p.material->setBlending(2); }, -1},
        {"properties", [](Pair& p) { p.a->properties.set(create<FloatProperty>("model::Property<float>")); }, 2},
        {"types", [](Pair& p) { p.b->indices.primitiveType = 1; }, 3},
        {"points", [](Pair& p) { p.a->indices.primitiveType = p.b->indices.primitiveType = 0; }, 3},
        {"lines", [](Pair& p) { p.a->indices.primitiveType = p.b->indices.primitiveType = 1; }, -1},
        {"billboard above the first", [](Pair& p) { p.put(create<BillboardNode>("model::BillboardNode")); }, 4},
        {"billboard above the second",
         [](Pair& p)
         {
             p.put(create<BillboardNode>("model::BillboardNode"));
             std::swap(p.a, p.b);
         },
         -1},
        {"visibility between", [](Pair& p) { p.put(create<ArgVisibilityNode>("model::ArgVisibilityNode")); }, 5},
        {"visibility between the second and the top",
         [](Pair& p)
         {
             p.put(create<ArgVisibilityNode>("model::ArgVisibilityNode"));
             std::swap(p.a, p.b);
         },
         5},
        {"a common level of detail",
         [](Pair& p)
         {
             p.put(create<LodNode>("model::LodNode"));
             p.left->parent()->insert(p.right, nullptr);
         },
         6},
        {"a level of detail above one", [](Pair& p) { p.put(create<LodNode>("model::LodNode")); }, -1},
        {"a common visibility node",
         [](Pair& p)
         {
             p.put(create<ArgVisibilityNode>("model::ArgVisibilityNode"));
             p.left->parent()->insert(p.right, nullptr);
         },
         -1},
    };
    for (const Row& row : kRows)
    {
        SCOPED_TRACE(row.what);
        Pair pair;
        row.change(pair);
        MergeStats stats;
        EXPECT_EQ(canMerge(*pair.a, *pair.b, stats), row.counter == -1);
        for (int i = 0; i < 7; ++i)
            EXPECT_EQ(stats[static_cast<std::size_t>(i)], i == row.counter ? 1u : 0u) << "counter " << i;
    }
}

TEST(CanMerge, WithoutMaterialItFails)
{
    Pair pair;
    pair.a->setMaterial(nullptr);
    MergeStats stats;
    EXPECT_FALSE(canMerge(*pair.a, *pair.b, stats)); // different materials come first
    pair.b->setMaterial(nullptr);
    EXPECT_EQ(raised([&] { canMerge(*pair.a, *pair.b, stats); }), "Material of render node isn't set.");
}

TEST(CheckParentNodes, AncestorItselfIsNotLookedAt)
{
    const auto top = create<ArgVisibilityNode>("model::ArgVisibilityNode");
    const auto leaf = create<Node>("model::Node");
    top->insert(leaf, nullptr);
    EXPECT_FALSE(checkParentNodes<ArgVisibilityNode>(top.get(), top.get()));
    EXPECT_FALSE(checkParentNodes<ArgVisibilityNode>(leaf.get(), top.get()));
    EXPECT_TRUE(checkParentNodes<ArgVisibilityNode>(leaf.get(), nullptr));
    EXPECT_FALSE(checkParentNodes<ArgVisibilityNode>(nullptr, nullptr));
    Node::unlinkAll(top);
}

TEST(Merge, EntriesVerticesAndIndices)
{
    const auto root = rootNode();
    const MaterialPtr material = materialFor(kTriangle);
    const ObjectPtr<Node> places[] = {transformNode(), transformNode()};
    struct Member
    {
        int place;
        u32 argument;
        f32 entry; // where its vertices end
    };
    const Member kMembers[] = {{0, 7, 0}, {1, 7, 1}, {0, 7, 0}, {0, 8, 2}, {1, 7, 1}};
    zr::vector<ObjectPtr<RenderNode>> list;
    for (const Member& member : kMembers)
    {
        const auto node = renderNode(kTriangle, triangles({0, 1, 2}), material);
        node->setName("member");
        node->setPurpose(1);
        node->addPivot({});
        node->root = root.get();
        node->setControlNode(0, places[member.place]);
        node->setArgument(0, member.argument);
        list.push_back(node);
    }
    const auto merged = mergeRenderNodes(list);
    EXPECT_EQ(merged->getName(), "");
    EXPECT_EQ(merged->version, 0u);
    EXPECT_EQ(merged->purpose, 0u);
    EXPECT_TRUE(merged->pivots.empty());
    EXPECT_EQ(merged->root, root.get());
    EXPECT_EQ(merged->material, material);
    ASSERT_EQ(merged->parents.size(), 3u);
    EXPECT_EQ(merged->parents[1].parent.get(), places[1].get());
    EXPECT_EQ(merged->parents[2].parent.get(), places[0].get());
    EXPECT_EQ(merged->parents[2].argument, 8u);

    ASSERT_EQ(merged->indices.indices.size(), 15u);
    const zr::vector<f32>& positions = merged->vertices[kPosition0].data;
    for (u32 i = 0; i < 15; ++i)
    {
        EXPECT_EQ(merged->indices.indices[i], i);
        EXPECT_EQ(positions[4 * i + 3], kMembers[i / 3].entry) << i;
        EXPECT_EQ(positions[4 * i], kTriangle.getAttribute(kPosition0).data[4 * (i % 3)]);
    }
    EXPECT_EQ(list[1]->vertices[kPosition0].data[3], 0.0f); // the members stay as they were
}

TEST(Merge, OneNodeIsItselfAndNoneIsNull)
{
    const auto node = renderNode(kTriangle, triangles({0, 1, 2}));
    EXPECT_EQ(mergeRenderNodes({node}).get(), node.get());
    EXPECT_EQ(mergeRenderNodes({}).get(), nullptr);
}

TEST(Merge, VerticesThatDontGoTogetherFail)
{
    const auto a = renderNode(kTriangle, triangles({0, 1, 2}));
    Vertices more = kTriangle;
    more[kColor0] = attribute(1, {1, 2, 3});
    const auto b = renderNode(more, triangles({0, 1, 2}));
    EXPECT_EQ(raised([&] { mergeRenderNodes({a, b}); }), "Vertex data is invalid.");

    // Two uneven meshes whose sums would be even.
    const auto c = renderNode(more, triangles({0, 1, 2}));
    b->vertices[kColor0].data.pop_back();
    c->vertices[kColor0].data.push_back(1);
    EXPECT_EQ(raised([&] { mergeRenderNodes({b, c}); }), "Vertex data is invalid.");

    // In the merged mesh the index would mean a vertex of the neighbour.
    const auto d = renderNode(kTriangle, triangles({0, 1, 3}));
    EXPECT_THROW(mergeRenderNodes({d, a}), std::out_of_range);
    EXPECT_THROW(mergeRenderNodes({a, d}), std::out_of_range);
}
} // namespace
} // namespace model
