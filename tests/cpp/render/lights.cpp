#include <cmath>
#include <limits>

#include "Builders.h"
#include "nodes/Connector.h"
#include "nodes/FakeSpotLights.h"
#include "nodes/FakeSpotLights3Node.h"
#include "nodes/LightNode.h"
#include "nodes/SegmentsNode.h"
#include "nodes/ShellSkinNode.h"

namespace model
{
namespace
{
ObjectPtr<FloatProperty> floatProperty(f32 value)
{
    const auto property = create<FloatProperty>("model::Property<float>");
    property->setValue(value);
    return property;
}

PropertyPtr animated(u32 argument)
{
    const auto property = create<AnimatedFloatProperty>("model::AnimatedProperty<float>");
    property->setArgument(argument);
    return property;
}

template <class Light>
Light lightAt(f64 x, u32 controlIndex, f32 size = 2.0f)
{
    Light light;
    light.position = {x, 0, 0};
    light.controlIndex = controlIndex;
    light.size = size;
    return light;
}

/// Doubles, moves by 1 along x and halves through w.
matrixd projective()
{
    matrixd m;
    m.m[0] = m.m[5] = m.m[10] = 4;
    m.m[12] = 2;
    m.m[15] = 2;
    return m;
}

TEST(LightNode, NewLight)
{
    const u64 before = getObjectRegistry().getCount();
    const auto light = create<LightNode>("model::LightNode");
    EXPECT_EQ(getObjectRegistry().getCount(), before + 11);
    EXPECT_EQ(light->version, 2u);
    EXPECT_EQ(light->volumeType, 4u);
    const std::pair<const PropertyPtr*, const char*> kFloats[] = {
        {&light->radiusFactor, "radiusFactor = 0.000000;"},
        {&light->densityFactor, "densityFactor = 1.000000;"},
        {&light->nearDistance, "nearDistance = 0.000000;"},
        {&light->color, "color = vec3(0.000000,0.000000,0.000000);"},
        {&light->brightness, "brightness = 0.000000;"},
        {&light->phi, "phi = 0.000000;"},
        {&light->theta, "theta = 0.000000;"},
        {&light->distance, "distance = 0.000000;"},
        {&light->specularAmount, "specularAmount = 1.000000;"},
        {&light->softness, "softness = 0.000000;"},
    };
    for (const auto& [property, text] : kFloats)
        EXPECT_EQ((*property)->toString(), text);
}

TEST(LightNode, VolumeSettingsRaiseTheVersionUnlessDefault)
{
    struct Row
    {
        const char* what;
        void (*set)(LightNode&);
        u32 version;
    };
    const Row kRows[] = {
        {"default radius", [](LightNode& l) { l.setVolumeRadiusFactor(floatProperty(0)); }, 2},
        {"radius", [](LightNode& l) { l.setVolumeRadiusFactor(floatProperty(1)); }, 3},
        {"default density", [](LightNode& l) { l.setVolumeDensityFactor(floatProperty(1)); }, 2},
        {"density", [](LightNode& l) { l.setVolumeDensityFactor(floatProperty(0.5f)); }, 3},
        {"default distance", [](LightNode& l) { l.setVolumeNearDistance(floatProperty(0)); }, 2},
        {"distance", [](LightNode& l) { l.setVolumeNearDistance(floatProperty(1e-9f)); }, 3},
        {"NaN", [](LightNode& l) { l.setVolumeNearDistance(floatProperty(std::nanf(""))); }, 3},
        {"an animated value", [](LightNode& l) { l.setVolumeRadiusFactor(animated(1)); }, 2},
        {"null", [](LightNode& l) { l.setVolumeRadiusFactor(nullptr); }, 2},
        {"default type", [](LightNode& l) { l.setVolumeType(4); }, 2},
        {"type", [](LightNode& l) { l.setVolumeType(3); }, 3},
        {"type and back", [](LightNode& l) { l.setVolumeType(3), l.setVolumeType(4); }, 3},
    };
    for (const Row& row : kRows)
    {
        const auto light = create<LightNode>("model::LightNode");
        const PropertyPtr radius = light->radiusFactor;
        row.set(*light);
        EXPECT_EQ(light->version, row.version) << row.what;
        EXPECT_EQ(light->radiusFactor == radius, std::string(row.what) != "radius") << row.what;
    }
}

TEST(LightNode, ArgumentsWithoutVolume)
{
    const auto light = create<LightNode>("model::LightNode");
    light->setSoftness(animated(3));
    light->setBrightness(animated(5));
    light->setPhi(animated(kNoArgument));
    light->radiusFactor = animated(6);
    light->setTheta(nullptr);
    EXPECT_NE(light->theta.get(), nullptr);
    std::vector<u32> arguments;
    light->forEachArgument([&](u32 argument) { arguments.push_back(argument); });
    EXPECT_EQ(arguments, (std::vector<u32>{5, 3}));
}

TEST(FakeLights, MatrixMovesTheLightsOfOneEntry)
{
    const auto omni = create<FakeOmniLightsNode>("model::FakeOmniLightsNode");
    EXPECT_EQ(omni->getNumControlNodes(), 1u);
    omni->setLights({lightAt<FakeOmniLight>(1, 0), lightAt<FakeOmniLight>(1, 1)});
    EXPECT_TRUE(omni->applyMatrix(0, projective().m));
    EXPECT_EQ(omni->lights[0].position.x, 3.0);
    EXPECT_EQ(omni->lights[1].position.x, 1.0);
    EXPECT_EQ(omni->getPrimitiveCount(), 4u);

    const auto spot = create<FakeSpotLightsNode>("model::FakeSpotLightsNode");
    spot->setLights({lightAt<FakeSpotLight>(1, 0), lightAt<FakeSpotLight>(1, 1)});
    EXPECT_EQ(spot->version, 1u);
    EXPECT_TRUE(spot->applyMatrix(0, projective().m)); // without directions
    EXPECT_FALSE(spot->setDirections({}));
    EXPECT_EQ(spot->version, 1u);
    EXPECT_TRUE(spot->setDirections({{0, 0.5f, 0}, {0, 0.5f, 0}}));
    EXPECT_EQ(spot->version, 2u);
    spot->applyMatrix(1, projective().m);
    EXPECT_EQ(spot->directions[0], vec3f(0, 0.5f, 0));
    EXPECT_EQ(spot->directions[1], vec3f(0, 1, 0));
    EXPECT_EQ(spot->lights[1].position.x, 3.0);

    spot->setDirections({{0, 1, 0}});
    EXPECT_THROW(spot->applyMatrix(1, projective().m), std::out_of_range);
    EXPECT_EQ(spot->lights[1].position.x, 3.0);
}

TEST(FakeLights, Boxes)
{
    const auto omni = create<FakeOmniLightsNode>("model::FakeOmniLightsNode");
    omni->setLights({lightAt<FakeOmniLight>(0, 0), lightAt<FakeOmniLight>(5, 0), lightAt<FakeOmniLight>(9, 3)});
    EXPECT_EQ(omni->getBoundingBox(0).min, vec3f(-1, -1, -1));
    EXPECT_EQ(omni->getBoundingBox(0).max, vec3f(6, 1, 1));
    EXPECT_FALSE(omni->getBoundingBox(1).isSet());
    omni->controls.resize(4);
    const zr::vector<Box> boxes = omni->getBoundingBoxes();
    ASSERT_EQ(boxes.size(), 4u);
    for (u32 i = 0; i < 4; ++i)
        EXPECT_EQ(boxes[i].max, omni->getBoundingBox(i).max);
    omni->setLights({lightAt<FakeOmniLight>(0, 0, -2.0f)}); // a negative size is no smaller
    EXPECT_EQ(omni->getNumControlNodes(), 1u);
    EXPECT_EQ(omni->getBoundingBox(0).max, vec3f(1, 1, 1));
}

TEST(FakeLights, Spot3)
{
    const auto node = create<FakeSpotLights3Node>("model::FakeSpotLights3Node");
    node->vertices = points({{1, 0, 0}, {2, 0, 0}});
    EXPECT_EQ(node->getPrimitiveCount(), 4u);
    matrixd m;
    m.m[12] = 1;
    EXPECT_TRUE(node->applyMatrix(0, m.m));
    EXPECT_EQ(node->getBoundingBox(0).max, vec3f(3, 0, 0));
    EXPECT_THROW(node->getControlNode(0), std::out_of_range);
}

TEST(Segments, DegeneratesAndBox)
{
    constexpr f32 kInfinity = std::numeric_limits<f32>::infinity();
    const auto node = create<SegmentsNode>("model::SegmentsNode");
    EXPECT_FALSE(node->getBoundingBox().isSet());
    const Segment kept[] = {{{0, 0, 0}, {0, 0, 0.00002f}}, {{std::nanf(""), 0, 0}, {std::nanf(""), 0, 0}}};
    node->segments = {{{0, 0, 0}, {0, 0, 0.00001f}},
                      kept[0],
                      {{1, 1, 1}, {1, 1, 1}},
                      kept[1],
                      {{kInfinity, 0, 0}, {kInfinity, 0, 0}}};
    EXPECT_EQ(node->removeDegenerates(), 3u);
    ASSERT_EQ(node->segments.size(), 2u);
    EXPECT_EQ(node->segments[0], kept[0]);

    node->segments = {{{0, 0, 0}, {1, 2, 3}}};
    EXPECT_TRUE(node->applyMatrix(9, projective().m)); // no division by w here
    EXPECT_EQ(node->segments[0].second, vec3f(6, 8, 12));
    EXPECT_EQ(node->getBoundingBox().min, vec3f(2, 0, 0));
    node->segments = {{{1, 1, 1}, {1, 1, 1}}};
    EXPECT_EQ(node->removeDegenerates(), 1u);
    EXPECT_TRUE(node->isEmpty());
}

TEST(Shells, GeometryMustFitItsFormat)
{
    const auto shell = create<ShellNode>("model::ShellNode");
    const Vertices vertices = points({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}});
    VertexFormat format;
    shell->setGeometry(format, vertices, triangles({0, 1, 2}));
    EXPECT_TRUE(shell->isEmpty());
    format[kPosition0] = 4;
    shell->setGeometry(format, vertices, triangles({0, 1, 2, 0, 0, 1}));
    EXPECT_EQ(shell->vertexFormat, format);
    EXPECT_EQ(shell->removeDegenerates(), 1u);
    matrixd m;
    m.m[12] = 1;
    EXPECT_TRUE(shell->applyMatrix(5, m.m)); // the index plays no part
    EXPECT_EQ(shell->getBoundingBox().max, vec3f(2, 1, 0));
}

TEST(Shells, ControlNodes)
{
    const auto control = transformNode();
    const auto connector = create<Connector>("model::Connector");
    connector->setControlNode(7, control);
    EXPECT_EQ(connector->getControlNode(9).get(), control.get());
    EXPECT_FALSE(connector->applyMatrix(0, control->matrix.m));

    const auto skin = create<ShellSkinNode>("model::ShellSkinNode");
    skin->setControlNode(0, control);
    EXPECT_EQ(skin->control.get(), control.get());
    EXPECT_EQ(skin->getNumControlNodes(), 0u);
    EXPECT_FALSE(skin->applyMatrix(0, control->matrix.m));
}
} // namespace
} // namespace model
