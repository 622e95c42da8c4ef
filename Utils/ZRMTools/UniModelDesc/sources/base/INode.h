#pragma once

#include "base/IObject.h"

namespace model
{
class INodeVisitor;

/// What `INode::getType` and `Node::getKind` give; the names that go with them are `getNodeTypeName`.
enum NodeType : u32
{
    kArgAnimatedBone = 0,
    kArgAnimationNode = 1,
    kArgRotationNode = 2, ///< only from `getKind`
    kArgScaleNode = 3,    ///< only from `getKind`
    kArgPositionNode = 4, ///< only from `getKind`
    kArgVisibilityNode = 5,
    kBone = 6,
    kConnector = 7,
    kLightNode = 8,
    kLodNode = 9,
    kNode = 10,
    kRenderNode = 11,
    kBillboardNode = 12,
    kShellNode = 13,
    kTreeShellNode = 14, ///< no class has it
    kSegmentsNode = 15,
    kRootNode = 16,
    kSkinNode = 17,
    kTransformNode = 18,
    kFakeOmniLightsNode = 19,
    kFakeSpotLightsNode = 20,
    kAnimatedFakeOmniLightsNode = 21,
    kAnimatedFakeSpotLightsNode = 22,
    kNumberNode = 23,
    kShellSkinNode = 24,
    kFakeSpotLights3Node = 25,
    kTmpNumberRoot = 26,
};

/// The class name of a type id as files hold it, such as "model::Node"; "UNKNOWN_NODE_ID" for any other number.
const char* getNodeTypeName(u32 type);

/// Base of the nodes of the tree and of the things that hang on it.
class INode : public IObject
{
public:
    /// One of `NodeType`.
    virtual u32 getType() const = 0;
    /// Calls the visitor's operation for this class.
    virtual void accept(INodeVisitor& visitor) const = 0;
    /// A copy of this object, made through the registry under the name of its type.
    virtual ObjectPtr<INode> clone() const;
};

/// A copy of a node as what it is known as.
template <class T>
ObjectPtr<T> cloneAs(const T& node)
{
    return cast<T>(node.clone());
}
} // namespace model
