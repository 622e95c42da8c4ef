#include "finishing/WriteToFile.h"

#include <fmt/format.h>

#include "RootNode.h"
#include "io/10/ClassWriter10.h"
#include "nodes/BaseMeshRenderNode.h"
#include <zr/exceptions.h>
#include <zrvfs/WholeFile.h>

namespace model
{
namespace
{
/// Both slots hold maps of one meaning; the later one wins.
void dropRepeatedAorms(PropertiesSet& material)
{
    TextureSlots& textures = material.textures;
    if (textures.find(kTiledAormsTexture) && textures.find(kAormsTexture)) textures[kTiledAormsTexture].name.clear();
}
} // namespace

std::unique_ptr<IClassWriter> createClassWriter(u16 version)
{
    if (version == 10) return std::make_unique<ClassWriter10>();
    return nullptr;
}

void prepareForWriting(RootNode& root)
{
    root.collectMaterials();
    for (const MaterialPtr& material : root.materials)
        dropRepeatedAorms(*material);
    for (const ObjectPtr<BaseNode>& node : root.renderNodes)
        if (auto* mesh = node->asMesh(); mesh && !mesh->pivots.empty()) mesh->setVersion(kPivotVersion);
}

void RootNode::writeToFile(const char* path, u16 fileVersion)
{
    const auto writer = createClassWriter(fileVersion);
    if (!writer) ZR_RAISE(zr::string("Unsupported version ") + fmt::format_int(fileVersion).c_str());
    prepareForWriting(*this);
    FileParts file;
    writer->write(this, file);
    if (!zrvfs::writeWholeFile(path, file.parts, false)) ZR_RAISE(zr::string("Can't write to file ") + path);
}
} // namespace model
