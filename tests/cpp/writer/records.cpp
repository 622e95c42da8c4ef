#include <gtest/gtest.h>

#include "Expected.h"
#include "base/ObjectRegistry.h"
#include "nodes/ArgVisibilityNode.h"
#include "nodes/BillboardNode.h"
#include "nodes/Bone.h"
#include "nodes/LodNode.h"
#include "nodes/TmpNumberRoot.h"
#include <zr/exceptions.h>

using namespace model;

namespace
{
void expectRecord(const INode& node, const Expected& expected)
{
    const Expected record = Records().write(node);
    EXPECT_EQ(record.strings, expected.strings);
    EXPECT_EQ(record.bytes, expected.bytes);
}

template <class T>
ObjectPtr<T> named(const char* name)
{
    ObjectPtr<T> node(new T());
    node->setName(name);
    return node;
}

template <class P>
ObjectPtr<P> property(const char* className, const char* name)
{
    const auto created = create<P>(className);
    created->setName(name);
    return created;
}

template <class P, class V>
void addAnimated(PropertyList& list, const char* className, Keys<V> keys)
{
    const auto created = property<P>(className, "p");
    created->setArgument(9);
    created->setKeys(std::move(keys));
    list.push_back(created);
}
} // namespace

TEST(TreeRecord, PlainNodes)
{
    expectRecord(*named<Node>("root"), Expected().head("model::Node", "root").noProperties());
    expectRecord(*named<TmpNumberRoot>("n"), Expected().head("model::TmpNumberRoot", "n").noProperties());
    expectRecord(*named<TransformNode>(""), Expected().head("model::TransformNode", "").noProperties().identityd());

    const auto node = named<Node>("");
    node->name = zr::string("a\0b", 3);
    expectRecord(*node, Expected().head("model::Node", std::string("a\0b", 3)).noProperties());
}

TEST(TreeRecord, EveryClassOfProperty)
{
    const auto node = named<Node>("n");
    PropertyList& list = node->properties;
    const auto number = property<FloatProperty>("model::Property<float>", "f");
    number->setValue(0.5f);
    const auto integer = property<UIntProperty>("model::Property<unsigned int>", "u");
    integer->setValue(7);
    const auto two = property<Vec2fProperty>("model::Property<osg::Vec2f>", "v");
    two->setValue({1, 2});
    const auto three = property<Vec3fProperty>("model::Property<osg::Vec3f>", "v");
    three->setValue({1, 2, 3});
    const auto four = property<Vec4fProperty>("model::Property<osg::Vec4f>", "v");
    four->setValue({1, 2, 3, 4});
    const auto text = property<StringProperty>("model::Property<const char*>", "s");
    text->setValue("f");
    const auto argument = property<ArgumentProperty>("model::ArgumentProperty", "a");
    argument->setArgument(41);
    for (const PropertyPtr& each : {PropertyPtr(number), PropertyPtr(integer), PropertyPtr(two), PropertyPtr(three),
                                    PropertyPtr(four), PropertyPtr(text), PropertyPtr(argument)})
        list.push_back(each);
    addAnimated<AnimatedFloatProperty, f32>(list, "model::AnimatedProperty<float>", {{0.25, 1}, {2, 3}});
    addAnimated<AnimatedVec2fProperty, vec2f>(list, "model::AnimatedProperty<osg::Vec2f>", {{0, {1, 2}}});
    addAnimated<AnimatedVec3fProperty, vec3f>(list, "model::AnimatedProperty<osg::Vec3f>", {{0, {1, 2, 3}}});
    addAnimated<AnimatedVec4fProperty, vec4f>(list, "model::AnimatedProperty<osg::Vec4f>", {});

    Expected expected;
    expected.head("model::Node", "n").u32(11);
    expected.str("model::Property<float>").str("f").f32(0.5f);
    expected.str("model::Property<unsigned int>").str("u").u32(7);
    expected.str("model::Property<osg::Vec2f>").str("v").f32s({1, 2});
    expected.str("model::Property<osg::Vec3f>").str("v").f32s({1, 2, 3});
    expected.str("model::Property<osg::Vec4f>").str("v").f32s({1, 2, 3, 4});
    expected.str("model::Property<const char*>").str("s").str("f");
    expected.str("model::ArgumentProperty").str("a").u32(41);
    expected.str("model::AnimatedProperty<float>").str("p").u32s({9, 2}).f64(0.25).f32(1).f64(2).f32(3);
    expected.str("model::AnimatedProperty<osg::Vec2f>").str("p").u32s({9, 1}).f64(0).f32s({1, 2});
    expected.str("model::AnimatedProperty<osg::Vec3f>").str("p").u32s({9, 1}).f64(0).f32s({1, 2, 3});
    expected.str("model::AnimatedProperty<osg::Vec4f>").str("p").u32s({9, 0});
    expectRecord(*node, expected);
}

TEST(TreeRecord, Animation)
{
    const auto node = named<ArgAnimationNode>("a");
    expectRecord(*node, Expected()
                            .head("model::ArgScaleNode", "a")
                            .noProperties()
                            .identityd()
                            .f64s({0, 0, 0, 0, 0, 0, 1, 0, 0, 0, 1, 1, 1, 1})
                            .u32s({0, 0, 0}));

    node->setPositionChannels({{3, {{0.5, {1, 2, 3}}}}, {4, {}}});
    node->setRotationChannels({{5, {{0.5, {1, 2, 3, 4}}}}});
    node->setScaleChannels({{6, {{0.25, {5, 6, 7, 8}}}, {{0.75, {9, 10, 11}}}}});
    expectRecord(*node, Expected()
                            .head("model::ArgAnimationNode", "a")
                            .noProperties()
                            .identityd()
                            .f64s({0, 0, 0, 0, 0, 0, 1, 0, 0, 0, 1, 1, 1, 1})
                            .u32s({2, 3, 1})
                            .f64s({0.5, 1, 2, 3})
                            .u32s({4, 0})
                            .u32s({1, 5, 1})
                            .f64s({0.5, 1, 2, 3, 4})
                            .u32s({1, 6, 1})
                            .f64s({0.25, 5, 6, 7, 8})
                            .u32(1)
                            .f64s({0.75, 9, 10, 11}));
}

TEST(TreeRecord, ChannelsNeedAnArgument)
{
    const auto failureOf = [](const Node& node) -> zr::string
    {
        try
        {
            Records().write(node);
        }
        catch (const zr::ExtException& exception)
        {
            EXPECT_STREQ(exception.getFile(), "Utils/ZRMTools/UniModelDesc/sources/io/10/NodeWriter10.cpp");
            return exception.what();
        }
        return "";
    };
    const auto node = named<ArgAnimationNode>("n'1");
    node->scaleChannels.resize(1);
    EXPECT_EQ(failureOf(*node), "Node 'n'1' has invalid scale handle.");
    node->rotationChannels.resize(1);
    EXPECT_EQ(failureOf(*node), "Node 'n'1' has invalid rotation handle.");
    node->positionChannels.resize(1);
    EXPECT_EQ(failureOf(*node), "Node 'n'1' has invalid position handle.");
}

TEST(TreeRecord, Bones)
{
    const auto bone = named<Bone>("b");
    bone->invertedBaseBoneMatrix.m[12] = 4;
    expectRecord(*bone, Expected()
                            .head("model::Bone", "b")
                            .noProperties()
                            .identityd()
                            .f64s({1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 4, 0, 0, 1}));
    expectRecord(*named<ArgAnimatedBone>("b"), Expected()
                                                   .head("model::ArgAnimatedBone", "b")
                                                   .noProperties()
                                                   .identityd()
                                                   .f64s({0, 0, 0, 0, 0, 0, 1, 0, 0, 0, 1, 1, 1, 1})
                                                   .u32s({0, 0, 0})
                                                   .identityd());
}

TEST(TreeRecord, VisibilityAndLevels)
{
    const auto visibility = named<ArgVisibilityNode>("v");
    visibility->setArguments({{0xFFFFFFFF, {{0, 1}}}, {3, {{0.25, 0.5}, {2, 3}}}});
    expectRecord(*visibility, Expected()
                                  .head("model::ArgVisibilityNode", "v")
                                  .noProperties()
                                  .u32s({2, 3, 2})
                                  .f64s({0.25, 0.5, 2, 3})
                                  .u32s({0xFFFFFFFF, 1})
                                  .f64s({0, 1}));
    const auto lod = named<LodNode>("l");
    lod->setLevels({{0, 10000}, {10000, 160000}});
    expectRecord(*lod, Expected().head("model::LodNode", "l").noProperties().u32(2).f64s({0, 10000, 10000, 160000}));
}

TEST(TreeRecord, BillboardKeepsItsVersionAsAProperty)
{
    const auto billboard = named<BillboardNode>("b");
    billboard->mode = 0x102;
    billboard->axisMode = 3;
    billboard->axis = {0, 0, 1};
    expectRecord(*billboard,
                 Expected().head("model::BillboardNode", "b").onlyVersion(1).u8s({2, 3}).identityd().f64s({0, 0, 1}));
}
