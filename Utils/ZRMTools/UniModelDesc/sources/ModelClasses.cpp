#include "RootNode.h"
#include "base/ObjectRegistry.h"
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
void registerClasses(ObjectRegistry& registry)
{
#define MODEL_REGISTER(Class, ...) registry.reg<Class>();
    MODEL_NODE_CLASSES(MODEL_REGISTER)
    MODEL_PROPERTY_CLASSES(MODEL_REGISTER)
#undef MODEL_REGISTER
#define MODEL_REGISTER_ALIAS(Name, id) registry.reg<ArgAnimationNode>("model::" #Name);
    MODEL_ANIMATION_ALIASES(MODEL_REGISTER_ALIAS)
#undef MODEL_REGISTER_ALIAS
}
} // namespace model
