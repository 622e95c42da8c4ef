#pragma once

#include <array>
#include <concepts>
#include <optional>

#include <pybind11/pybind11.h>

#include "bind/Place.h"
#include "bind/arrays.h"
#include "bind/sequences.h"
#include "inc/Arguments.h"
#include "inc/Facade.h"
#include <zr/array.h>

/// How the values of scripts become the arguments of facades: `Reader<T>::read(value, place)` gives a T, raises
/// TypeError with the place of what is no T, or lets an exception of the script through.
namespace pyzrm
{
template <class T>
constexpr const char* kWanted = nullptr;
template <>
inline constexpr const char* kWanted<bool> = "a bool";
template <>
inline constexpr const char* kWanted<f32> = "a float";
template <>
inline constexpr const char* kWanted<u32> = "an int from 0 to 4294967295";
template <>
inline constexpr const char* kWanted<i64> = "an int";
template <>
inline constexpr const char* kWanted<zr::string> = "a str";

/// Single values, as pybind11 takes them.
template <class T>
struct Reader
{
    static T read(py::handle source, const Place& place)
    {
        py::detail::make_caster<T> caster;
        if (!caster.load(source, /*convert=*/true)) place.refuse(kWanted<T>, source);
        return py::detail::cast_op<T>(std::move(caster));
    }
};

template <>
struct Reader<WholeNumber>
{
    static WholeNumber read(py::handle source, const Place& place)
    {
        int overflow = 0;
        i64 value = 0;
        const auto whole = py::reinterpret_steal<py::object>(PyNumber_Index(source.ptr()));
        if (whole) value = PyLong_AsLongLongAndOverflow(whole.ptr(), &overflow);
        PyErr_Clear();
        if (whole && !overflow && value >= INT32_MIN && value <= UINT32_MAX) return {value};
        place.refuse("an int from -2147483648 to 4294967295", source);
    }
};

/// A facade. pybind11 by itself makes null of None, and fresh memory of an object whose `__init__` never ran.
template <class T>
struct Reader<Ref<T>>
{
    static Ref<T> read(py::handle source, const Place& place)
    {
        py::detail::make_caster<std::shared_ptr<T>> caster;
        try
        {
            if (!caster.load(source, /*convert=*/false)) place.refuse("a " + nameOf(py::type::of<T>()), source);
        }
        catch (const py::cast_error&)
        {
            throw py::type_error(nameOf(py::type::handle_of(source)) + ".__init__() was not called");
        }
        // Python lets a script assign `__class__`; what counts is the object behind it.
        if (!dynamic_cast<T*>(static_cast<Facade*>(caster.value)))
            throw py::type_error("The object was not made as a " + nameOf(py::type::handle_of(source)));
        return Ref<T>(static_cast<std::shared_ptr<T>&>(caster));
    }

private:
    static std::string nameOf(py::handle type) { return py::str(type.attr("__name__")); }
};

/// None, or a T.
template <class T>
struct Reader<std::optional<T>>
{
    static std::optional<T> read(py::handle source, const Place& place)
    {
        if (source.is_none()) return {};
        return Reader<T>::read(source, place);
    }
};

template <class... T>
struct Reader<std::tuple<T...>>
{
    static std::tuple<T...> read(py::handle source, const Place& place)
    {
        std::array<py::object, sizeof...(T)> items;
        if (!takeItems(source, items)) place.refuse("a tuple of " + std::to_string(sizeof...(T)));
        return [&]<std::size_t... I>(std::index_sequence<I...>)
        { return std::tuple<T...>{Reader<T>::read(items[I], place)...}; }(std::index_sequence_for<T...>());
    }
};

/// The values x, y ... of one thing, which a mistake names as a whole.
template <std::size_t N>
std::array<f32, N> readFloats(std::array<py::object, N> items, bool isComplete, const Place& place)
{
    constexpr const char* kNumbers[] = {"no", "one", "two", "three", "four", "five", "six"};
    std::array<f32, N> floats{};
    for (std::size_t i = 0; i < N; ++i)
    {
        py::detail::make_caster<f32> caster;
        if (!isComplete || !caster.load(items[i], /*convert=*/true)) place.refuse(std::string(kNumbers[N]) + " floats");
        floats[i] = py::detail::cast_op<f32>(caster);
    }
    return floats;
}

template <std::same_as<f32>... T>
    requires(sizeof...(T) > 1)
struct Reader<std::tuple<T...>>
{
    static std::tuple<T...> read(py::handle source, const Place& place)
    {
        std::array<py::object, sizeof...(T)> items;
        const bool isComplete = takeItems(source, items);
        return std::tuple_cat(readFloats(std::move(items), isComplete, place));
    }
};

template <class T>
struct Reader<zr::vector<T>>
{
    static zr::vector<T> read(py::handle source, const Place& place)
    {
        const std::vector<py::object> items = snapshot(source, place);
        zr::vector<T> list;
        list.reserve(items.size());
        for (std::size_t i = 0; i < items.size(); ++i)
            list.push_back(Reader<T>::read(items[i], place.at(i)));
        return list;
    }
};

/// Other than a tuple of floats this may be a set, a generator ...
template <>
struct Reader<zr::array<f32, 3>>
{
    static zr::array<f32, 3> read(py::handle source, const Place& place)
    {
        const std::vector<py::object> items = snapshot(source, place);
        if (items.size() != 3) place.refuse("three floats");
        const auto [x, y, z] = readFloats<3>({items[0], items[1], items[2]}, /*isComplete=*/true, place);
        zr::array<f32, 3> point;
        point[0] = x;
        point[1] = y;
        point[2] = z;
        return point;
    }
};

template <class T>
struct Reader<FlatArray<T>>
{
    static FlatArray<T> read(py::handle source, const Place& place)
    {
        const auto array = py::array_t<T, py::array::forcecast>::ensure(source);
        if (!array) place.refuse("an array of numbers", source);
        return {copyFlat<T>(array)};
    }
};

template <class T>
struct Reader<NumberList<T>>
{
    static NumberList<T> read(py::handle source, const Place& place)
    {
        zr::vector<T> values;
        if (copyExact(source, values, place)) return {std::move(values)};
        return {Reader<zr::vector<T>>::read(source, place)};
    }
};
} // namespace pyzrm
