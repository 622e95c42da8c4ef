#include "materials/IProperty.h"

#include "io/IBinaryFileW.h"
#include "materials/PropertyList.h"

namespace model
{
void IProperty::setName(const char* text)
{
    if (isIndexed) PropertyList::forgetNames();
    name = text ? text : "";
}

void IProperty::write(io::IBinaryFileW& file) const
{
    file.writeString(getClassName());
    file.writeString(name);
}

bool IProperty::isSameNameAndClass(const IProperty* other) const
{
    return other && name == other->name && std::string_view(getClassName()) == other->getClassName();
}
} // namespace model
