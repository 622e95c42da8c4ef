#pragma once

#include <cstring>
#include <string_view>
#include <utility>

#include <zr/memory.h>

namespace zr
{
/// A growable, zero-terminated text whose first characters need no heap; see `InlineString`.
class InlineStringBase
{
public:
    const char* c_str() const noexcept { return data; }
    char* begin() noexcept { return data; }
    char* end() noexcept { return data + length; }
    u64 size() const noexcept { return length; }
    bool empty() const noexcept { return length == 0; }
    /// Characters that fit without growing, the terminator not counted.
    u64 capacity() const noexcept { return data == inlinePtr ? inlineCapacity : heapCapacity; }
    std::string_view view() const noexcept { return {data, static_cast<std::size_t>(length)}; }

    /// Makes room for `wanted` characters; the text stays.
    void reserve(u64 wanted);

    void append(char character)
    {
        reserve(length + 1);
        data[length] = character;
        setLength(length + 1);
    }
    /// `text` may be part of this string.
    void append(std::string_view text);

    void assign(std::string_view text)
    {
        if (text.data() == data)
            setLength(text.size());
        else
        {
            clear();
            append(text);
        }
    }

    /// Cuts the text, or takes over characters that were written behind it; at most `capacity()`.
    void setLength(u64 characters) noexcept
    {
        length = characters;
        data[length] = '\0';
    }

    /// Keeps the heap block.
    void clear() noexcept { setLength(0); }

    /// Empties the text and gives the heap block back.
    void shrink() noexcept
    {
        std::free(std::exchange(heapPtr, nullptr));
        heapCapacity = 0;
        data = inlinePtr;
        clear();
    }

protected:
    InlineStringBase(char* inlineArea, u64 inlineCharacters) noexcept
        : inlinePtr(inlineArea),
          inlineCapacity(inlineCharacters),
          data(inlineArea)
    {
    }
    InlineStringBase(const InlineStringBase&) = delete;
    InlineStringBase& operator=(const InlineStringBase&) = delete;
    ~InlineStringBase() { std::free(heapPtr); }

    /// Takes the heap block of `other`, or copies its inline text; both have inline areas of the same size.
    void take(InlineStringBase& other) noexcept;

private:
    char* inlinePtr;
    u64 inlineCapacity;
    char* heapPtr = nullptr; // not null exactly while the text lies there
    u64 heapCapacity = 0;
    char* data;
    u64 length = 0;
};

/// A text with room for `Capacity` characters and the terminator directly behind its fields.
template <u64 Capacity>
class InlineString : public InlineStringBase
{
public:
    InlineString() noexcept : InlineStringBase(area, Capacity) { clear(); }
    explicit InlineString(std::string_view text) : InlineString() { append(text); }
    InlineString(const InlineString& other) : InlineString(other.view()) {}
    InlineString(InlineString&& other) noexcept : InlineString() { take(other); }
    InlineString& operator=(const InlineString& other)
    {
        assign(other.view());
        return *this;
    }
    InlineString& operator=(InlineString&& other) noexcept
    {
        if (this != &other) take(other);
        return *this;
    }

private:
    char area[Capacity + 1];
};
} // namespace zr
