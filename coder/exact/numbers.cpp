// Constants of C.

#include <charconv>
#include <cmath>
#include <limits>
#include <string_view>
#include <type_traits>

#include "coder/exact/write_c.h"
#include "core/format.h"
#include "core/str.h"

namespace tessel::exact {
namespace {

/// Digits from the first that is not 0 to the exponent.
int significant_digits(std::string_view text) {
    int count = 0;
    for (const char c : text.substr(0, text.find('e')))
        if (c >= '0' && c <= '9' && (c != '0' || count != 0)) ++count;
    return count;
}

/// As a person writes it where that needs no more digits than the type keeps of any decimal number, hexadecimal where
/// only the digits of the machine tell it: those no compiler rounds.
template <class F>
std::string float_text(F v) {
    constexpr bool narrow = std::is_same_v<F, float>;
    constexpr const char* suffix = narrow ? "f" : "";
    if (std::isnan(v)) return narrow ? "NAN" : "(double)NAN";
    if (std::isinf(v)) return tessel::format("{}{}", v < F{0} ? "-" : "", narrow ? "INFINITY" : "(double)INFINITY");
    const std::string text = str::shortest(v);
    if (significant_digits(text) <= (narrow ? 6 : 15)) return text + suffix;
    char digits[64];
    const auto end = std::to_chars(digits, digits + sizeof digits, std::fabs(v), std::chars_format::hex).ptr;
    return tessel::format("{}0x{}{}", std::signbit(v) ? "-" : "", std::string_view(digits, end), suffix);
}

}  // namespace

std::string constant_text(type_t type, std::uint64_t bits) {
    switch (type) {
        case type_bool: return from_bits<bool>(bits) ? "true" : "false";
        case type_int32: {
            const auto v = from_bits<std::int32_t>(bits);
            return v == std::numeric_limits<std::int32_t>::min() ? "INT32_MIN" : tessel::format("{}", v);
        }
        case type_uint32: return tessel::format("{}u", from_bits<std::uint32_t>(bits));
        case type_int64: {
            const auto v = from_bits<std::int64_t>(bits);
            if (v == std::numeric_limits<std::int64_t>::min()) return "INT64_MIN";
            return tessel::format("{}INT64_C({})", v < 0 ? "-" : "", v < 0 ? -v : v);
        }
        case type_uint64: return tessel::format("UINT64_C({})", from_bits<std::uint64_t>(bits));
        case type_flt32: return float_text(from_bits<float>(bits));
        case type_flt64: return float_text(from_bits<double>(bits));
        default: break;
    }
    std::string text;
    with_type(type, [&]<class T>(T) { text = tessel::format("{}", +from_bits<T>(bits)); });
    return text;
}

const char* type_text(type_t type) {
    switch (type) {
        case type_bool: return "bool";
        case type_int8: return "int8_t";
        case type_uint8: return "uint8_t";
        case type_int16: return "int16_t";
        case type_uint16: return "uint16_t";
        case type_int32: return "int32_t";
        case type_uint32: return "uint32_t";
        case type_int64: return "int64_t";
        case type_uint64: return "uint64_t";
        case type_flt32: return "float";
        default: return "double";
    }
}

}  // namespace tessel::exact
