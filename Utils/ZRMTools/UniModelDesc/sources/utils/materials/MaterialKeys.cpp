#include "utils/materials/MaterialKeys.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <limits>
#include <numeric>

#include "materials/Properties.h"

namespace model
{
namespace
{
/// Beyond this, the keys of an animation hardly tell materials apart any more.
constexpr std::size_t kMaxNumbers = 64;

/// A hash of whatever is added, in its order. It is the same everywhere, and never shows.
class Hasher
{
public:
    template <class T>
    void add(const T& value)
    {
        addBytes(&value, sizeof(value));
    }
    void addText(const zr::string& text)
    {
        add(text.size());
        addBytes(text.data(), text.size());
    }
    u64 value() const { return state; }

private:
    void addBytes(const void* data, std::size_t size)
    {
        for (const char* bytes = static_cast<const char*>(data); size != 0;)
        {
            const std::size_t part = std::min(size, sizeof(u64));
            u64 word = 0;
            std::memcpy(&word, bytes, part);
            state = (std::rotl(state, 23) ^ word) * 0x9E3779B97F4A7C15u;
            state ^= state >> 29;
            bytes += part;
            size -= part;
        }
    }

    u64 state = 0x165667B19E3779F9u;
};

/// The exact part of a property's value into a hash, the rest as numbers.
class ValueCollector final : public IPropertyVisitor
{
public:
    ValueCollector(Hasher& hasher, zr::vector<f64>& valueNumbers) : exact(hasher), numbers(valueNumbers) {}

    void visit(AnimatedVec4fProperty& property) override { addKeys(property); }
    void visit(AnimatedVec3fProperty& property) override { addKeys(property); }
    void visit(AnimatedVec2fProperty& property) override { addKeys(property); }
    void visit(AnimatedFloatProperty& property) override { addKeys(property); }
    void visit(ArgumentProperty& property) override { exact.add(property.argument); }
    void visit(StringProperty& property) override { exact.addText(property.value); }
    void visit(Vec4fProperty& property) override { add(property.value); }
    void visit(Vec3fProperty& property) override { add(property.value); }
    void visit(Vec2fProperty& property) override { add(property.value); }
    void visit(FloatProperty& property) override { add(property.value); }
    void visit(UIntProperty& property) override { exact.add(property.value); }

private:
    void add(f64 number)
    {
        if (numbers.size() < kMaxNumbers) numbers.push_back(number);
    }
    void add(f32 number) { add(static_cast<f64>(number)); }
    template <class Vector>
    void add(const Vector& vector)
    {
        for (std::size_t i = 0; i < Vector::num_components; ++i)
            add(vector.ptr()[i]);
    }
    template <class Property>
    void addKeys(const Property& property)
    {
        exact.add(property.argument);
        exact.add(property.keys.size());
        for (const auto& key : property.keys)
        {
            if (numbers.size() >= kMaxNumbers) return;
            add(key.time);
            add(key.value);
        }
    }

    Hasher& exact;
    zr::vector<f64>& numbers;
};

u64 hashExactFields(const PropertiesSet& material)
{
    Hasher hasher;
    hasher.addText(material.name);
    hasher.add(material.blending);
    hasher.add(material.vertexFormat.values);
    hasher.add(material.channels.values);
    hasher.addText(material.materialName);
    for (const u8 flag :
         {material.depthBias, material.castsShadow, material.shadowFlag2, material.decalId, material.billboard})
        hasher.add(flag);
    hasher.add(material.billboardMode1);
    hasher.add(material.billboardMode2);
    for (std::size_t number = 0; number < kNumTextures; ++number)
        if (const TextureSlot* slot = material.textures.find(number))
        {
            hasher.add(number);
            hasher.addText(slot->name);
            hasher.add(slot->sampler.values);
            hasher.add(slot->textureIndex);
        }
    hasher.add(material.properties.size());
    return hasher.value();
}

int compareNames(const IProperty& a, const IProperty& b)
{
    const int byName = a.getName().compare(b.getName());
    return byName ? byName : std::char_traits<char>::compare(a.tag, b.tag, 4);
}
} // namespace

MaterialKey makeMaterialKey(const PropertiesSet& material)
{
    MaterialKey key;
    key.exact = hashExactFields(material);

    zr::vector<IProperty*> list;
    for (const PropertyPtr& property : material.properties)
        list.push_back(property.get());
    std::sort(list.begin(), list.end(),
              [](const IProperty* a, const IProperty* b) { return compareNames(*a, *b) < 0; });
    Hasher shape;
    ValueCollector collector(shape, key.numbers);
    for (std::size_t i = 0; i < list.size(); ++i)
    {
        key.isIrregular |= i > 0 && compareNames(*list[i - 1], *list[i]) == 0;
        shape.addText(list[i]->getName());
        shape.add(list[i]->tag);
        list[i]->accept(collector);
    }
    key.shape = shape.value();
    return key;
}

zr::vector<u32> partByTolerance(const zr::vector<const zr::vector<f64>*>& rows, f64 tolerance)
{
    zr::vector<u32> classes(rows.size(), 0);
    zr::vector<u32> order(rows.size());
    std::iota(order.begin(), order.end(), 0u);
    const std::size_t columns = rows.empty() ? 0 : rows.front()->size();
    for (std::size_t column = 0; column < columns; ++column)
    {
        const auto value = [&](u32 row)
        {
            const f64 x = (*rows[row])[column];
            return std::isnan(x) ? std::numeric_limits<f64>::infinity() : x;
        };
        const auto isFirst = [&](u32 row) { return value(row) == value(0); };
        if (std::all_of(order.begin(), order.end(), isFirst)) continue;
        // Within each class so far, a gap between neighbours that is wider than the tolerance parts it.
        std::sort(order.begin(), order.end(),
                  [&](u32 a, u32 b)
                  {
                      if (classes[a] != classes[b]) return classes[a] < classes[b];
                      return value(a) < value(b);
                  });
        zr::vector<u32> refined(rows.size());
        u32 current = 0;
        for (std::size_t i = 1; i < order.size(); ++i)
        {
            const u32 previous = order[i - 1];
            const u32 row = order[i];
            if (classes[row] != classes[previous] || value(row) - value(previous) > tolerance) ++current;
            refined[row] = current;
        }
        if (!order.empty()) refined[order.front()] = 0;
        classes = std::move(refined);
    }
    return classes;
}
} // namespace model
