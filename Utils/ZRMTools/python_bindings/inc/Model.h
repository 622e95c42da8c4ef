#pragma once

#include "RootNode.h"
#include "inc/IRenderNode.h"
#include "inc/Lights.h"
#include "inc/Shells.h"

namespace pyzrm
{
/// A whole model. It holds what was added to it, not the facades.
class Model : public Facade
{
public:
    Model();

    /// The same facade at every call.
    const std::shared_ptr<Node>& getRootTransform() const { return rootTransform; }
    void setBBox(const Float6& box) { root->boundingBox = toBox(box); }
    void setUserBox(const Float6& box) { root->userBox = toBox(box); }
    void setLightBox(const Float6& box) { root->lightBox = toBox(box); }
    /// Finishes the model in place and writes it; "" or what is wrong. `version` is cut to 16 bits.
    /// @throws std::invalid_argument for a path with a zero character
    zr::string save(const zr::string& path, i64 version);
    /// Builds and adds; "" or what is missing, with nothing added.
    zr::string addRenderNode(Ref<IRenderNode> facade);
    void addSegmentsNode(Ref<SegmentsNode> facade) { root->addShellNode(facade->getNode()); }
    /// Adds the shell whatever its build says.
    void addShellNode(Ref<ShellNode> facade);
    void addConnector(Ref<Connector> facade) { root->connectors.push_back(facade->getNode()); }
    /// @throws std::invalid_argument for a light of no kind
    void addLight(Ref<ILight> facade) { root->lights.push_back(facade->getNode()); }
    /// Nothing names a model.
    const zr::string& getName() const { return root->getName(); }

private:
    model::ObjectPtr<model::RootNode> root;
    std::shared_ptr<Node> rootTransform;
};
} // namespace pyzrm
