#include "base/ObjectRegistry.h"

#include <new>
#include <string_view>

#include "RootNode.h"
#include "nodes/ArgVisibilityNode.h"
#include "nodes/BillboardNode.h"
#include "nodes/Bone.h"
#include "nodes/Connector.h"
#include "nodes/FakeOmniLights.h"
#include "nodes/FakeSpotLights.h"
#include "nodes/FakeSpotLights3Node.h"
#include "nodes/LightNode.h"
#include "nodes/LodNode.h"
#include "nodes/NumberNode.h"
#include "nodes/SegmentsNode.h"
#include "nodes/ShellSkinNode.h"
#include "nodes/TmpNumberRoot.h"

namespace model
{
template <class T>
void ObjectRegistry::reg(const char* className)
{
    factories[className] = std::make_unique<regClass<T>>();
}

ObjectRegistry::ObjectRegistry()
{
    reg<FakeOmniLightsNode>("model::FakeOmniLightsNode");
    reg<AnimatedFakeOmniLightsNode>("model::AnimatedFakeOmniLightsNode");
    reg<AnimatedFakeSpotLightsNode>("model::AnimatedFakeSpotLightsNode");
    reg<FakeSpotLightsNode>("model::FakeSpotLightsNode");
    reg<FakeSpotLights3Node>("model::FakeSpotLights3Node");
    reg<NumberNode>("model::NumberNode");
    reg<RootNode>("model::RootNode");
    reg<Node>("model::Node");
    reg<RenderNode>("model::RenderNode");
    reg<LightNode>("model::LightNode");
    reg<TransformNode>("model::TransformNode");
    reg<BillboardNode>("model::BillboardNode");
    reg<SkinNode>("model::SkinNode");
    reg<ShellNode>("model::ShellNode");
    reg<ShellSkinNode>("model::ShellSkinNode");
    reg<SegmentsNode>("model::SegmentsNode");
    reg<LodNode>("model::LodNode");
    reg<ArgVisibilityNode>("model::ArgVisibilityNode");
    reg<ArgAnimationNode>("model::ArgAnimationNode");
    // Files name an animation by the channels it has; all of these names make the same class.
    reg<ArgAnimationNode>("model::ArgScaleNode");
    reg<ArgAnimationNode>("model::ArgRotationNode");
    reg<ArgAnimationNode>("model::ArgPositionNode");
    reg<Connector>("model::Connector");
    reg<Bone>("model::Bone");
    reg<ArgAnimatedBone>("model::ArgAnimatedBone");
    reg<FloatProperty>("model::Property<float>");
    reg<UIntProperty>("model::Property<unsigned int>");
    reg<Vec2fProperty>("model::Property<osg::Vec2f>");
    reg<Vec3fProperty>("model::Property<osg::Vec3f>");
    reg<Vec4fProperty>("model::Property<osg::Vec4f>");
    reg<StringProperty>("model::Property<const char*>");
    reg<ArgumentProperty>("model::ArgumentProperty");
    reg<AnimatedFloatProperty>("model::AnimatedProperty<float>");
    reg<AnimatedVec2fProperty>("model::AnimatedProperty<osg::Vec2f>");
    reg<AnimatedVec3fProperty>("model::AnimatedProperty<osg::Vec3f>");
    reg<AnimatedVec4fProperty>("model::AnimatedProperty<osg::Vec4f>");
    reg<TmpNumberRoot>("model::TmpNumberRoot");
}

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
    const std::lock_guard guard(lock);
    return objects.size();
}

void ObjectRegistry::remove(IObject& object)
{
    const std::lock_guard guard(lock);
    if (isShutDown) return;
    IObject* moved = objects.back();
    objects[object.slot] = moved;
    moved->slot = object.slot;
    objects.pop_back();
}

void ObjectRegistry::shutDown()
{
    const std::lock_guard guard(lock);
    isShutDown = true;
    factories = {};
    objects = {};
}

const IregClass* ObjectRegistry::find(const char* className) const
{
    if (!className || isShutDown) return nullptr;
    const auto found = factories.find(std::string_view(className));
    return found == factories.end() ? nullptr : found->second.get();
}

ObjectPtr<IObject> ObjectRegistry::take(IObject* object)
{
    if (!object) return nullptr;
    object->registry = this;
    object->slot = objects.size();
    objects.push_back(object);
    return ObjectPtr<IObject>(object);
}

namespace
{
/// The registry's own storage is never destroyed: objects that outlive the static destructors, as those that an
/// interpreter still holds at its exit, find its lock and their answer there.
struct Lifetime
{
    Lifetime() : registry(new (storage) ObjectRegistry()) {}
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
