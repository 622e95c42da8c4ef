#include <cstdlib>

#include <gtest/gtest.h>

#include "base/INode.h"
#include "base/ObjectRegistry.h"
#include "materials/Properties.h"
#include "nodes/BillboardNode.h"
#include "nodes/LightNode.h"

using namespace model;

namespace
{
struct NodeName
{
    const char* name;
    u32 type;
};

constexpr NodeName kNodes[] = {
    {"model::FakeOmniLightsNode", 19},
    {"model::AnimatedFakeOmniLightsNode", 21},
    {"model::AnimatedFakeSpotLightsNode", 22},
    {"model::FakeSpotLightsNode", 20},
    {"model::FakeSpotLights3Node", 25},
    {"model::NumberNode", 23},
    {"model::RootNode", 16},
    {"model::Node", 10},
    {"model::RenderNode", 11},
    {"model::LightNode", 8},
    {"model::TransformNode", 18},
    {"model::BillboardNode", 12},
    {"model::SkinNode", 17},
    {"model::ShellNode", 13},
    {"model::ShellSkinNode", 24},
    {"model::SegmentsNode", 15},
    {"model::LodNode", 9},
    {"model::ArgVisibilityNode", 5},
    {"model::ArgAnimationNode", 1},
    {"model::ArgScaleNode", 1},
    {"model::ArgRotationNode", 1},
    {"model::ArgPositionNode", 1},
    {"model::Connector", 7},
    {"model::Bone", 6},
    {"model::ArgAnimatedBone", 0},
    {"model::TmpNumberRoot", 26},
};

struct PropertyClass
{
    const char* name;
    u32 kind;
    const char* tag;
    bool isAnimated;
};

constexpr PropertyClass kProperties[] = {
    {"model::Property<float>", 0, "FLT1", false},
    {"model::Property<unsigned int>", 1, "INT1", false},
    {"model::Property<osg::Vec2f>", 2, "FLT2", false},
    {"model::Property<osg::Vec3f>", 3, "FLT3", false},
    {"model::Property<osg::Vec4f>", 4, "FLT4", false},
    {"model::Property<const char*>", 6, "STRG", false},
    {"model::ArgumentProperty", 0, "AARG", true},
    {"model::AnimatedProperty<float>", 0, "AFL1", true},
    {"model::AnimatedProperty<osg::Vec2f>", 2, "AFL2", true},
    {"model::AnimatedProperty<osg::Vec3f>", 3, "AFL3", true},
    {"model::AnimatedProperty<osg::Vec4f>", 4, "AFL4", true},
};

u64 count()
{
    return getObjectRegistry().getCount();
}
} // namespace

TEST(Registry, MakesEveryClassByItsName)
{
    EXPECT_EQ(std::size(kNodes) + std::size(kProperties), 37u);
    const u64 before = count();
    for (const NodeName& entry : kNodes)
    {
        const auto node = create<INode>(entry.name);
        ASSERT_TRUE(node) << entry.name;
        EXPECT_EQ(node->getType(), entry.type) << entry.name;
        EXPECT_EQ(node->registry, &getObjectRegistry());
        const auto copy = node->clone();
        ASSERT_TRUE(copy) << entry.name;
        EXPECT_NE(copy, node);
        EXPECT_EQ(copy->getType(), entry.type);
        EXPECT_EQ(copy->registry, &getObjectRegistry());
    }
    for (const PropertyClass& entry : kProperties)
    {
        const auto property = create<IProperty>(entry.name);
        ASSERT_TRUE(property) << entry.name;
        EXPECT_STREQ(property->getClassName(), entry.name);
        EXPECT_EQ(property->kind, entry.kind);
        EXPECT_STREQ(property->tag, entry.tag);
        EXPECT_EQ(property->isAnimated(), entry.isAnimated);
        EXPECT_EQ(property->getName(), "UnNamed");
    }
    EXPECT_EQ(count(), before);
}

TEST(Registry, RefusesOtherNames)
{
    const u64 before = count();
    for (const char* name : {"model::TreeShellNode", "", "model::node", "Node", "model::Node "})
        EXPECT_FALSE(getObjectRegistry().create(name)) << name;
    EXPECT_FALSE(getObjectRegistry().create(nullptr));
    EXPECT_FALSE(create<Node>("model::Property<float>")) << "an object of another class";

    const auto node = create<Node>("model::Node");
    EXPECT_FALSE(getObjectRegistry().clone("model::TreeShellNode", *node));
    EXPECT_FALSE(getObjectRegistry().clone("model::LodNode", *node)) << "a source of another class";
    EXPECT_EQ(count(), before + 1);
}

TEST(Registry, CountsLivingObjectsWhateverTheOrderOfTheirEnd)
{
    const u64 before = count();
    zr::vector<ObjectPtr<Node>> nodes;
    for (int i = 0; i < 1000; ++i)
        nodes.push_back(create<Node>("model::Node"));
    EXPECT_EQ(count(), before + 1000);
    for (std::size_t i = 0; i < 1000; ++i)
    {
        nodes[i * 617 % 1000].release();
        ASSERT_EQ(count(), before + 999 - i);
    }
}

TEST(Registry, ConstructorsMayCreateMoreObjects)
{
    const u64 before = count();
    {
        const auto billboard = create<BillboardNode>("model::BillboardNode");
        EXPECT_EQ(billboard->getVersion(), 1u);
        EXPECT_EQ(count(), before + 2);
        const auto light = create<LightNode>("model::LightNode");
        EXPECT_EQ(count(), before + 2 + 11);
    }
    EXPECT_EQ(count(), before);
}

TEST(Registry, ObjectsWithoutOneAreNotCounted)
{
    const u64 before = count();
    const ObjectPtr<Node> node(new Node());
    EXPECT_EQ(node->registry, nullptr);
    EXPECT_EQ(count(), before);
}

// An interpreter holds objects to the very end; one that dies after the registry's end must not crash the exit.
TEST(Registry, AnObjectMayOutliveIt)
{
    struct Holder
    {
        ObjectPtr<IObject> object;
        ~Holder()
        {
            object.release();
            if (getObjectRegistry().create("model::Node") || getObjectRegistry().getCount() != 0) std::abort();
        }
    };
    EXPECT_EXIT(
        {
            static Holder holder;
            holder.object = getObjectRegistry().create("model::LightNode");
            getObjectRegistry().shutDown();
            std::exit(0);
        },
        testing::ExitedWithCode(0), "");
}
