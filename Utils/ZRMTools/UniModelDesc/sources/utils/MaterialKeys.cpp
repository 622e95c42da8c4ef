#include "utils/MaterialKeys.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>

#include "properties/Properties.h"

namespace model
{
namespace
{
/// Beyond this, the keys of an animation hardly tell materials apart any more.
constexpr std::size_t kMaxNumbers = 64;

template <class T>
void appendBytes(zr::string& out, const T& value)
{
    out.append(reinterpret_cast<const char*>(&value), sizeof(value));
}

void appendText(zr::string& out, const zr::string& text)
{
    appendBytes(out, text.size());
    out += text;
}

/// The exact part of a property's value as bytes, the rest as numbers.
class ValueCollector final : public IPropertyVisitor
{
public:
    ValueCollector(zr::string& exactBytes, zr::vector<f64>& valueNumbers) : exact(exactBytes), numbers(valueNumbers) {}

    void visit(AnimatedVec4fProperty& property) override { addKeys(property); }
    void visit(AnimatedVec3fProperty& property) override { addKeys(property); }
    void visit(AnimatedVec2fProperty& property) override { addKeys(property); }
    void visit(AnimatedFloatProperty& property) override { addKeys(property); }
    void visit(ArgumentProperty& property) override { appendBytes(exact, property.argument); }
    void visit(StringProperty& property) override { appendText(exact, property.value); }
    void visit(Vec4fProperty& property) override { add(property.value); }
    void visit(Vec3fProperty& property) override { add(property.value); }
    void visit(Vec2fProperty& property) override { add(property.value); }
    void visit(FloatProperty& property) override { add(property.value); }
    void visit(UIntProperty& property) override { appendBytes(exact, property.value); }

private:
    void add(f64 number)
    {
        if (numbers.size() < kMaxNumbers) numbers.push_back(number);
    }
    void add(f32 number) { add(static_cast<f64>(number)); }
    template <class Vector>
    void add(const Vector& vector)
    {
        for (unsigned i = 0; i < Vector::num_components; ++i)
            add(vector[i]);
    }
    template <class Property>
    void addKeys(const Property& property)
    {
        appendBytes(exact, property.argument);
        appendBytes(exact, property.keys.size());
        for (const auto& key : property.keys)
        {
            if (numbers.size() >= kMaxNumbers) return;
            add(key.time);
            add(key.value);
        }
    }

    zr::string& exact;
    zr::vector<f64>& numbers;
};

void appendExactFields(zr::string& out, const PropertiesSet& material)
{
    appendText(out, material.name);
    appendBytes(out, material.blending);
    appendBytes(out, material.vertexFormat.values);
    appendBytes(out, material.channels.values);
    appendText(out, material.materialName);
    for (const u8 flag :
         {material.depthBias, material.castsShadow, material.shadowFlag2, material.decalId, material.billboard})
        appendBytes(out, flag);
    appendBytes(out, material.billboardMode1);
    appendBytes(out, material.billboardMode2);
    for (const TextureSlot& slot : material.textures)
    {
        appendText(out, slot.name);
        if (!slot.isUsed()) continue;
        appendBytes(out, slot.sampler.values);
        appendBytes(out, slot.textureIndex);
    }
    appendBytes(out, material.properties.size());
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
    appendExactFields(key.exact, material);

    zr::vector<IProperty*> list;
    for (const PropertyPtr& property : material.properties)
        list.push_back(property.get());
    std::stable_sort(list.begin(), list.end(),
                     [](const IProperty* a, const IProperty* b) { return compareNames(*a, *b) < 0; });
    ValueCollector collector(key.shape, key.numbers);
    for (std::size_t i = 0; i < list.size(); ++i)
    {
        const bool isKnownName = i > 0 && compareNames(*list[i - 1], *list[i]) == 0;
        // Entries of one name that are not all the same object are irregular, whatever their order.
        if (isKnownName && list[i - 1] != list[i]) key.isIrregular = true;
        if (isKnownName) continue;
        ++key.distinct;
        appendText(key.shape, list[i]->getName());
        key.shape.append(list[i]->tag, 4);
        list[i]->accept(collector);
    }
    key.isRepeating = key.distinct < list.size();
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
