#pragma once

#include <memory>
#include <string_view>

#include "materials/Properties.h"
#include <zr/checked.h>

namespace model
{
/// The properties of a node or a material, in a fixed order, with look-up by name.
///
/// A short list is searched from its start. A long one keeps an index by name, built at a look-up and thrown away when
/// the list is changed elsewhere or an indexed property is renamed, so results are always those of the plain search.
class PropertyList
{
public:
    using iterator = zr::vector<PropertyPtr>::const_iterator;
    static constexpr std::size_t kNone = static_cast<std::size_t>(-1);

    PropertyList();
    PropertyList(const PropertyList& other);
    PropertyList(PropertyList&& other) noexcept;
    PropertyList& operator=(const PropertyList& other);
    PropertyList& operator=(PropertyList&& other) noexcept;
    ~PropertyList();

    bool empty() const { return entries.empty(); }
    std::size_t size() const { return entries.size(); }
    iterator begin() const { return entries.begin(); }
    iterator end() const { return entries.end(); }
    /// Checked: `std::out_of_range`, "Expected idx < size()".
    const PropertyPtr& operator[](std::size_t i) const { return zr::at(entries, i); }

    /// The position of the first property of that name, `kNone` when there is none.
    std::size_t find(std::string_view name) const;
    /// Puts the property in the place of the first one of its name, or at the end. A null pointer is ignored.
    void set(const PropertyPtr& property);
    /// Appends whatever the name is. A null pointer is ignored.
    void push_back(const PropertyPtr& property);
    /// Removes one entry; the later ones move down. Checked as the subscript.
    void erase(std::size_t i);
    void clear();

private:
    struct Index;

    friend class IProperty;

    /// The index of a list that is long enough to have one, otherwise null.
    Index* freshIndex() const;
    static void addToIndex(Index& index, const IProperty& property, std::size_t place);
    /// Called before an indexed property is renamed.
    static void forgetNames();

    zr::vector<PropertyPtr> entries;
    mutable std::unique_ptr<Index> names;
};

/// The first property of that name; null when there is none.
PropertyPtr findProperty(const PropertyList& list, std::string_view name);

/// `PropertyList::set`.
void setProperty(PropertyList& list, const PropertyPtr& property);

/// Whether the lists are equally long and each property of `a` has an equal one in `b`. One entry of `b` can answer for
/// two of `a`, so the order of the arguments matters for lists with repeated entries.
bool propertiesEqual(const PropertyList& a, const PropertyList& b);

/// Calls the function with the argument of each animated property that has one, in list order.
void forEachArgument(const PropertyList& list, const std::function<void(u32)>& function);
} // namespace model
