#pragma once

#include "base/IObject.h"

namespace io
{
class IBinaryFileW;
}

namespace model
{
class IProperty;
class IPropertyVisitor;
using PropertyPtr = ObjectPtr<IProperty>;

/// One named, typed value. Property objects are shared: one object can stand in several lists.
class IProperty : public IObject
{
public:
    /// The value's kind: 0 float, 1 unsigned, 2 to 4 vectors of that many floats, 6 string.
    const u32 kind;
    /// A short mark of the type, not zero-terminated.
    const char (&tag)[5];

    const zr::string& getName() const { return name; }
    /// Null stores the empty string. Renames the object in every list that holds it.
    void setName(const char* text);

    /// The class name by which the registry and the file know the class.
    virtual const char* getClassName() const = 0;
    virtual bool isAnimated() const = 0;
    /// The text form for display; numbers as `%f` and `%u` give them in the C locale.
    virtual zr::string toString() const = 0;
    virtual void accept(IPropertyVisitor& visitor) = 0;
    /// Writes class name and name; each class adds its value.
    virtual void write(io::IBinaryFileW& file) const;
    /// Whether the other has the same name and class and a value that is equal, floats within 1e-5.
    virtual bool equals(const PropertyPtr& other) const = 0;

protected:
    IProperty(u32 valueKind, const char (&typeTag)[5]) : kind(valueKind), tag(typeTag) {}
    IProperty(const IProperty& other) : IObject(other), kind(other.kind), tag(other.tag), name(other.name) {}

    /// The test that all classes start with: other is there, and name and class are the same.
    bool isSameNameAndClass(const IProperty* other) const;

private:
    friend class PropertyList;

    zr::string name{"UnNamed"};
    /// Set when a list indexes this object by its name.
    mutable bool isIndexed = false;
};
} // namespace model
