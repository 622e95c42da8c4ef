#include "materials/TextureSlots.h"

#include <algorithm>
#include <cmath>

namespace model
{
TextureSlot& TextureSlot::operator=(const TextureSlot& other)
{
    name = other.name;
    sampler = other.sampler;
    textureIndex = other.textureIndex;
    return *this;
}

bool TextureSlot::isEqual(const TextureSlot& other) const
{
    return name == other.name && sampler == other.sampler && textureIndex == other.textureIndex &&
           std::equal(std::begin(matrix.m), std::end(matrix.m), std::begin(other.matrix.m),
                      [](f32 a, f32 b) { return std::abs(a - b) <= 1e-5f; });
}

TextureSlot& TextureSlots::operator[](std::size_t number)
{
    u8& place = places[number];
    if (place == 0)
    {
        slots.emplace_back();
        place = static_cast<u8>(slots.size());
    }
    return slots[place - 1u];
}

void TextureSlots::set(std::size_t number, const char* textureName)
{
    const TextureSlot slot(textureName);
    if (slot.isUsed() || places[number]) (*this)[number] = slot;
}

std::size_t TextureSlots::countUsed() const
{
    return static_cast<std::size_t>(
        std::count_if(slots.begin(), slots.end(), [](const TextureSlot& slot) { return slot.isUsed(); }));
}

bool TextureSlots::isEqual(const TextureSlots& other) const
{
    for (std::size_t number = 0; number < kNumTextures; ++number)
    {
        const TextureSlot* a = find(number);
        const TextureSlot* b = other.find(number);
        if (a && b ? !a->isEqual(*b) : a != b) return false;
    }
    return true;
}
} // namespace model
