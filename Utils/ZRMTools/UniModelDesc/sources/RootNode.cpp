#include "RootNode.h"

#include <algorithm>

#include "ModelArguments.h"
#include "nodes/BaseRenderNode.h"

namespace model
{
RootNode::RootNode()
{
    version = 3;
}

RootNode::~RootNode()
{
    Node::unlinkAll(rootTransform);
    materials.clear();
    lights.clear();
    shellNodes.clear();
    renderNodes.clear();
    connectors.clear();
    rootTransform.release();
}

void RootNode::addRenderNode(ObjectPtr<BaseNode> node)
{
    if (!node) return;
    node->root = this;
    renderNodes.push_back(std::move(node));
}

void RootNode::addShellNode(ObjectPtr<BaseNode> node)
{
    if (!node) return;
    node->root = this;
    shellNodes.push_back(std::move(node));
}

void RootNode::removeRenderNode(const BaseNode* node)
{
    const auto found = std::find(renderNodes.begin(), renderNodes.end(), node);
    if (found == renderNodes.end()) return;
    std::swap(*found, renderNodes.back());
    renderNodes.pop_back();
}

RootNode::List RootNode::getAllNodes() const
{
    List nodes;
    nodes.reserve(connectors.size() + lights.size() + shellNodes.size() + renderNodes.size());
    for (const List* list : {&connectors, &lights, &shellNodes, &renderNodes})
        nodes.insert(nodes.end(), list->begin(), list->end());
    return nodes;
}

bool RootNode::forEachUser(const Node* node, const std::function<bool(BaseNode&, u64)>& function) const
{
    for (const List* list : {&connectors, &lights, &shellNodes, &renderNodes})
        for (const ObjectPtr<BaseNode>& user : *list)
        {
            const u64 numControls = user->getNumControlNodes();
            for (u64 i = 0; i < numControls; ++i)
                if (user->getControlNode(i).get() == node && !function(*user, i)) return false;
        }
    return true;
}

zr::vector<RootNode::User> RootNode::getUsers(const Node* node) const
{
    zr::vector<User> users;
    forEachUser(node,
                [&users](BaseNode& user, u64 index)
                {
                    users.emplace_back(&user, static_cast<int>(index));
                    return true;
                });
    return users;
}

bool RootNode::isUsed(const Node* node) const
{
    return !forEachUser(node, [](BaseNode&, u64) { return false; });
}

bool RootNode::replaceControlNode(const Node* old, const ObjectPtr<Node>& replacement)
{
    bool changed = false;
    forEachUser(old,
                [&](BaseNode& user, u64 index)
                {
                    user.setControlNode(index, replacement);
                    changed = true;
                    return true;
                });
    return changed;
}

void RootNode::collectMaterials()
{
    materials.clear();
    for (const ObjectPtr<BaseNode>& node : renderNodes)
    {
        const BaseRenderNode* renderNode = node->asRenderNode();
        if (!renderNode || !renderNode->getMaterial()) continue;
        const MaterialPtr& material = renderNode->getMaterial();
        if (getMaterialIndex(material.get()) >= 0) continue;
        material->listedAt = static_cast<u32>(materials.size());
        materials.push_back(material);
    }
}

zr::vector<MaterialPtr> RootNode::getMaterials()
{
    collectMaterials();
    return materials;
}

int RootNode::getMaterialIndex(const PropertiesSet* material) const
{
    // Another root may have listed it since, so the list has the last word.
    const bool isListed =
        material && material->listedAt < materials.size() && materials[material->listedAt].get() == material;
    return isListed ? static_cast<int>(material->listedAt) : -1;
}

u32 RootNode::calcNumHandles() const
{
    return model::calcNumHandles(*this);
}
} // namespace model
