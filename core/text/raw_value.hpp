#pragma once
// The raw value of each case of an enumeration: its name as written in the
// code, which is what settings, files and the command line's JSON hold. An
// enumeration takes part by naming its cases once, beside its declaration:
// BOOST_DESCRIBE_ENUM(Kind, a, b) (BOOST_DESCRIBE_NESTED_ENUM inside a class).
// Renaming a case renames what is stored.

#include <array>
#include <optional>
#include <string_view>
#include <type_traits>

#include <boost/describe/enum.hpp>
#include <boost/describe/enumerators.hpp>
#include <boost/mp11/algorithm.hpp>

namespace pivra {

template <class E>
concept DescribedEnum = std::is_enum_v<E> && boost::describe::has_describe_enumerators<E>::value;

// Every case, in declaration order.
template <DescribedEnum E>
constexpr auto enumCases() {
    using Cases = boost::describe::describe_enumerators<E>;
    std::array<E, boost::mp11::mp_size<Cases>::value> cases{};
    std::size_t i = 0;
    boost::mp11::mp_for_each<Cases>([&](auto c) { cases[i++] = c.value; });
    return cases;
}

// The name of `value`; empty for a value that is none of the cases.
template <DescribedEnum E>
constexpr std::string_view rawValue(E value) {
    std::string_view name;
    boost::mp11::mp_for_each<boost::describe::describe_enumerators<E>>([&](auto c) {
        if (c.value == value) name = c.name;
    });
    return name;
}

// The case named exactly `raw`; absent for any other text.
template <DescribedEnum E>
constexpr std::optional<E> fromRawValue(std::string_view raw) {
    std::optional<E> found;
    boost::mp11::mp_for_each<boost::describe::describe_enumerators<E>>([&](auto c) {
        if (!found && raw == c.name) found = c.value;
    });
    return found;
}

}  // namespace pivra
