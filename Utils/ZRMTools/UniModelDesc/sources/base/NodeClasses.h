#pragma once

#include "base/types.h"

/// The one list of the classes of nodes. From it come the type ids, the names in files, the operations of the visitor
/// and the classes that the registry makes; `NodeClass` gives a class its part of all that.
///
/// A new class stands here and derives from `NodeClass`. One with a record of its own does not compile until every
/// visitor, the file writer among them, has an operation for it.

/// X(class, type id): the classes with a record of their own, in the order of the visitor's operations.
#define MODEL_NODE_RECORDS(X)                                                                                          \
    X(RootNode, 16)                                                                                                    \
    X(Connector, 7)                                                                                                    \
    X(LightNode, 8)                                                                                                    \
    X(NumberNode, 23)                                                                                                  \
    X(SkinNode, 17)                                                                                                    \
    X(RenderNode, 11)                                                                                                  \
    X(AnimatedFakeSpotLightsNode, 22)                                                                                  \
    X(FakeSpotLights3Node, 25)                                                                                         \
    X(FakeSpotLightsNode, 20)                                                                                          \
    X(AnimatedFakeOmniLightsNode, 21)                                                                                  \
    X(FakeOmniLightsNode, 19)                                                                                          \
    X(SegmentsNode, 15)                                                                                                \
    X(ShellSkinNode, 24)                                                                                               \
    X(ShellNode, 13)                                                                                                   \
    X(LodNode, 9)                                                                                                      \
    X(Bone, 6)                                                                                                         \
    X(BillboardNode, 12)                                                                                               \
    X(ArgVisibilityNode, 5)                                                                                            \
    X(ArgAnimatedBone, 0)                                                                                              \
    X(ArgAnimationNode, 1)                                                                                             \
    X(TransformNode, 18)                                                                                               \
    X(Node, 10)

/// X(class, type id): all classes; the last ones are written with the record of their base, under their own name.
#define MODEL_NODE_CLASSES(X)                                                                                          \
    MODEL_NODE_RECORDS(X)                                                                                              \
    X(TmpNumberRoot, 26)

/// X(name, type id): the further names of ArgAnimationNode. Files name an animation by the channels that it has.
#define MODEL_ANIMATION_ALIASES(X)                                                                                     \
    X(ArgRotationNode, 2)                                                                                              \
    X(ArgScaleNode, 3)                                                                                                 \
    X(ArgPositionNode, 4)

/// X(name, type id): every name that has an id. Only the last one belongs to no class.
#define MODEL_NODE_NAMES(X)                                                                                            \
    MODEL_NODE_CLASSES(X)                                                                                              \
    MODEL_ANIMATION_ALIASES(X)                                                                                         \
    X(TreeShellNode, 14)

namespace model
{
/// What `INode::getType` and `Node::getKind` give: kNode, kRenderNode and so on. The names that go with them are
/// `getNodeTypeName`; the aliases of an animation come from `getKind` alone.
enum NodeType : u32
{
#define MODEL_ENUMERATOR(Name, id) k##Name = id,
    MODEL_NODE_NAMES(MODEL_ENUMERATOR)
#undef MODEL_ENUMERATOR
};

/// The class name of a type id as files hold it, such as "model::Node"; "UNKNOWN_NODE_ID" for any other number.
const char* getNodeTypeName(u32 type);

/// `kType` and `kClassName` of a class of the list.
template <class Class>
struct NodeTraits;

#define MODEL_TRAITS(Class, id)                                                                                        \
    class Class;                                                                                                       \
    template <>                                                                                                        \
    struct NodeTraits<Class>                                                                                           \
    {                                                                                                                  \
        static constexpr NodeType kType = k##Class;                                                                    \
        static constexpr const char* kClassName = "model::" #Class;                                                    \
    };
MODEL_NODE_CLASSES(MODEL_TRAITS)
#undef MODEL_TRAITS
} // namespace model
