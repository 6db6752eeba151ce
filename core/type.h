// Data types of ports and values.
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace tessel {

/// Data type of a port and tag of a `var_t`. The numeric order is the promotion order: of two types that meet in one
/// block the one with the higher number wins. 2 and 13 are holes of the numbering.
enum type_t : std::int8_t {
    type_unknown = 0,
    type_bool = 1,
    type_int8 = 3,
    type_uint8 = 4,
    type_int16 = 5,
    type_uint16 = 6,
    type_int32 = 7,
    type_uint32 = 8,
    type_int64 = 9,
    type_uint64 = 10,
    type_flt32 = 11,
    type_flt64 = 12,
    type_cstr = 14,
};

/// Short name ("flt64") of a type, null for unknown and for numbers that are no type.
constexpr const char* short_name(type_t type) noexcept {
    switch (type) {
        case type_bool: return "bool";
        case type_int8: return "int8";
        case type_uint8: return "uint8";
        case type_int16: return "int16";
        case type_uint16: return "uint16";
        case type_int32: return "int32";
        case type_uint32: return "uint32";
        case type_int64: return "int64";
        case type_uint64: return "uint64";
        case type_flt32: return "flt32";
        case type_flt64: return "flt64";
        case type_cstr: return "cstr";
        default: return nullptr;
    }
}

/// C spelling ("double") of a type as generated code uses it, null for unknown and for numbers that are no type.
constexpr const char* c_name(type_t type) noexcept {
    switch (type) {
        case type_bool: return "bool";
        case type_int8: return "char";
        case type_uint8: return "unsigned char";
        case type_int16: return "short";
        case type_uint16: return "unsigned short";
        case type_int32: return "int";
        case type_uint32: return "unsigned int";
        case type_int64: return "long int";
        case type_uint64: return "unsigned long int";
        case type_flt32: return "float";
        case type_flt64: return "double";
        case type_cstr: return "const char*";
        default: return nullptr;
    }
}

/// A list of types, to compute over at compile time.
template <class... T>
struct type_list {
    static constexpr std::size_t size = sizeof...(T);
};

/// The type at a position of a list.
template <std::size_t I, class List>
struct type_at_position;
template <std::size_t I, class Head, class... Tail>
struct type_at_position<I, type_list<Head, Tail...>> : type_at_position<I - 1, type_list<Tail...>> {};
template <class Head, class... Tail>
struct type_at_position<0, type_list<Head, Tail...>> {
    using type = Head;
};
template <std::size_t I, class List>
using type_at = typename type_at_position<I, List>::type;

/// The eleven types that a runnable port can hold, in promotion order.
using value_types = type_list<bool, std::int8_t, std::uint8_t, std::int16_t, std::uint16_t, std::int32_t, std::uint32_t,
                              std::int64_t, std::uint64_t, float, double>;

/// `type_t` of a C++ value type.
template <class T>
inline constexpr type_t type_of = type_unknown;
template <>
inline constexpr type_t type_of<bool> = type_bool;
template <>
inline constexpr type_t type_of<std::int8_t> = type_int8;
template <>
inline constexpr type_t type_of<std::uint8_t> = type_uint8;
template <>
inline constexpr type_t type_of<std::int16_t> = type_int16;
template <>
inline constexpr type_t type_of<std::uint16_t> = type_uint16;
template <>
inline constexpr type_t type_of<std::int32_t> = type_int32;
template <>
inline constexpr type_t type_of<std::uint32_t> = type_uint32;
template <>
inline constexpr type_t type_of<std::int64_t> = type_int64;
template <>
inline constexpr type_t type_of<std::uint64_t> = type_uint64;
template <>
inline constexpr type_t type_of<float> = type_flt32;
template <>
inline constexpr type_t type_of<double> = type_flt64;

/// The type of the higher rank among Ts: the promotion rule of port types.
template <class... T>
struct highest_type;
template <class A>
struct highest_type<A> {
    using type = A;
};
template <class A, class B, class... Rest>
struct highest_type<A, B, Rest...> {
    using type = typename highest_type<std::conditional_t<(type_of<A> >= type_of<B>), A, B>, Rest...>::type;
};
template <class... T>
using highest = typename highest_type<T...>::type;

/// Size in bytes of a value of a runnable type, 0 for any other.
constexpr std::size_t size_of(type_t type) noexcept {
    switch (type) {
        case type_bool:
        case type_int8:
        case type_uint8: return 1;
        case type_int16:
        case type_uint16: return 2;
        case type_int32:
        case type_uint32:
        case type_flt32: return 4;
        case type_int64:
        case type_uint64:
        case type_flt64: return 8;
        default: return 0;
    }
}

}  // namespace tessel
