#include <filesystem>
#include <fstream>
#include <iterator>

#include <gtest/gtest.h>

#include "RootNode.h"
#include "base/ObjectRegistry.h"
#include "io/IClassWriter.h"
#include "nodes/Connector.h"
#include "nodes/LightNode.h"
#include "nodes/RenderNode.h"
#include "nodes/SegmentsNode.h"
#include <zr/exceptions.h>

using namespace model;

namespace
{
/// A folder of this test alone, gone at its end. File names are relative to it, as absolute ones are refused.
class InTemporaryFolder : public testing::Test
{
protected:
    InTemporaryFolder()
    {
        const std::string pattern = (std::filesystem::temp_directory_path() / "writer-XXXXXX").string();
        folder = pattern;
        const char* made = mkdtemp(folder.data());
        if (!made) throw std::runtime_error("no temporary folder");
        std::filesystem::current_path(folder);
    }
    ~InTemporaryFolder() override
    {
        std::filesystem::current_path(before);
        std::filesystem::remove_all(folder);
    }

    static std::string read(const char* path)
    {
        std::ifstream file(path, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }
    static zr::string failureOf(RootNode& root, const char* path, u16 version)
    {
        try
        {
            root.writeToFile(path, version);
        }
        catch (const zr::ExtException& exception)
        {
            EXPECT_STREQ(exception.getFile(), "Utils/ZRMTools/UniModelDesc/sources/RootNode.cpp");
            return exception.what();
        }
        return "";
    }

private:
    std::filesystem::path before = std::filesystem::current_path();
    std::string folder;
};

using ModelFile = InTemporaryFolder;

ObjectPtr<RootNode> emptyModel()
{
    const auto root = create<RootNode>("model::RootNode");
    root->setRootTransform(create<Node>("model::Node"));
    root->rootTransform->setName("root");
    return root;
}

constexpr unsigned char kEmptyModel[303] = {
    'Z', 'R', 'M', 0x0A, 0x00, 0x46, 0x00, 0x00, 0x00,                              // magic, version, 70 bytes
    'm', 'o', 'd', 'e', 'l', ':', ':', 'R', 'o', 'o', 't', 'N', 'o', 'd', 'e', 0,   // string 0
    'm', 'o', 'd', 'e', 'l', ':', ':', 'P', 'r', 'o', 'p', 'e', 'r', 't', 'y', '<', // string 1
    'u', 'n', 's', 'i', 'g', 'n', 'e', 'd', ' ', 'i', 'n', 't', '>', 0,             //
    '_', '_', 'V', 'E', 'R', 'S', 'I', 'O', 'N', '_', '_', 0,                       // string 2
    'm', 'o', 'd', 'e', 'l', ':', ':', 'N', 'o', 'd', 'e', 0,                       // string 3
    0, 0, 0, 0, 0, 0, 0, 0,                                                         // reserved
    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 0, 0, 0,                                 // root, no name, 1
                                                                                    // property
    1, 0, 0, 0, 2, 0, 0, 0, 3, 0, 0, 0,                                             // version 3
    0, 0, 0, 0xE0, 0xFF, 0xFF, 0xEF, 0x47, 0, 0, 0, 0xE0, 0xFF, 0xFF, 0xEF, 0x47,   // bounding box
    0, 0, 0, 0xE0, 0xFF, 0xFF, 0xEF, 0x47, 0, 0, 0, 0xE0, 0xFF, 0xFF, 0xEF, 0xC7,   //
    0, 0, 0, 0xE0, 0xFF, 0xFF, 0xEF, 0xC7, 0, 0, 0, 0xE0, 0xFF, 0xFF, 0xEF, 0xC7,   //
    0, 0, 0, 0xE0, 0xFF, 0xFF, 0xEF, 0x47, 0, 0, 0, 0xE0, 0xFF, 0xFF, 0xEF, 0x47,   // user box
    0, 0, 0, 0xE0, 0xFF, 0xFF, 0xEF, 0x47, 0, 0, 0, 0xE0, 0xFF, 0xFF, 0xEF, 0xC7,   //
    0, 0, 0, 0xE0, 0xFF, 0xFF, 0xEF, 0xC7, 0, 0, 0, 0xE0, 0xFF, 0xFF, 0xEF, 0xC7,   //
    0, 0, 0, 0xE0, 0xFF, 0xFF, 0xEF, 0x47, 0, 0, 0, 0xE0, 0xFF, 0xFF, 0xEF, 0x47,   // light box
    0, 0, 0, 0xE0, 0xFF, 0xFF, 0xEF, 0x47, 0, 0, 0, 0xE0, 0xFF, 0xFF, 0xEF, 0xC7,   //
    0, 0, 0, 0xE0, 0xFF, 0xFF, 0xEF, 0xC7, 0, 0, 0, 0xE0, 0xFF, 0xFF, 0xEF, 0xC7,   //
    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,                                             // materials, reserved, handles
    1, 0, 0, 0, 3, 0, 0, 0, 4, 0, 0, 0, 'r', 'o', 'o', 't', 0, 0, 0, 0, 0, 0, 0, 0, // 1 tree node
    0xFF, 0xFF, 0xFF, 0xFF,                                                         // it has no parent
    0, 0, 0, 0,                                                                     // no sections
};
} // namespace

TEST_F(ModelFile, TheSmallestFile)
{
    const auto root = emptyModel();
    root->writeToFile("empty.zrm", 10);
    EXPECT_EQ(read("empty.zrm"), std::string(reinterpret_cast<const char*>(kEmptyModel), sizeof(kEmptyModel)));
    root->writeToFile("empty.zrm", 10);
    EXPECT_EQ(read("empty.zrm").size(), sizeof(kEmptyModel)) << "nothing is left over from an earlier file";
}

TEST_F(ModelFile, FailuresLeaveAnOlderFileAlone)
{
    const auto root = emptyModel();
    std::ofstream("model.zrm") << "older";
    EXPECT_EQ(failureOf(*root, "model.zrm", 8), "Unsupported version 8");
    EXPECT_EQ(failureOf(*root, "model.zrm", 0xFFFF), "Unsupported version 65535");
    EXPECT_EQ(failureOf(*root, "no/such/folder.zrm", 10), "Can't write to file no/such/folder.zrm");
    EXPECT_EQ(failureOf(*root, "/virtual.zrm", 10), "Can't write to file /virtual.zrm");

    root->connectors.push_back(create<Connector>("model::Connector"));
    EXPECT_THROW(root->writeToFile("model.zrm", 10), std::out_of_range);
    EXPECT_EQ(read("model.zrm"), "older");
}

TEST_F(ModelFile, SectionsStandInAFixedOrderAndEmptyOnesAreLeftOut)
{
    const auto root = emptyModel();
    const MaterialPtr material(new PropertiesSet());
    const auto render = create<RenderNode>("model::RenderNode");
    render->setMaterial(material);
    root->addRenderNode(render);
    root->addShellNode(create<SegmentsNode>("model::SegmentsNode"));
    root->connectors.push_back(create<Connector>("model::Connector"));
    for (const auto& node : root->getAllNodes())
        node->setControlNode(0, root->rootTransform);

    ByteBuffer bytes;
    createClassWriter(10)->write(root.get(), bytes);
    const std::string file(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    EXPECT_LT(file.find("CONNECTORS"), file.find("SHELL_NODES"));
    EXPECT_LT(file.find("SHELL_NODES"), file.find("RENDER_NODES"));
    EXPECT_EQ(file.find("LIGHT_NODES"), std::string::npos);
}

// A tree of 0 -> (1 -> (2, 3), 4), and its parent table at the end of the file.
TEST_F(ModelFile, ParentTable)
{
    const auto root = emptyModel();
    const auto child = create<Node>("model::Node");
    root->rootTransform->insert(child, nullptr);
    root->rootTransform->insert(create<Node>("model::Node"), nullptr);
    child->insert(create<Node>("model::Node"), nullptr);
    child->insert(create<Node>("model::Node"), nullptr);

    ByteBuffer bytes;
    createClassWriter(10)->write(root.get(), bytes);
    const u8 expected[24] = {0xFF, 0xFF, 0xFF, 0xFF, 0, 0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0};
    const u8* const end = bytes.data() + bytes.size();
    EXPECT_TRUE(std::equal(std::begin(expected), std::end(expected), end - sizeof(expected)));
}

TEST_F(ModelFile, AMillionNodesDeep)
{
    const auto root = emptyModel();
    ObjectPtr<Node> deepest = root->rootTransform;
    for (int i = 0; i < 1000000; ++i)
    {
        const auto child = create<Node>("model::Node");
        deepest->insert(child, nullptr);
        deepest = child;
    }
    ByteBuffer bytes;
    createClassWriter(10)->write(root.get(), bytes);
    EXPECT_EQ(bytes.size(), sizeof(kEmptyModel) + 1000000u * 20u);
}
