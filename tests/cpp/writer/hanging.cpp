#include <gtest/gtest.h>

#include "Expected.h"
#include "base/ObjectRegistry.h"
#include "nodes/Bone.h"
#include "nodes/Connector.h"
#include "nodes/FakeSpotLights.h"
#include "nodes/FakeSpotLights3Node.h"
#include "nodes/LightNode.h"
#include "nodes/NumberNode.h"
#include "nodes/SegmentsNode.h"
#include "nodes/ShellSkinNode.h"
#include "nodes/SkinNode.h"
#include <zr/exceptions.h>

using namespace model;

namespace
{
/// A tree of two bones with the numbers 0 and 1, and what hangs on it.
class HangingRecord : public testing::Test
{
protected:
    HangingRecord()
    {
        records.addTreeNode(bones[0]);
        records.addTreeNode(bones[1]);
    }

    /// A node with a material; that of the first one has the number 0.
    template <class T>
    ObjectPtr<T> render()
    {
        const ObjectPtr<T> node(new T());
        node->setName("n");
        node->setMaterial(MaterialPtr(new PropertiesSet()));
        records.addRenderNode(node);
        return node;
    }
    template <class T>
    ObjectPtr<T> other()
    {
        const ObjectPtr<T> node(new T());
        node->setName("n");
        return node;
    }

    void expectRecord(const BaseNode& node, const Expected& expected)
    {
        const Expected record = records.write(node);
        EXPECT_EQ(record.strings, expected.strings);
        EXPECT_EQ(record.bytes, expected.bytes);
    }
    zr::string failureOf(const BaseNode& node)
    {
        try
        {
            records.write(node);
        }
        catch (const zr::ExtException& exception)
        {
            return exception.what();
        }
        catch (const std::out_of_range& exception)
        {
            return zr::string("out of range: ") + exception.what();
        }
        return "";
    }

    const ObjectPtr<Node> bones[2] = {ObjectPtr<Node>(new Bone()), ObjectPtr<Node>(new Bone())};
    Records records;
};

constexpr const char* kUnknownNode = "out of range: invalid unordered_map<K, T> key";

/// Two vertices of position and texture coordinates.
void fill(Vertices& vertices)
{
    vertices[kPosition0] = {{1, 2, 3, 4, 5, 6}, 3};
    vertices[kTexCoord0] = {{0.5f, 0.25f, 0, 1}, 2};
}
Expected& vertexBlock(Expected& expected)
{
    return expected.u32s({2, 5}).f32s({1, 2, 3, 0.5f, 0.25f, 4, 5, 6, 0, 1});
}
Expected& emptyGeometry(Expected& expected)
{
    return expected.u32s({0, 0}).u8(0).u32s({0, 5});
}
Expected& vertexFormat(Expected& expected, unsigned position)
{
    expected.u32(27).u8(position);
    for (int i = 1; i < 27; ++i)
        expected.u8(0);
    return expected;
}
Expected& omniLight(Expected& expected, unsigned control)
{
    return expected.f64s({1, 2, 3}).f32s({4, 5, 6, 7, 8}).u32(control);
}
void setOmniLight(FakeOmniLight& light, u32 control)
{
    light.position = {1, 2, 3};
    light.uvMin = {4, 5};
    light.uvMax = {6, 7};
    light.size = 8;
    light.controlIndex = control;
}
} // namespace

TEST_F(HangingRecord, ConnectorAndSegments)
{
    const auto connector = other<Connector>();
    connector->setControlNode(0, bones[1]);
    expectRecord(*connector, Expected().head("model::Connector", "n").noProperties().u32s({1, 0}));

    const auto segments = other<SegmentsNode>();
    segments->setControlNode(0, bones[1]);
    segments->segments.push_back({{1, 2, 3}, {4, 5, 6}});
    expectRecord(*segments,
                 Expected().head("model::SegmentsNode", "n").noProperties().u32s({1, 1}).f32s({1, 2, 3, 4, 5, 6}));
}

TEST_F(HangingRecord, Shells)
{
    const auto shell = other<ShellNode>();
    shell->setControlNode(0, bones[0]);
    fill(shell->vertices);
    shell->vertexFormat[0] = 3;
    shell->indices.indices = {0, 1, 0};
    Expected expected;
    expected.head("model::ShellNode", "n").noProperties().u32(0);
    vertexBlock(vertexFormat(expected, 3)).u8(0).u32s({3, 5}).u8s({0, 1, 0});
    expectRecord(*shell, expected);

    const auto skin = other<ShellSkinNode>();
    skin->bones = {bones[1], bones[0]};
    for (const bool hasBox : {false, true})
    {
        if (hasBox) skin->skinBox.extend(1, 2, 3);
        Expected record;
        record.head("model::ShellSkinNode", "n").noProperties().u32s({2, 1, 0, 0xFFFFFFFF});
        if (hasBox) record.f32s({1, 2, 3, 1, 2, 3});
        expectRecord(*skin, emptyGeometry(vertexFormat(record, 0)));
    }
}

TEST_F(HangingRecord, Light)
{
    const auto light = other<LightNode>();
    light->setControlNode(0, bones[0]);
    light->lightType = 1;
    const auto start = [](unsigned version, unsigned numProperties)
    {
        Expected expected;
        expected.head("model::LightNode", "n").onlyVersion(version).u32(0).u8(1).u32(numProperties);
        expected.str("model::Property<osg::Vec3f>").str("color").f32s({0, 0, 0});
        for (const char* name : {"brightness", "phi", "theta", "distance", "specularAmount", "softness"})
            expected.str("model::Property<float>").str(name).f32(std::string(name) == "specularAmount" ? 1 : 0);
        return expected;
    };
    expectRecord(*light, start(2, 7).u8(0));

    light->setVolumeType(3);
    light->texture.name = "Glow.DDS";
    Expected expected = start(3, 10);
    expected.str("model::Property<float>").str("radiusFactor").f32(0);
    expected.str("model::Property<float>").str("densityFactor").f32(1);
    expected.str("model::Property<float>").str("nearDistance").f32(0);
    expected.u8s({3, 1}).u32(0xFFFFFFFF).str("glow.dds").u32s({2, 2, 10, 6}).identityf();
    expectRecord(*light, expected);
}

TEST_F(HangingRecord, RenderNodeGrowsWithItsVersion)
{
    const auto node = render<RenderNode>();
    node->parents = {{bones[1], 7, {}}};
    const auto start = [] { return Expected().head("model::RenderNode", "n"); };
    Expected plain = start().noProperties().u32s({0, 0, 1, 1, 7});
    expectRecord(*node, emptyGeometry(plain));

    node->setPurpose(1);
    Expected mask = start().onlyVersion(1).u32s({0, 0, 1, 1, 7});
    expectRecord(*node, emptyGeometry(mask).u32(1));

    node->addPivot({1, 2, 3});
    Expected pivot = start().onlyVersion(2).u32s({0, 0, 1, 1, 7});
    expectRecord(*node, emptyGeometry(pivot).u32s({1, 1}).f32s({1, 2, 3}));

    for (int i = 0; i < 5; ++i)
        node->addPivot({});
    EXPECT_EQ(failureOf(*node), "");
    node->addPivot({});
    EXPECT_EQ(failureOf(*node), "Too much transparent pivots.");
}

TEST_F(HangingRecord, ParentEntriesHaveAReservedWordUnlessThereIsOne)
{
    const auto node = render<RenderNode>();
    node->parents = {{bones[1], 7, {}}, {bones[0], kNoArgument, {}}};
    Expected two;
    two.head("model::RenderNode", "n").noProperties().u32s({0, 0, 2, 1, 0, 7, 0, 0, 0xFFFFFFFF});
    expectRecord(*node, emptyGeometry(two));
    node->parents.clear();
    Expected none;
    none.head("model::RenderNode", "n").noProperties().u32s({0, 0, 0});
    expectRecord(*node, emptyGeometry(none));
}

TEST_F(HangingRecord, GeometryAndMaterialNumber)
{
    render<RenderNode>();
    const auto node = render<RenderNode>();
    node->setControlNode(0, bones[0]);
    fill(node->vertices);
    struct Case
    {
        u32 largest;
        unsigned format;
    };
    for (const Case& entry : {Case{255, 0}, {256, 1}, {65535, 1}, {65536, 2}})
    {
        node->indices.indices = {entry.largest};
        Expected expected;
        expected.head("model::RenderNode", "n").noProperties().u32s({0, 1, 1, 0, 0xFFFFFFFF});
        vertexBlock(expected).u8(entry.format).u32s({1, 5});
        for (int i = 0; i < (1 << entry.format); ++i)
            expected.u8(entry.largest >> (8 * i) & 0xFF);
        expectRecord(*node, expected);
    }
    node->vertices[kTexCoord0].data.pop_back();
    EXPECT_EQ(failureOf(*node), "Vertex data is invalid.");
}

TEST_F(HangingRecord, NumberNode)
{
    const auto node = render<NumberNode>();
    node->setControlNode(0, bones[0]);
    node->setControls({{{1, 0.5f, kNoArgument, 2}}, {}});
    Expected expected;
    expected.head("model::NumberNode", "n").noProperties().u32s({0, 0, 1, 0, 0xFFFFFFFF});
    emptyGeometry(expected).u32s({1, 1}).f32(0.5f).u32(0xFFFFFFFF).f32(2).u32(0);
    expectRecord(*node, expected);
}

TEST_F(HangingRecord, SkinHasItsPivotsBeforeTheGeometry)
{
    const auto skin = render<SkinNode>();
    skin->bones = {bones[1], bones[0]};
    skin->setArgument(0, 4);
    Expected plain;
    plain.head("model::SkinNode", "n").noProperties().u32s({0, 0, 2, 1, 0, 4});
    expectRecord(*skin, emptyGeometry(plain));

    skin->skinBox.extend(1, 2, 3);
    skin->addPivot({7, 8, 9});
    Expected expected;
    expected.head("model::SkinNode", "n").onlyVersion(2).u32s({0, 0, 2, 1, 0, 4}).f32s({1, 2, 3, 1, 2, 3});
    emptyGeometry(expected.u32(1).f32s({7, 8, 9}));
    expectRecord(*skin, expected);

    for (int i = 0; i < 6; ++i)
        skin->addPivot({});
    EXPECT_EQ(failureOf(*skin), "Too much transparent pivots.");
}

TEST_F(HangingRecord, FakeOmniLights)
{
    const auto node = render<AnimatedFakeOmniLightsNode>();
    node->lights.resize(1);
    setOmniLight(node->lights[0], 1);
    node->controls = {bones[0], bones[1]};
    EXPECT_EQ(failureOf(*node), "Argument of animated fake omni lights must be valid. Node id: "
                                "model::AnimatedFakeOmniLightsNode.");
    node->setAnimationArgument(6);
    node->setSamples(zr::vector<f32>(127, 0.5f));
    EXPECT_EQ(failureOf(*node), "Invalid data size. Node id: model::AnimatedFakeOmniLightsNode.");
    node->setSamples(zr::vector<f32>(128, 0.5f));

    Expected expected;
    expected.head("model::AnimatedFakeOmniLightsNode", "n").noProperties().u32s({0, 0, 2, 0, 0, 1, 0, 1});
    omniLight(expected, 1).u32s({6, 128, 128});
    for (int i = 0; i < 128; ++i)
        expected.f32(0.5f);
    expectRecord(*node, expected);

    node->setLights({});
    node->setControlNode(0, bones[0]);
    EXPECT_EQ(failureOf(*node), "Invalid data size. Node id: model::AnimatedFakeOmniLightsNode.");
    node->setSamples({});
    Expected empty;
    empty.head("model::AnimatedFakeOmniLightsNode", "n").noProperties().u32s({0, 0, 1, 0, 0, 0, 6, 128, 0});
    expectRecord(*node, empty);
}

TEST_F(HangingRecord, FakeSpotLights)
{
    const auto node = render<AnimatedFakeSpotLightsNode>();
    node->lights.resize(1);
    setOmniLight(node->lights[0], 0);
    node->lights[0].backUvMin = {1, 2};
    node->lights[0].backUvMax = {3, 4};
    node->lights[0].backSide = true;
    node->controls[0] = {bones[1], {0, 0, 1}};
    EXPECT_EQ(failureOf(*node), "Argument of animated fake omni lights must be valid. Node id: "
                                "model::AnimatedFakeSpotLightsNode.");
    node->setAnimationArgument(6);
    EXPECT_EQ(failureOf(*node), "Invalid data size. Node id: model::AnimatedFakeSpotLightsNode.");
    node->setSamples(zr::vector<f32>(128, 0.0f));
    for (const bool hasDirections : {false, true})
    {
        if (hasDirections)
        {
            node->setDirections({{0, 1, 0}, {0, 1, 0}});
            EXPECT_EQ(failureOf(*node), "FakeSpotLightsNode's directions array != the number of lights. Node id: "
                                        "model::AnimatedFakeSpotLightsNode.");
            node->setDirections({{0, 1, 0}});
        }
        Expected expected;
        expected.head("model::AnimatedFakeSpotLightsNode", "n").onlyVersion(hasDirections ? 2 : 1);
        expected.u32s({0, 0, 1, 1, 0}).f32s({0, 0, 1}).u32(1);
        omniLight(expected, 0).f32s({1, 2, 3, 4}).u8(1);
        if (hasDirections) expected.f32s({0, 1, 0});
        expected.u32s({6, 128, 128});
        for (int i = 0; i < 128; ++i)
            expected.f32(0);
        expectRecord(*node, expected);
    }
}

TEST_F(HangingRecord, FakeSpotLights3)
{
    const auto node = render<FakeSpotLights3Node>();
    node->controls = {bones[1], bones[0]};
    fill(node->vertices);
    Expected expected;
    expected.head("model::FakeSpotLights3Node", "n").noProperties().u32s({0, 0, 2, 1, 0});
    expectRecord(*node, vertexBlock(expected));
}

TEST_F(HangingRecord, NodesOutsideTheTreeAreRefused)
{
    const ObjectPtr<Node> stranger(new Bone());
    for (const ObjectPtr<Node>& control : {stranger, ObjectPtr<Node>()})
    {
        const auto connector = other<Connector>();
        connector->setControlNode(0, control);
        EXPECT_EQ(failureOf(*connector), kUnknownNode);
        const auto light = other<LightNode>();
        light->setControlNode(0, control);
        EXPECT_EQ(failureOf(*light), kUnknownNode);
        const auto mesh = render<RenderNode>();
        mesh->setControlNode(0, control);
        EXPECT_EQ(failureOf(*mesh), kUnknownNode);
        const auto skin = render<SkinNode>();
        skin->bones = {bones[0], control};
        EXPECT_EQ(failureOf(*skin), kUnknownNode);
        const auto shell = other<ShellNode>();
        shell->setControlNode(0, control);
        EXPECT_EQ(failureOf(*shell), control ? kUnknownNode : "Control node isn't set. BaseShellNode: n.");
        const auto segments = other<SegmentsNode>();
        segments->setControlNode(0, control);
        EXPECT_EQ(failureOf(*segments), control ? kUnknownNode : "Control node isn't set. BaseShellNode: n.");
    }
}

TEST_F(HangingRecord, MaterialsMustBeTheRootsOwn)
{
    const auto node = other<RenderNode>();
    node->setControlNode(0, bones[0]);
    EXPECT_EQ(failureOf(*node), "Unknown properties set. Node: n.");
    node->setMaterial(MaterialPtr(new PropertiesSet()));
    EXPECT_EQ(failureOf(*node), "Unknown properties set. Node: n.");
}
