#include "materials/PropertyList.h"
#include <zr/checked.h>

#include <algorithm>
#include <atomic>
#include <string_view>

#include <parallel_hashmap/phmap.h>

namespace model
{
namespace
{
constexpr std::size_t kLongestUnindexed = 32;

/// Raised whenever a property that stands in an index gets another name: every index made before is out of date.
std::atomic<u64> renames{0};
} // namespace

/// The position of the first property of each name. The keys are the properties' own names.
struct PropertyList::Index
{
    u64 madeAt = renames.load();
    phmap::flat_hash_map<std::string_view, std::size_t> first;
};

PropertyList::PropertyList() = default;
PropertyList::PropertyList(const PropertyList& other) : entries(other.entries) {}
PropertyList::PropertyList(PropertyList&&) noexcept = default;
PropertyList& PropertyList::operator=(PropertyList&&) noexcept = default;
PropertyList::~PropertyList() = default;

PropertyList& PropertyList::operator=(const PropertyList& other)
{
    return *this = PropertyList(other);
}

std::size_t PropertyList::find(std::string_view name) const
{
    if (const Index* index = freshIndex())
    {
        const auto found = index->first.find(name);
        return found == index->first.end() ? kNone : found->second;
    }
    for (std::size_t i = 0; i < entries.size(); ++i)
        if (entries[i]->getName() == name) return i;
    return kNone;
}

void PropertyList::set(const PropertyPtr& property)
{
    if (!property) return;
    const std::size_t place = find(property->getName());
    if (place == kNone)
    {
        push_back(property);
        return;
    }
    if (names)
    {
        // The key must not point into the object that leaves.
        names->first.erase(property->getName());
        addToIndex(*names, *property, place);
    }
    entries[place] = property;
}

void PropertyList::push_back(const PropertyPtr& property)
{
    if (!property) return;
    entries.push_back(property);
    // An index that is out of date may point to names that are gone; it must not be asked again.
    if (names && names->madeAt == renames.load())
        addToIndex(*names, *property, entries.size() - 1);
    else
        names.reset();
}

void PropertyList::erase(std::size_t i)
{
    zr::at(entries, i);
    names.reset();
    entries.erase(entries.begin() + static_cast<std::ptrdiff_t>(i));
}

void PropertyList::clear()
{
    names.reset();
    entries.clear();
}

PropertyList::Index* PropertyList::freshIndex() const
{
    if (entries.size() <= kLongestUnindexed) return nullptr;
    if (!names || names->madeAt != renames.load())
    {
        names = std::make_unique<Index>();
        names->first.reserve(entries.size());
        for (std::size_t i = 0; i < entries.size(); ++i)
            addToIndex(*names, *entries[i], i);
    }
    return names.get();
}

void PropertyList::addToIndex(Index& index, const IProperty& property, std::size_t place)
{
    property.isIndexed = true;
    index.first.emplace(property.getName(), place);
}

void PropertyList::forgetNames()
{
    renames.fetch_add(1);
}

PropertyPtr findProperty(const PropertyList& list, std::string_view name)
{
    const std::size_t place = list.find(name);
    return place == PropertyList::kNone ? nullptr : list[place];
}

void setProperty(PropertyList& list, const PropertyPtr& property)
{
    list.set(property);
}

namespace
{
bool hasEqual(const PropertyList& list, const IProperty& property)
{
    return std::any_of(list.begin(), list.end(), [&](const PropertyPtr& entry) { return property.equals(entry); });
}

/// Equal properties have equal names, so a long list need only be searched among those of one name.
class PropertiesByName
{
public:
    explicit PropertiesByName(const PropertyList& list) : entries(list.begin(), list.end())
    {
        std::sort(entries.begin(), entries.end(),
                  [](const PropertyPtr& a, const PropertyPtr& b) { return a->getName() < b->getName(); });
    }

    bool hasEqual(const IProperty& property) const
    {
        const zr::string& name = property.getName();
        auto entry = std::lower_bound(entries.begin(), entries.end(), name,
                                      [](const PropertyPtr& a, const zr::string& key) { return a->getName() < key; });
        for (; entry != entries.end() && (*entry)->getName() == name; ++entry)
            if (property.equals(*entry)) return true;
        return false;
    }

private:
    zr::vector<PropertyPtr> entries;
};
} // namespace

bool propertiesEqual(const PropertyList& a, const PropertyList& b)
{
    if (a.size() != b.size()) return false;
    if (a.size() <= kLongestUnindexed)
        return std::all_of(a.begin(), a.end(), [&](const PropertyPtr& entry) { return hasEqual(b, *entry); });
    const PropertiesByName others(b);
    return std::all_of(a.begin(), a.end(), [&](const PropertyPtr& entry) { return others.hasEqual(*entry); });
}

void forEachArgument(const PropertyList& list, const std::function<void(u32)>& function)
{
    for (const PropertyPtr& property : list)
        reportArgument(property.get(), function);
}
} // namespace model
