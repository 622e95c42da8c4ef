#pragma once

#include <type_traits>

#include "base/types.h"
#include <zr/Ptr.h>
#include <zr/containers.h>

namespace model
{
class ObjectRegistry;

/// Base of everything that the registry creates, counts and removes.
class IObject : public zr::Shared
{
public:
    IObject() = default;
    /// A copy belongs to no registry until the registry takes it.
    IObject(const IObject& other) : zr::Shared(other) {}
    IObject& operator=(const IObject&) { return *this; }

    /// The registry that created this object; null for an object that was made without one.
    ObjectRegistry* registry = nullptr;
};

/// Takes an object out of its registry, if it has one, and deletes it.
struct IObjectDeleter
{
    void operator()(IObject* object) const;
};

/// How all model objects are owned.
template <class T>
using ObjectPtr = zr::Ptr<T, IObjectDeleter>;

/// The same object as a `T`; null when it is none or null.
template <class T, class U>
ObjectPtr<T> cast(const ObjectPtr<U>& object)
{
    return ObjectPtr<T>(dynamic_cast<T*>(object.get()));
}
} // namespace model
