#include "bind/Binder.h"
#include "inc/Model.h"

namespace pyzrm
{
void bindModel()
{
    Binder<Model>()
        .constructor<>()
        .method("getRootTransform", &Model::getRootTransform)
        .method("setBBox", &Model::setBBox)
        .method("setUserBox", &Model::setUserBox)
        .method("setLightBox", &Model::setLightBox)
        .method("save", &Model::save)
        .method("addRenderNode", &Model::addRenderNode)
        .method("addSegmentsNode", &Model::addSegmentsNode)
        .method("addShellNode", &Model::addShellNode)
        .method("addConnector", &Model::addConnector)
        .method("addLight", &Model::addLight)
        .method("getName", &Model::getName)
        .repr("Model", [](const Model& model) { return model.getName(); });
}
} // namespace pyzrm
