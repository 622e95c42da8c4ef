#pragma once

#include <memory>
#include <utility>

namespace pyzrm
{
/// Base of everything that Python holds. It has to be the first base of each class: the binding finds out through it
/// what an object really is, whatever class Python claims it has.
class Facade
{
public:
    Facade() = default;
    Facade(const Facade&) = delete;
    Facade& operator=(const Facade&) = delete;
    virtual ~Facade() = default;
};

/// A facade that a script passes in: never null, and its constructor has run.
template <class T>
class Ref
{
public:
    explicit Ref(std::shared_ptr<T> facade) : pointer(std::move(facade)) {}

    T& operator*() const { return *pointer; }
    T* operator->() const { return pointer.get(); }
    /// For a facade that is kept or handed back.
    const std::shared_ptr<T>& shared() const { return pointer; }

private:
    std::shared_ptr<T> pointer;
};
} // namespace pyzrm
