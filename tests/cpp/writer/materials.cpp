#include <gtest/gtest.h>

#include "Expected.h"
#include "base/ObjectRegistry.h"
#include "nodes/RenderNode.h"

using namespace model;

namespace
{
/// The record of a root whose boxes are not set and whose one render node has the material.
Expected rootRecordWith(const MaterialPtr& material)
{
    Records records;
    const ObjectPtr<RenderNode> node(new RenderNode());
    node->setMaterial(material);
    records.addRenderNode(node);
    return records.write(*records.root);
}

Expected upToMaterials()
{
    constexpr double kMax = 3.4028234663852886e+38;
    Expected expected;
    expected.head("model::RootNode", "").onlyVersion(3);
    for (int i = 0; i < 3; ++i)
        expected.f64s({kMax, kMax, kMax, -kMax, -kMax, -kMax});
    return expected.u32(1);
}

/// The fields that a plain material has, up to its textures.
Expected& plainFields(Expected& expected, unsigned numFields)
{
    expected.u32(numFields).str("BLENDING").u8(0).str("DEPTH_BIAS").u32(0);
    expected.str("VERTEX_FORMAT").u32(27);
    for (int i = 0; i < 27; ++i)
        expected.u8(0);
    expected.str("TEXTURE_COORDINATES_CHANNELS").u32(13);
    for (int i = 0; i < 13; ++i)
        expected.u32(0xFFFFFFFF);
    return expected.str("MATERIAL_NAME").str("").str("NAME").str("").str("SHADOWS").u8(1).str("TEXTURES");
}

Expected& texture(Expected& expected, unsigned slot, const char* name)
{
    return expected.u32s({slot, 0xFFFFFFFF}).str(name).u32s({2, 2, 10, 6}).identityf();
}

void expectEqual(const Expected& record, const Expected& expected)
{
    EXPECT_EQ(record.strings, expected.strings);
    EXPECT_EQ(record.bytes, expected.bytes);
}
} // namespace

TEST(MaterialRecord, Plain)
{
    Expected expected = upToMaterials();
    plainFields(expected, 10).u32(0).str("UNIFORMS").u32(0).str("ANIMATED_UNIFORMS").u32(0).u32s({0, 0});
    expectEqual(rootRecordWith(MaterialPtr(new PropertiesSet())), expected);
}

TEST(MaterialRecord, TexturesInAscendingOrderWithLowerCaseNames)
{
    const MaterialPtr material(new PropertiesSet());
    material->setTexture(13, "AORMS.png");
    material->setTexture(2, "tiled.png");
    material->setTexture(0, "Wood.PNG");
    material->setTexture(18, "wood.png");
    Expected expected = upToMaterials();
    plainFields(expected, 10).u32(3);
    texture(expected, 0, "wood.png");
    texture(expected, 13, "aorms.png");
    texture(expected, 18, "wood.png");
    expected.str("UNIFORMS").u32(0).str("ANIMATED_UNIFORMS").u32(0).u32s({0, 0});
    expectEqual(rootRecordWith(material), expected);
    EXPECT_FALSE(material->textures[2].isUsed()) << "slot 13 takes the place of slot 2 in the object too";
    EXPECT_EQ(material->textures[0].name, "Wood.PNG");
}

TEST(MaterialRecord, UniformsAreSplitAndKeepTheirOrder)
{
    const MaterialPtr material(new PropertiesSet());
    const char* const classes[] = {"model::AnimatedProperty<float>", "model::Property<float>",
                                   "model::ArgumentProperty", "model::Property<unsigned int>"};
    for (const char* className : classes)
        setProperty(material->properties, create<IProperty>(className));
    // All have the name of a new property, so each takes the place of the one before.
    ASSERT_EQ(material->properties.size(), 1u);
    material->properties.clear();
    for (const char* className : classes)
        material->properties.push_back(create<IProperty>(className));

    Expected expected = upToMaterials();
    plainFields(expected, 10).u32(0);
    expected.str("UNIFORMS").u32(2).str("model::Property<float>").str("UnNamed").f32(0);
    expected.str("model::Property<unsigned int>").str("UnNamed").u32(0);
    expected.str("ANIMATED_UNIFORMS").u32(2).str("model::AnimatedProperty<float>").str("UnNamed");
    expected.u32s({0xFFFFFFFF, 0}).str("model::ArgumentProperty").str("UnNamed").u32(0xFFFFFFFF);
    expected.u32s({0, 0});
    expectEqual(rootRecordWith(material), expected);
}

TEST(MaterialRecord, EverySetting)
{
    const MaterialPtr material(new PropertiesSet());
    material->setBlending(0x103);
    material->depthBias = 7;
    material->setFormat(0, 4);
    material->setFormat(26, 1);
    material->setChannel(12, 2);
    material->setMaterialName("def_material");
    material->setName("name");
    material->setCastsShadow(false);
    material->setShadowFlag2(true);
    material->billboard = 1;
    material->billboardMode1 = 0x105;
    material->setDecalId(9);

    Expected expected = upToMaterials();
    expected.u32(12).str("BLENDING").u8(3).str("DEPTH_BIAS").u32(1).str("VERTEX_FORMAT").u32(27);
    for (int i = 0; i < 27; ++i)
        expected.u8(i == 0 ? 4 : i == 26 ? 1 : 0);
    expected.str("TEXTURE_COORDINATES_CHANNELS").u32(13);
    for (int i = 0; i < 13; ++i)
        expected.u32(i == 12 ? 2 : 0xFFFFFFFF);
    expected.str("MATERIAL_NAME").str("def_material").str("NAME").str("name").str("SHADOWS").u8(4);
    expected.str("TEXTURES").u32(0).str("UNIFORMS").u32(0).str("ANIMATED_UNIFORMS").u32(0);
    expected.str("BILLBOARD").u8s({5, 6}).str("DECAL").u8(9).u32s({0, 0});
    expectEqual(rootRecordWith(material), expected);
}

TEST(RootRecord, BoxesVersionAndHandles)
{
    Records records;
    RootNode& root = *records.root;
    root.setName("model");
    root.userBox.extend(0.1f, 2, 3);
    const auto version = create<UIntProperty>("model::Property<unsigned int>");
    version->setName("__VERSION__");
    version->setValue(77);
    const auto argument = create<ArgumentProperty>("model::ArgumentProperty");
    setProperty(root.properties, version);
    setProperty(root.properties, argument);
    const ObjectPtr<RenderNode> node(new RenderNode());
    node->setArgument(0, 41);
    root.addRenderNode(node);

    constexpr double kMax = 3.4028234663852886e+38;
    constexpr double kTenth = 0.100000001490116119384765625; // the f32, widened
    Expected expected;
    expected.head("model::RootNode", "model").u32(2);
    expected.str("model::Property<unsigned int>").str("__VERSION__").u32(3);
    expected.str("model::ArgumentProperty").str("UnNamed").u32(0xFFFFFFFF);
    expected.f64s({kMax, kMax, kMax, -kMax, -kMax, -kMax}).f64s({kTenth, 2, 3, kTenth, 2, 3});
    expected.f64s({kMax, kMax, kMax, -kMax, -kMax, -kMax}).u32s({0, 0, 42});
    expectEqual(records.write(root), expected);
    EXPECT_EQ(version->value, 77u) << "the root's own list stays as it was";
}
