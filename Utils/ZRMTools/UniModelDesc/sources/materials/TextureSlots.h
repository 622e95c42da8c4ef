#pragma once

#include "base/types.h"
#include <zr/array.h>
#include <zr/containers.h>

namespace model
{
/// A texture and how it is sampled.
struct TextureSlot
{
    TextureSlot() = default;
    /// A slot with this file name and defaults for the rest.
    explicit TextureSlot(const char* textureName) : name(textureName ? textureName : "") {}
    /// A copy is whole; an assignment leaves the matrix as it is.
    TextureSlot(const TextureSlot&) = default;
    TextureSlot& operator=(const TextureSlot& other);

    bool isUsed() const { return !name.empty(); }
    /// Name, sampler and index are equal, the matrices within 1e-5.
    bool isEqual(const TextureSlot& other) const;

    /// The file name; a slot without one is unused.
    zr::string name;
    matrixf matrix;
    zr::array<u32, 4> sampler{{2, 2, 10, 6}};
    u32 textureIndex = 0xFFFFFFFFu;
};

constexpr std::size_t kNumTextures = 19;

/// The texture slots of a material. A model can have tens of thousands of materials with one or two textures each, so a
/// slot takes memory only once it is written to. Numbers are checked: `std::out_of_range`, "zr::array: index out of
/// range".
class TextureSlots
{
public:
    /// The slot if it is used, otherwise null.
    const TextureSlot* find(std::size_t number) const
    {
        const u8 place = places[number];
        return place && slots[place - 1].isUsed() ? &slots[place - 1] : nullptr;
    }
    /// Makes the slot when it has no memory yet. Valid until the next slot is made.
    TextureSlot& operator[](std::size_t number);
    /// The slot gets the name, and of a new slot all else but the matrix. Null is the empty name.
    void set(std::size_t number, const char* textureName);
    /// How many slots are used.
    std::size_t countUsed() const;
    /// Whether the same slots are used, with equal textures.
    bool isEqual(const TextureSlots& other) const;

private:
    /// One more than the place of each slot in `slots`; 0 for a slot that was never written to.
    zr::array<u8, kNumTextures> places;
    zr::vector<TextureSlot> slots;
};
} // namespace model
