#pragma once

#include <functional>

#include "base/INode.h"
#include "materials/PropertyList.h"

namespace model
{
class Node;
class RootNode;

/// A thing that hangs on the tree and lies in one of the root's lists. It points to the tree through its control
/// nodes; the tree does not point to it.
class BaseNode : public INode
{
public:
    /// The root whose list took this node; not counted.
    RootNode* root = nullptr;
    /// When it is not 0, the file holds it as the property "__VERSION__".
    u32 version = 0;
    zr::string name;
    PropertyList properties;

    const zr::string& getName() const { return name; }
    /// Null stores the empty string.
    void setName(const char* text);
    u32 getVersion() const { return version; }
    void setVersion(u32 value) { version = value; }
    PropertyList& getProperties() { return properties; }
    const PropertyList& getProperties() const { return properties; }

    virtual u64 getNumControlNodes() const = 0;
    virtual ObjectPtr<Node> getControlNode(u64 index) const = 0;
    virtual void setControlNode(u64 index, ObjectPtr<Node> node) = 0;
    /// Transforms the data that hangs on a control node; false when the data can't take a matrix.
    virtual bool applyMatrix(u32 index, const f64* m);
    /// Calls the function with each argument that this node names (not `kNoArgument`), repeats included.
    virtual void forEachArgument(const std::function<void(u32)>& function) const;

private:
    friend class RootNode;

    /// Where the root's list of render nodes holds this node, so that its removal need not search. It belongs to the
    /// object, not to its value: a copy has none.
    struct ListPlace
    {
        ListPlace() = default;
        ListPlace(const ListPlace&) {}
        ListPlace& operator=(const ListPlace&) { return *this; }

        static constexpr std::size_t kNone = static_cast<std::size_t>(-1);
        std::size_t index = kNone;
        /// The node may be listed more than once, so its first entry has to be searched.
        bool isRepeated = false;
    };
    ListPlace place;
};
} // namespace model
