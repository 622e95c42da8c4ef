#include <bit>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "Parts.h"
#include "RootNode.h"
#include "nodes/ArgVisibilityNode.h"
#include "nodes/BillboardNode.h"
#include "nodes/Bone.h"
#include "nodes/Connector.h"
#include "nodes/FakeSpotLights.h"
#include "nodes/FakeSpotLights3Node.h"
#include "nodes/LightNode.h"
#include "nodes/LodNode.h"
#include "nodes/NumberNode.h"
#include "nodes/SegmentsNode.h"
#include "nodes/ShellSkinNode.h"
#include "nodes/SkinNode.h"
#include "nodes/TmpNumberRoot.h"

using namespace model;

namespace
{
/// One model with at least one of every class, every optional field and every version, also of those that no script
/// makes. tests/python/test_all_classes.py names the file in ZRM_ALL_CLASSES_FILE and reads it back field by field. The
/// numbers within a record differ, so that two fields in each other's place show.
class AllClasses
{
public:
    AllClasses() : root(create<RootNode>("model::RootNode"))
    {
        root->setName("model");
        root->getProperties().push_back(number("weight", 12.5f));
        root->boundingBox = boxOf({1, 2, 3}, {4, 5, 6});
        root->userBox = boxOf({7, 8, 9}, {10, 11, 12});
        addTree();
        addRenderNodes();
        addNumbers();
        addSkins();
        addFakeLights();
        addShells();
        addLights();
        addConnectors();
    }

    ObjectPtr<RootNode> root;

private:
    template <class T>
    ObjectPtr<T> hang(const ObjectPtr<Node>& parent, const char* name)
    {
        auto node = named<T>(name);
        parent->insert(ObjectPtr<Node>(node), nullptr);
        return node;
    }
    template <class T>
    ObjectPtr<T> render(const char* name, const MaterialPtr& material)
    {
        auto node = named<T>(name);
        node->setMaterial(material);
        root->addRenderNode(ObjectPtr<BaseNode>(node));
        return node;
    }
    ObjectPtr<RenderNode> mesh(const char* name, const MaterialPtr& material)
    {
        auto node = render<RenderNode>(name, material);
        node->setGeometry(shape.vertices, shape.indices);
        node->setControlNode(0, top);
        return node;
    }

    void addTree()
    {
        top = named<Node>("root");
        root->setRootTransform(top);
        addEveryProperty(top->getProperties());
        const auto moved = hang<TransformNode>(top, "transform");
        moved->matrix = counting<matrixd>(100);
        transform = moved;
        const auto first = hang<Bone>(transform, "bone");
        first->matrix = counting<matrixd>(200);
        first->invertedBaseBoneMatrix = counting<matrixd>(300);
        bone = first;
        const auto second = hang<ArgAnimatedBone>(bone, "animated bone");
        animate(*second);
        second->invertedBaseBoneMatrix = counting<matrixd>(400);
        animatedBone = second;

        animate(*hang<ArgAnimationNode>(top, "animation"));
        hang<ArgAnimationNode>(top, "positions")->setPositionChannels({{1, {}}, {2, {{0.5, {1, 2, 3}}}}});
        hang<ArgAnimationNode>(top, "rotations")->setRotationChannels({{3, {{0.5, {1, 2, 3, 4}}}}});
        hang<ArgAnimationNode>(top, "nothing");
        const auto billboard = hang<BillboardNode>(top, "billboard");
        billboard->mode = 0x102;
        billboard->axisMode = 0x203;
        billboard->matrix = counting<matrixd>(500);
        billboard->axis = {1, 2, 3};
        hang<ArgVisibilityNode>(top, "visibility")->setArguments({{8, {{0.25, 0.5}, {2, 3}}}, {kNoArgument, {{0, 1}}}});
        hang<LodNode>(top, "lod")->setLevels({{0, 100}, {100, 400}});
        hang<TmpNumberRoot>(top, "number root");
    }
    static void animate(ArgAnimationNode& node)
    {
        node.matrix = counting<matrixd>(600);
        node.basePosition = {1, 2, 3};
        node.baseRotation = {4, 5, 6, 7};
        node.baseScaleRotation = {8, 9, 10, 11};
        node.baseScale = {12, 13, 14};
        node.setPositionChannels({{4, {{0.25, {1, 2, 3}}, {0.75, {4, 5, 6}}}}});
        node.setRotationChannels({{5, {{0.5, {1, 2, 3, 4}}}}, {6, {}}});
        node.setScaleChannels({{7, {{0.25, {5, 6, 7, 8}}}, {{0.5, {9, 10, 11}}, {1, {12, 13, 14}}}}});
    }

    MaterialPtr fullMaterial() const
    {
        const MaterialPtr material = shape.material("full");
        material->setMaterialName("Kind");
        material->setBlending(2);
        material->depthBias = 5;
        material->setCastsShadow(false);
        material->setShadowFlag2(true);
        material->setDecalId(77);
        material->billboard = 1;
        material->billboardMode1 = 0x103;
        material->billboardMode2 = 0x204;
        for (std::size_t i = 0; i < kNumChannels; i += 2)
            material->setChannel(i, static_cast<i32>(i / 2));
        TextureSlot& albedo = material->getTexture(0);
        albedo.name = "Albedo.PNG";
        albedo.matrix = counting<matrixf>(700);
        albedo.sampler = {{1, 3, 9, 7}};
        albedo.textureIndex = 12;
        for (const std::size_t slot : {2, 13, 18})
            material->setTexture(slot, slot == 2 ? "dropped" : slot == 13 ? "kept" : "last");
        addEveryProperty(material->getProperties());
        return material;
    }

    void addRenderNodes()
    {
        mesh("version 0", fullMaterial())->parents = {{transform, 9, {}}};
        mesh("version 1", plain)->setPurpose(1);
        const auto pivots = mesh("version 2", plain);
        for (int i = 0; i < 6; ++i)
            pivots->addPivot({static_cast<f32>(i), 1, 2});
        const auto both = mesh("purpose and pivot", shape.material("billboard"));
        both->getMaterial()->billboard = 1;
        both->setPurpose(1);
        both->addPivot({4, 5, 6});
        const auto parts = mesh("two parts", shape.material("decal"));
        parts->getMaterial()->setDecalId(1);
        parts->setGeometry(shape.vertices, shape.indices, {{transform, 10, {}}, {top, kNoArgument, {}}});
        const auto empty = render<RenderNode>("no parts", MaterialPtr(new PropertiesSet()));
        empty->parents.clear();
        empty->indices.primitiveType = 1;
        for (const u32 count : {257u, 65537u})
        {
            const Shape large(count);
            mesh(count == 257 ? "words" : "double words", plain)->setGeometry(large.vertices, large.indices);
        }
    }

    void addNumbers()
    {
        for (const bool hasPivot : {false, true})
        {
            const auto node = render<NumberNode>(hasPivot ? "numbers and pivot" : "numbers", plain);
            node->setGeometry(shape.vertices, shape.indices, {{top, 11, {}}, {transform, kNoArgument, {}}});
            node->setControls({{{12, 0.5f, kNoArgument, 2}, {kNoArgument, 3, 13, 0.25f}}, {}});
            if (hasPivot) node->addPivot({7, 8, 9});
        }
    }

    void addSkins()
    {
        Shape bent = shape;
        for (std::size_t i = 3; i < bent.vertices[kPosition0].data.size(); i += 4)
            bent.vertices[kPosition0].data[i] = std::bit_cast<f32>(0x01000100u);
        const Box box = boxOf({1, 2, 3}, {4, 5, 6});
        for (int version = 0; version < 4; ++version)
        {
            const char* const names[] = {"skin", "skin with box", "skin with box and pivot", "skin with pivot"};
            const auto skin = render<SkinNode>(names[version], plain);
            skin->setGeometry(bent.vertices, bent.indices);
            skin->bones = {bone, animatedBone};
            if (version == 0) skin->setArgument(0, 14);
            if (version == 1 || version == 2) skin->skinBox = box;
            if (version == 1) skin->setVersion(1);
            if (version >= 2) skin->addPivot({1, 2, 3});
        }
    }

    static FakeSpotLight sprite(u32 control)
    {
        FakeSpotLight light;
        light.position = {1, 2, 3};
        light.uvMin = {4, 5};
        light.uvMax = {6, 7};
        light.size = 8;
        light.controlIndex = control;
        light.backUvMin = {9, 10};
        light.backUvMax = {11, 12};
        light.backSide = control == 1;
        return light;
    }
    /// 128 samples for each of two lights: 0, 0.5, 1 and so on.
    static zr::vector<f32> samples()
    {
        zr::vector<f32> result;
        while (result.size() < 2 * kSamplesPerLight)
            result.push_back(static_cast<f32>(result.size()) / 2);
        return result;
    }
    template <class T>
    ObjectPtr<T> omniLights(const char* name)
    {
        const auto node = render<T>(name, plain);
        node->setLights({sprite(0), sprite(1)});
        node->controls = {top, transform};
        return node;
    }
    template <class T>
    ObjectPtr<T> spotLights(const char* name, bool hasDirections)
    {
        const auto node = render<T>(name, plain);
        node->setLights({sprite(0), sprite(1)});
        node->controls = {{top, {1, 0, 0}}, {transform, {0, 1, 0}}};
        if (hasDirections) node->setDirections({{0, 0, 1}, {0, 0, -1}});
        return node;
    }
    template <class T>
    static void animateLights(T& node)
    {
        node.setAnimationArgument(15);
        node.setSamples(samples());
    }
    void addFakeLights()
    {
        omniLights<FakeOmniLightsNode>("omni");
        animateLights(*omniLights<AnimatedFakeOmniLightsNode>("animated omni"));
        for (const bool hasDirections : {false, true})
        {
            spotLights<FakeSpotLightsNode>("spot", hasDirections);
            animateLights(*spotLights<AnimatedFakeSpotLightsNode>("animated spot", hasDirections));
        }
        const auto node = render<FakeSpotLights3Node>("spot 3", plain);
        node->controls = {transform, top};
        node->vertices = shape.vertices;
    }

    void addShells()
    {
        VertexFormat format;
        shape.vertices.getFormat(format);
        const auto shell = named<ShellNode>("shell");
        shell->setGeometry(format, shape.vertices, shape.indices);
        const auto segments = named<SegmentsNode>("segments");
        segments->segments = {{{1, 2, 3}, {4, 5, 6}}, {{7, 8, 9}, {10, 11, 12}}};
        for (const ObjectPtr<BaseShellNode>& node :
             {ObjectPtr<BaseShellNode>(shell), ObjectPtr<BaseShellNode>(segments)})
        {
            node->setControlNode(0, transform);
            root->addShellNode(node);
        }
        for (const bool hasBox : {false, true})
        {
            const auto skin = named<ShellSkinNode>(hasBox ? "shell skin with box" : "shell skin");
            skin->bones = {animatedBone, bone};
            skin->vertices = shape.vertices;
            skin->indices = shape.indices;
            skin->vertexFormat = format;
            if (hasBox) skin->skinBox = boxOf({1, 2, 3}, {4, 5, 6});
            if (hasBox) skin->argument = 16;
            root->addShellNode(ObjectPtr<BaseNode>(skin));
        }
    }

    ObjectPtr<LightNode> light(const char* name, u8 type, const char* texture)
    {
        const auto node = named<LightNode>(name);
        node->setControlNode(0, transform);
        node->lightType = type;
        node->getTexture().name = texture;
        root->lights.push_back(ObjectPtr<BaseNode>(node));
        return node;
    }
    void addLights()
    {
        light("defaults", 0, "");
        light("textured", 1, "Beam.PNG")->getTexture().sampler = {{4, 5, 6, 7}};
        const auto full = light("volume", 1, "beam.png");
        full->setColor(drivenVector("hue", 17));
        full->setBrightness(drivenNumber("power", 18));
        full->setPhi(number("outer", 1));
        full->setTheta(drivenNumber("inner", 19));
        full->setDistance(number("reach", 2));
        full->setSpecularAmount(number("shine", 3));
        full->setSoftness(number("soft", 4));
        full->setVolumeRadiusFactor(number("radius", 5));
        full->setVolumeDensityFactor(number("density", 6));
        full->setVolumeNearDistance(number("near", 7));
        full->setVolumeType(2);
        light("volume of a type", 0, "")->setVolumeType(5);
    }

    void addConnectors()
    {
        for (const u32 version : {0u, 4u})
        {
            const auto connector = named<Connector>(version ? "versioned" : "hook");
            connector->setControlNode(0, transform);
            connector->getProperties().push_back(integer("__VERSION__", 1));
            connector->getProperties().push_back(number("mass", 2));
            connector->setVersion(version);
            root->connectors.push_back(ObjectPtr<BaseNode>(connector));
        }
    }

    const Shape shape{3};
    const MaterialPtr plain = shape.material("plain");
    ObjectPtr<Node> top;
    ObjectPtr<Node> transform;
    ObjectPtr<Node> bone;
    ObjectPtr<Node> animatedBone;
};

std::string contentOf(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}
} // namespace

TEST(AllClasses, ReachTheFile)
{
    const char* const wanted = std::getenv("ZRM_ALL_CLASSES_FILE");
    const std::string path = wanted ? wanted : "all_classes.zrm";
    AllClasses().root->writeToFile(path.c_str(), 10);
    const std::string first = contentOf(path);
    for (u32 type = 0; type <= kTmpNumberRoot; ++type)
    {
        const std::string_view name(getNodeTypeName(type));
        const bool isThere = first.find(std::string(name) + '\0') != std::string::npos;
        EXPECT_EQ(isThere, type != kTreeShellNode) << name;
    }

    AllClasses().root->writeToFile(path.c_str(), 10);
    EXPECT_TRUE(contentOf(path) == first) << "an equal model, but other bytes";
    if (!wanted) std::filesystem::remove(path);
}
