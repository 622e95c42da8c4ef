#include <algorithm>
#include <cstdlib>
#include <sstream>
#include <thread>

#include <gtest/gtest.h>

#include "base/ObjectRegistry.h"
#include "materials/Properties.h"
#include "nodes/BillboardNode.h"
#include "nodes/LightNode.h"

using namespace model;

namespace
{
u64 count()
{
    return getObjectRegistry().getCount();
}
} // namespace

TEST(Registry, MakesEveryNodeByItsName)
{
    // By type id; an animation has three further names, and one name has no class.
    std::istringstream names(
        "ArgAnimatedBone ArgAnimationNode ArgRotationNode ArgScaleNode ArgPositionNode ArgVisibilityNode Bone "
        "Connector "
        "LightNode LodNode Node RenderNode BillboardNode ShellNode TreeShellNode SegmentsNode RootNode SkinNode "
        "TransformNode FakeOmniLightsNode FakeSpotLightsNode AnimatedFakeOmniLightsNode AnimatedFakeSpotLightsNode "
        "NumberNode ShellSkinNode FakeSpotLights3Node TmpNumberRoot");
    u32 type = 0;
    for (std::string word; names >> word; ++type)
    {
        const std::string name = "model::" + word;
        EXPECT_EQ(getNodeTypeName(type), name);
        const auto node = create<INode>(name.c_str());
        ASSERT_EQ(node.get() != nullptr, type != kTreeShellNode) << name;
        if (!node) continue;
        EXPECT_EQ(node->getType(), type >= kArgRotationNode && type <= kArgPositionNode ? kArgAnimationNode : type);
        const auto copy = node->clone();
        EXPECT_TRUE(copy && copy != node && copy->getType() == node->getType() && copy->registry == node->registry);
    }
    EXPECT_EQ(type, 27u);
    EXPECT_STREQ(getNodeTypeName(type), "UNKNOWN_NODE_ID");
}

TEST(Registry, MakesEveryPropertyByItsName)
{
    std::istringstream rows("Property<float>=FLT1;Property<unsigned int>=INT1;Property<osg::Vec2f>=FLT2;"
                            "Property<osg::Vec3f>=FLT3;Property<osg::Vec4f>=FLT4;Property<const char*>=STRG;"
                            "ArgumentProperty=AARG;AnimatedProperty<float>=AFL1;AnimatedProperty<osg::Vec2f>=AFL2;"
                            "AnimatedProperty<osg::Vec3f>=AFL3;AnimatedProperty<osg::Vec4f>=AFL4;");
    for (std::string word, tag; std::getline(rows, word, '=') && std::getline(rows, tag, ';');)
    {
        const std::string name = "model::" + word;
        const auto property = create<IProperty>(name.c_str());
        ASSERT_TRUE(property) << name;
        EXPECT_EQ(property->getClassName(), name);
        EXPECT_EQ(property->tag, tag);
        EXPECT_EQ(property->isAnimated(), tag[0] == 'A') << name;
        EXPECT_EQ(property->getName(), "UnNamed");
    }
    for (const char* name : {"", "model::node", "Node", "model::Node ", static_cast<const char*>(nullptr)})
        EXPECT_FALSE(getObjectRegistry().create(name));
    EXPECT_FALSE(create<Node>("model::ArgumentProperty")) << "an object of another class";
    EXPECT_FALSE(getObjectRegistry().clone("model::LodNode", *create<Node>())) << "a source of another class";
}

TEST(Registry, CountsLivingObjectsOnEveryThreadAndInEveryOrder)
{
    const u64 before = count();
    zr::vector<ObjectPtr<Node>> nodes[4];
    std::vector<std::thread> threads;
    for (auto& list : nodes)
        threads.emplace_back(
            [&list]
            {
                while (list.size() < 1000)
                {
                    list.push_back(create<Node>());
                    list[list.size() * 2 / 3].release();
                }
            });
    for (std::thread& thread : threads)
        thread.join();
    u64 living = 0;
    for (const auto& list : nodes)
        living += 1000 - static_cast<u64>(std::count(list.begin(), list.end(), nullptr));
    EXPECT_EQ(count(), before + living);
    for (std::size_t i = 0; i < 4000; ++i)
        nodes[i % 4][i / 4 * 617 % 1000].release();
    EXPECT_EQ(count(), before);

    // A constructor creates further objects; an object without a registry is none of its.
    const auto billboard = create<BillboardNode>();
    const auto light = create<LightNode>();
    const ObjectPtr<Node> own(new Node());
    EXPECT_EQ(count(), before + 2 + 11);
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
            if (create<Node>() || count() != 0) std::abort();
        }
    };
    const auto exitEarly = []
    {
        static Holder holder;
        holder.object = create<LightNode>();
        getObjectRegistry().shutDown();
        std::exit(0);
    };
    EXPECT_EXIT(exitEarly(), testing::ExitedWithCode(0), "");
}
