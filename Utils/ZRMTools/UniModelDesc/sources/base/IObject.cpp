#include "base/IObject.h"

#include "base/ObjectRegistry.h"

namespace model
{
void IObjectDeleter::operator()(IObject* object) const
{
    if (object->registry) object->registry->remove();
    delete object;
}
} // namespace model
