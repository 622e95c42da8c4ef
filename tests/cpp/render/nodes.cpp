#include "Builders.h"
#include "nodes/Bone.h"
#include "nodes/NumberNode.h"
#include "nodes/SkinNode.h"

namespace model
{
namespace
{
const Vertices kTriangle = points({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, 5.0f);

std::vector<u32> argumentsOf(const BaseNode& node)
{
    std::vector<u32> result;
    node.forEachArgument([&result](u32 argument) { result.push_back(argument); });
    return result;
}

PropertyPtr argumentProperty(const char* name, u32 argument)
{
    const auto property = create<ArgumentProperty>("model::ArgumentProperty");
    property->setName(name);
    property->setArgument(argument);
    return property;
}

TEST(RenderNode, FreshFromTheRegistry)
{
    const auto node = create<RenderNode>("model::RenderNode");
    EXPECT_EQ(node->getNumControlNodes(), 1u);
    EXPECT_EQ(node->getControlNode(0).get(), nullptr);
    EXPECT_EQ(node->getArgument(0), kNoArgument);
    EXPECT_EQ(node->version, 0u);
    EXPECT_FALSE(node->parents[0].box.isSet());
    EXPECT_THROW(node->getControlNode(1), std::out_of_range);
    EXPECT_THROW(node->setArgument(1, 0), std::out_of_range);
    EXPECT_EQ(create<SkinNode>("model::SkinNode")->getNumControlNodes(), 0u);
}

TEST(RenderNode, SetGeometryTakesOnlyWhatFits)
{
    struct Row
    {
        const char* what;
        Vertices vertices;
        Indices indices;
        MaterialPtr material;
        bool isTaken;
    };
    MaterialPtr other(new PropertiesSet());
    other->setFormat(kPosition0, 3);
    const MaterialPtr fitting = materialFor(kTriangle);
    const Row kRows[] = {
        {"all there", kTriangle, triangles({0, 1, 2}), fitting, true},
        {"no material", kTriangle, triangles({0, 1, 2}), nullptr, false},
        {"another format", kTriangle, triangles({0, 1, 2}), other, false},
        {"no indices", kTriangle, Indices(), fitting, false},
        {"no vertices", Vertices(), triangles({0, 1, 2}), MaterialPtr(new PropertiesSet()), false},
    };
    for (const Row& row : kRows)
    {
        const auto control = transformNode();
        const auto node = create<RenderNode>("model::RenderNode");
        node->setMaterial(row.material);
        node->parents.resize(3);
        node->setControlNode(0, control);
        node->setArgument(0, 8);
        node->setGeometry(row.vertices, row.indices);
        EXPECT_EQ(node->vertices.getVertexCount(), row.isTaken ? 3u : 0u) << row.what;
        EXPECT_EQ(node->getNumControlNodes(), row.isTaken ? 1u : 3u) << row.what;
        EXPECT_EQ(node->getArgument(0), row.isTaken ? kNoArgument : 8u) << row.what;
        EXPECT_EQ(node->getControlNode(0).get(), control.get()) << row.what;
    }
}

TEST(RenderNode, FourthFloatsOfANewMesh)
{
    const auto node = renderNode(kTriangle, triangles({0, 1, 2}));
    EXPECT_EQ(node->vertices[kPosition0].data[7], 0.0f);

    // Of several parts, or of a skin, they are data.
    node->setGeometry(kTriangle, triangles({0, 1, 2}), ParentEntries(6));
    EXPECT_EQ(node->vertices[kPosition0].data[7], 5.0f);
    EXPECT_EQ(node->getNumControlNodes(), 6u);
    const auto skin = create<SkinNode>("model::SkinNode");
    skin->setMaterial(materialFor(kTriangle));
    skin->setGeometry(kTriangle, triangles({0, 1, 2}));
    EXPECT_EQ(skin->vertices[kPosition0].data[7], 5.0f);
}

TEST(RenderNode, PurposeAndVersion)
{
    const auto node = create<RenderNode>("model::RenderNode");
    node->setPurpose(0);
    EXPECT_EQ(node->version, 0u);
    node->setPurpose(1);
    EXPECT_EQ(node->version, 1u);
    node->setPurpose(0);
    EXPECT_EQ(node->version, 1u);
}

TEST(RenderNode, ArgumentsInOrderWithRepeats)
{
    const auto number = create<NumberNode>("model::NumberNode");
    number->setMaterial(MaterialPtr(new PropertiesSet()));
    number->properties.set(argumentProperty("own", 1));
    number->material->properties.set(argumentProperty("ofMaterial", 2));
    number->material->properties.set(argumentProperty("none", kNoArgument));
    number->parents.resize(3);
    number->setArgument(0, 3);
    number->setArgument(2, 3);
    number->setControls({{{4, 1.0f, kNoArgument, 1.0f}}, {}, {{5, 1.0f, 6, 1.0f}, {kNoArgument, 0.0f, 4, 0.0f}}});
    EXPECT_EQ(argumentsOf(*number), (std::vector<u32>{1, 2, 3, 3, 4, 5, 6, 4}));

    const auto skin = create<SkinNode>("model::SkinNode");
    skin->setMaterial(number->material);
    EXPECT_EQ(argumentsOf(*skin), (std::vector<u32>{2}));
    skin->setArgument(77, 9);
    EXPECT_EQ(argumentsOf(*skin), (std::vector<u32>{2, 9}));
    EXPECT_TRUE(argumentsOf(*create<RenderNode>("model::RenderNode")).empty());
}

TEST(SkinNode, OnlyBonesBecomeBones)
{
    const auto skin = create<SkinNode>("model::SkinNode");
    skin->resizeBones(2);
    const auto bone = create<Bone>("model::Bone");
    const auto animated = create<ArgAnimatedBone>("model::ArgAnimatedBone");
    skin->setControlNode(0, bone);
    skin->setControlNode(1, animated);
    skin->setControlNode(1, transformNode());
    skin->setControlNode(1, nullptr);
    EXPECT_EQ(skin->getControlNode(0).get(), bone.get());
    EXPECT_EQ(skin->getControlNode(1).get(), animated.get());
    EXPECT_THROW(skin->setControlNode(2, bone), std::out_of_range);
}

TEST(SkinNode, KeepsItsBonesAlive)
{
    const u64 before = getObjectRegistry().getCount();
    {
        const auto skin = create<SkinNode>("model::SkinNode");
        skin->resizeBones(2);
        {
            const auto root = rootNode();
            const auto bone = create<Bone>("model::Bone");
            bone->setName("hip");
            root->rootTransform->insert(bone, nullptr);
            skin->setControlNode(1, bone);
        }
        EXPECT_EQ(skin->getControlNode(0).get(), nullptr);
        EXPECT_EQ(skin->getControlNode(1)->getName(), "hip");
    }
    EXPECT_EQ(getObjectRegistry().getCount(), before);
}

TEST(RenderNode, CloneIsAWholeCopyOfItsClass)
{
    const auto node = renderNode(kTriangle, triangles({0, 1, 2}));
    node->addPivot({1, 2, 3});
    node->setArgument(0, 4);
    const auto copy = cloneAs<RenderNode>(*node);
    ASSERT_TRUE(copy);
    copy->vertices[kPosition0].data[0] = 9;
    EXPECT_EQ(node->vertices[kPosition0].data[0], 0);
    EXPECT_EQ(copy->indices.indices, node->indices.indices);
    EXPECT_EQ(copy->material, node->material);
    EXPECT_EQ(copy->pivots.size(), 1u);
    EXPECT_EQ(copy->getArgument(0), 4u);
    EXPECT_TRUE(cloneAs<NumberNode>(*create<NumberNode>("model::NumberNode")));
}
} // namespace
} // namespace model
