#include "base/ObjectRegistry.h"

#include <new>
#include <string_view>

namespace model
{
ObjectPtr<IObject> ObjectRegistry::create(const char* className)
{
    const std::lock_guard guard(lock);
    const IregClass* factory = find(className);
    return factory ? take(factory->create()) : nullptr;
}

ObjectPtr<IObject> ObjectRegistry::clone(const char* className, const IObject& source)
{
    const std::lock_guard guard(lock);
    const IregClass* factory = find(className);
    return factory ? take(factory->clone(source)) : nullptr;
}

u64 ObjectRegistry::getCount()
{
    return isShutDown ? 0 : numObjects.load();
}

void ObjectRegistry::shutDown()
{
    const std::lock_guard guard(lock);
    isShutDown = true;
    factories = {};
}

const IregClass* ObjectRegistry::find(const char* className) const
{
    if (!className || isShutDown) return nullptr;
    const auto found = factories.find(std::string_view(className));
    return found == factories.end() ? nullptr : found->second.get();
}

void ObjectRegistry::count(IObject& object)
{
    object.registry = this;
    ++numObjects;
}

ObjectPtr<IObject> ObjectRegistry::take(IObject* object)
{
    if (!object) return nullptr;
    count(*object);
    return ObjectPtr<IObject>(object);
}

namespace
{
/// The registry's own storage is never destroyed: objects that outlive the static destructors, as those that an
/// interpreter still holds at its exit, find its lock and their answer there.
struct Lifetime
{
    Lifetime() : registry(new (storage) ObjectRegistry()) { registerClasses(*registry); }
    ~Lifetime() { registry->shutDown(); }

    alignas(ObjectRegistry) static inline unsigned char storage[sizeof(ObjectRegistry)];
    ObjectRegistry* registry;
};
} // namespace

ObjectRegistry& getObjectRegistry()
{
    static const Lifetime lifetime;
    return *lifetime.registry;
}
} // namespace model
