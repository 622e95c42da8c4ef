#pragma once

#include <atomic>
#include <cstdint>

#include <zr/threads/SpinWait.h>

/// The lock-free list of the log's records, of the object pools and of the queues: a pointer that reads all ones while
/// a thread holds it, and on top of it a list that is pushed and popped at its head.
///
/// States of the word, and who moves it:
///
///     null or a node --hold (CAS)--> all ones --letGo (store), by the holder alone--> null or a node
///     null or a node --change (CAS)--> null or a node
///
/// A thread that finds all ones waits, a few instructions of the holder long. So the list is free of locks in the
/// sense that no system call is made, not in the sense that a stopped holder stops nobody.
///
/// Why there is no ABA: a popper needs the `next` of the first node and must not read it from a node that another
/// thread has popped meanwhile. It reads it only while it holds the word, when nobody can pop. A pusher compares with
/// the first node that it has linked; if that node was popped and came back in between, the link is right again.
///
/// Why these orders suffice:
/// - A push ends in a CAS with release: what the pusher wrote into the node, `next` included, comes before. Pushes
///   that follow are read-modify-writes and so continue its release sequence.
/// - hold and exchange acquire: they see every node whose push came before in the order of the word.
/// - letGo is a store and ends those sequences, but it releases, and its thread has acquired all of them: whoever
///   acquires from the store sees the remaining nodes too, and the holder's writes between hold and letGo.
/// - Loads before a CAS are relaxed: the CAS decides.
namespace zr
{
/// A pointer to a T that one thread at a time may hold. No two threads are ever inside `hold` ... `letGo`.
template <class T>
class HeldPointer
{
public:
    constexpr HeldPointer() noexcept = default;
    explicit HeldPointer(T* value) noexcept : word(asWord(value)) {}

    /// Waits until nobody holds the pointer, holds it, and gives its value. Ends by `letGo`.
    T* hold() noexcept
    {
        return change([](T*) { return kHeld; });
    }

    /// Ends `hold` with a new value.
    void letGo(T* value) noexcept { word.store(asWord(value), std::memory_order_release); }

    /// Puts `value` in the place of what stands there, and gives that; waits while the pointer is held.
    T* exchange(T* value) noexcept
    {
        return change([value](T*) { return asWord(value); });
    }

    /// As `exchange`, with a value that may depend on the old one: `newValue(T* old)` gives a `T*` and runs before
    /// each try, so it may link a node that nobody else knows yet.
    template <class NewValue>
    T* replace(NewValue newValue) noexcept
    {
        return change([&newValue](T* old) { return asWord(newValue(old)); });
    }

    /// The value if it is `expected` becomes `value`. False, with nothing changed, if it is another or is held.
    bool replaceIf(T* expected, T* value) noexcept
    {
        std::uintptr_t old = asWord(expected);
        return word.compare_exchange_strong(old, asWord(value), std::memory_order_acq_rel, std::memory_order_relaxed);
    }

    /// Whether the pointer is null at this moment; a held one is not.
    bool isNull() const noexcept { return word.load(std::memory_order_relaxed) == 0; }

private:
    static constexpr std::uintptr_t kHeld = ~std::uintptr_t{0};

    static std::uintptr_t asWord(T* value) noexcept { return reinterpret_cast<std::uintptr_t>(value); }

    template <class NewWord>
    T* change(NewWord newWord) noexcept
    {
        SpinWait wait;
        for (std::uintptr_t old = word.load(std::memory_order_relaxed);;)
        {
            if (old == kHeld)
            {
                wait();
                old = word.load(std::memory_order_relaxed);
                continue;
            }
            T* const value = reinterpret_cast<T*>(old);
            if (word.compare_exchange_weak(old, newWord(value), std::memory_order_acq_rel, std::memory_order_relaxed))
                return value;
        }
    }

    std::atomic<std::uintptr_t> word{0};
};

/// A list of nodes that the caller owns, linked by their member `T* next`; last in, first out. Any thread may call
/// anything at any time.
template <class T>
class HeldList
{
public:
    void push(T* node) noexcept
    {
        head.replace(
            [node](T* first)
            {
                node->next = first;
                return node;
            });
    }

    /// The node that was pushed last; null when the list is empty.
    T* pop() noexcept
    {
        if (head.isNull()) return nullptr;
        T* const first = head.hold();
        head.letGo(first ? first->next : nullptr);
        return first;
    }

    /// Empties the list and gives its nodes, linked, the last pushed first.
    T* takeAll() noexcept { return head.isNull() ? nullptr : head.exchange(nullptr); }

    bool isEmpty() const noexcept { return head.isNull(); }

private:
    HeldPointer<T> head;
};
} // namespace zr
