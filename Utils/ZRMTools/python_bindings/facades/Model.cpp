#include "inc/Model.h"

#include <stdexcept>

#include "finishing/Finishing.h"
#include <zr/exceptions.h>

namespace pyzrm
{
Model::Model() : root(model::create<model::RootNode>()), rootTransform(std::make_shared<Node>("root"))
{
    root->setRootTransform(rootTransform->getNode());
}

zr::string Model::save(const zr::string& path, i64 version)
{
    if (path.find('\0') != zr::string::npos) throw std::invalid_argument("embedded null character");
    try
    {
        return model::finishAndSave(*root, path.c_str(), static_cast<model::u16>(version));
    }
    catch (const zr::ExtException& failure)
    {
        return failure.what();
    }
}

zr::string Model::addRenderNode(Ref<IRenderNode> facade)
{
    if (zr::string text = facade->build(); !text.empty()) return text;
    for (const auto& node : facade->getNodes())
        root->addRenderNode(node);
    return {};
}

void Model::addShellNode(Ref<ShellNode> facade)
{
    facade->build();
    root->addShellNode(facade->getNode());
}
} // namespace pyzrm
