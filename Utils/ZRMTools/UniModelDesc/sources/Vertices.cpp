#include "Vertices.h"

#include <algorithm>
#include <bit>

#include <fmt/format.h>

#include "io/IBinaryFileW.h"
#include "mesh/Lanes.h"
#include <zr/exceptions.h>

namespace model
{
namespace
{
zr::string missingText(i32 semantic)
{
    const std::string text = fmt::format("Vertices don't have {} attribute.", getSemanticName(semantic));
    return zr::string(text.begin(), text.end());
}
} // namespace

Attribute& Vertices::getAttribute(i32 semantic)
{
    Attribute* attribute = findAttribute(semantic);
    if (!attribute) ZR_RAISE(missingText(semantic));
    return *attribute;
}

const Attribute& Vertices::getAttribute(i32 semantic) const
{
    const Attribute* attribute = findAttribute(semantic);
    if (!attribute) ZR_RAISE(missingText(semantic));
    return *attribute;
}

Attribute* Vertices::findAttribute(i32 semantic)
{
    const auto found = unpacked().find(semantic);
    return found == attributes.end() ? nullptr : &found->second;
}

const Attribute* Vertices::findAttribute(i32 semantic) const
{
    const auto found = unpacked().find(semantic);
    return found == attributes.end() ? nullptr : &found->second;
}

Vertices Vertices::withoutData() const
{
    Vertices result;
    for (const auto& [semantic, attribute] : attributes)
        result.attributes[semantic].stride = attribute.stride;
    return result;
}

u32 Vertices::getVertexCount() const
{
    if (packed) return static_cast<u32>(packed.getCount());
    if (isSharing()) return sources.back().first + sources.back().count;
    return attributes.empty() ? 0 : static_cast<u32>(attributes.begin()->second.count());
}

u32 Vertices::getStride() const
{
    u32 sum = 0;
    for (const auto& [semantic, attribute] : attributes)
        sum += attribute.stride;
    return sum;
}

u32 Vertices::strideOf(i32 semantic) const
{
    const auto found = attributes.find(semantic);
    return found == attributes.end() ? 0 : found->second.stride;
}

bool Vertices::isValid() const
{
    return std::all_of(attributes.begin(), attributes.end(),
                       [](const auto& entry)
                       {
                           const Attribute& attribute = entry.second;
                           return attribute.count() * attribute.stride == attribute.data.size();
                       });
}

void Vertices::prefetch() const
{
    for (const auto& [semantic, attribute] : attributes)
        prefetchFloats(attribute.data.data(), attribute.data.size());
}

bool Vertices::isConsistent() const
{
    if (packed || isSharing()) return true;
    const u32 count = getVertexCount();
    return isValid() && std::all_of(attributes.begin(), attributes.end(), [count](const auto& entry)
                                    { return entry.second.stride == 0 || entry.second.count() == count; });
}

void Vertices::checkConsistent() const
{
    if (!isConsistent()) ZR_RAISE("Vertex data is invalid.");
}

void Vertices::getFormat(VertexFormat& format) const
{
    format.fill(0);
    for (const auto& [semantic, attribute] : attributes)
        format[static_cast<std::size_t>(semantic)] = static_cast<u8>(attribute.stride);
}

bool Vertices::matchesFormat(const VertexFormat& format) const
{
    for (std::size_t semantic = 0; semantic < kNumSemantics; ++semantic)
        if (strideOf(static_cast<i32>(semantic)) != format[semantic]) return false;
    return true;
}

void Vertices::setFormat(const VertexFormat& format)
{
    packed = {};
    sources.clear();
    attributes.clear();
    for (std::size_t semantic = 0; semantic < kNumSemantics; ++semantic)
        if (format[semantic] != 0) attributes[static_cast<i32>(semantic)].stride = format[semantic];
}

void Vertices::write(io::IBinaryFileW& file) const
{
    checkConsistent();
    const u32 count = getVertexCount();
    const u32 stride = count ? getStride() : 0;
    file.writeU32(count);
    file.writeU32(stride);
    if (count == 0) return;
    // A file is little-endian, so on such a host packed vertices are its very bytes, and floats go straight to their
    // place in it.
    if constexpr (std::endian::native != std::endian::little)
        for (const f32 value : interleave())
            file.writeF32(value);
    else if (packed)
        file.writeLasting(packed.data(), packed.size());
    else
        interleaveInto(file.append(std::size_t{count} * stride * sizeof(f32)), 0, count);
}

bool Vertices::hasAttributesOf(const Vertices& other) const
{
    return std::equal(attributes.begin(), attributes.end(), other.attributes.begin(), other.attributes.end(),
                      [](const auto& a, const auto& b)
                      { return a.first == b.first && a.second.stride == b.second.stride; });
}

bool Vertices::append(const Vertices& other)
{
    if (!hasAttributesOf(other)) return false;
    for (auto& [semantic, attribute] : unpacked())
    {
        zr::vector<f32>& data = attribute.data;
        const zr::vector<f32>& added = other.unpacked().find(semantic)->second.data;
        const std::size_t size = added.size(); // `other` may be this object
        data.resize(data.size() + size);
        std::copy_n(added.begin(), size, data.end() - static_cast<std::ptrdiff_t>(size));
    }
    return true;
}
} // namespace model
