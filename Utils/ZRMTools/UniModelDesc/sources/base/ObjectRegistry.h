#pragma once

#include <atomic>
#include <memory>
#include <mutex>

#include "base/IObject.h"
#include <zr/unordered_map.h>

namespace model
{
/// Makes the objects of one class.
class IregClass
{
public:
    virtual ~IregClass() = default;
    /// A new object in its default state.
    virtual IObject* create() const = 0;
    /// A copy of `source`; null when that is of another class.
    virtual IObject* clone(const IObject& source) const = 0;
};

template <class T>
class regClass final : public IregClass
{
public:
    IObject* create() const override { return new T(); }
    IObject* clone(const IObject& source) const override
    {
        const T* same = dynamic_cast<const T*>(&source);
        return same ? new T(*same) : nullptr;
    }
};

/// The process-wide factory of model objects by class name. It counts the living objects that it made and owns none.
/// Safe on any thread, and re-entrant: a constructor may create further objects.
class ObjectRegistry
{
public:
    ObjectRegistry() = default;
    ObjectRegistry(const ObjectRegistry&) = delete;
    ObjectRegistry& operator=(const ObjectRegistry&) = delete;

    /// Lets objects of the class be made by the name. Only before the first object is made.
    template <class T>
    void reg(const char* className = T::kClassName)
    {
        factories[className] = std::make_unique<regClass<T>>();
    }

    /// A new object of a registered class; null once the tables are freed. Models have very many objects, so whoever
    /// knows the class spares the look-up by name.
    template <class T>
    ObjectPtr<T> make()
    {
        if (isShutDown) return nullptr;
        T* const object = new T();
        count(*object);
        return ObjectPtr<T>(object);
    }
    /// A new object of the class; null when the name (or a null pointer) is not registered.
    ObjectPtr<IObject> create(const char* className);
    /// A copy of `source`, which must be of that class; null when it is not or the name is not registered.
    ObjectPtr<IObject> clone(const char* className, const IObject& source);
    /// How many objects that this registry made are alive.
    u64 getCount();

    /// One object less; each calls it once, as it dies.
    void remove() { --numObjects; }
    /// Frees the tables and leaves the living objects alone; from then on nothing is created or counted.
    void shutDown();

private:
    const IregClass* find(const char* className) const;
    void count(IObject& object);
    ObjectPtr<IObject> take(IObject* object);

    zr::unordered_map<zr::string, std::unique_ptr<IregClass>> factories;
    std::recursive_mutex lock;
    std::atomic<u64> numObjects{0};
    std::atomic<bool> isShutDown{false};
};

/// The one registry, constructed at the first call. It can be called, and its objects can die, at any time up to the
/// end of the process.
ObjectRegistry& getObjectRegistry();

/// Registers every class of the model; defined above all of them, where they are known.
void registerClasses(ObjectRegistry& registry);

/// Creates an object of a class that the model registers.
template <class T>
ObjectPtr<T> create()
{
    return getObjectRegistry().make<T>();
}

/// Creates an object by its class name, as a `T`; null when the name is not registered or names another class.
template <class T>
ObjectPtr<T> create(const char* className)
{
    return cast<T>(getObjectRegistry().create(className));
}
} // namespace model
