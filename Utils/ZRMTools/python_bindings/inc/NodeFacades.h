#pragma once

#include "inc/Arguments.h"
#include "inc/Facade.h"
#include "nodes/ArgAnimationNode.h"
#include "nodes/ArgVisibilityNode.h"
#include "nodes/Bone.h"
#include "nodes/LodNode.h"
#include "nodes/TmpNumberRoot.h"

/// The nodes of the tree. A facade keeps nothing beside its model node: what is set is in the model at once.
namespace pyzrm
{
class Node : public Facade
{
public:
    explicit Node(const zr::string& name);

    const zr::string& getName() const { return node->getName(); }
    /// Moves the child with all below it to the end of the children and hands it back.
    /// @throws std::invalid_argument when the child is this node or one above it
    std::shared_ptr<Node> addChild(Ref<Node> child);

    const model::ObjectPtr<model::Node>& getNode() const { return node; }

protected:
    Node(const zr::string& name, model::ObjectPtr<model::Node> created);

    /// The model node as the class that it was created as.
    template <class T>
    T& nodeAs() const
    {
        return static_cast<T&>(*node);
    }

private:
    model::ObjectPtr<model::Node> node;
};

class Transform : public Node
{
public:
    explicit Transform(const zr::string& name);
    Transform(const zr::string& name, const Columns& matrix);

    void setMatrix(const Columns& matrix);
};

class Lod : public Node
{
public:
    /// The far limit of each level; the model holds squares.
    Lod(const zr::string& name, const zr::vector<f32>& distances);
};

class NumberRoot : public Node
{
public:
    explicit NumberRoot(const zr::string& name);

    /// Appends (u argument, u factor, v argument, v factor); arguments are cut, negative ones mean none.
    void setControls(const zr::vector<Float4>& controls);
};

class VisibilityNode : public Node
{
public:
    explicit VisibilityNode(const zr::string& name);

    /// Replaces all arguments; keys are (value of the argument, state), visible from 0.5 on.
    void setArguments(const ArgumentKeys<f32>& arguments);
};

/// Keys of all channels are sorted and simplified.
class AnimationNode : public Node
{
public:
    explicit AnimationNode(const zr::string& name);

    void setBaseMatrix(const Columns& matrix);
    void setBasePosition(const Float3& position);
    /// w, x, y, z
    void setBaseRotation(const Float4& rotation);
    void setBaseScale(const Float3& scale);
    void setPositionAnimation(const ArgumentKeys<Float3>& channels);
    /// w, x, y, z
    void setRotationAnimation(const ArgumentKeys<Float4>& channels);
    void setScaleAnimation(const ArgumentKeys<Float3>& channels);
};

class Bone : public Node
{
public:
    explicit Bone(const zr::string& name);
    Bone(const zr::string& name, const Columns& matrix);
    Bone(const zr::string& name, const Columns& matrix, const Columns& inverted);

    void setMatrix(const Columns& matrix);
    void setInvertedBaseBoneMatrix(const Columns& matrix);
};
} // namespace pyzrm
