#include "core/var.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <string_view>
#include <type_traits>
#include <utility>

#include "core/convert.h"
#include "core/format.h"
#include "core/str.h"

namespace tessel {
namespace {

bool is_blank(char c) noexcept { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }

/// Calls `f` with the payload in its own type; an empty value is 0.0, a text the number that it spells, else 0.0.
template <class F>
auto visit_number(const var_t& v, F&& f) {
    switch (v.type()) {
        case type_bool: return f(v.payload<bool>());
        case type_int8: return f(v.payload<std::int8_t>());
        case type_uint8: return f(v.payload<std::uint8_t>());
        case type_int16: return f(v.payload<std::int16_t>());
        case type_uint16: return f(v.payload<std::uint16_t>());
        case type_int32: return f(v.payload<std::int32_t>());
        case type_uint32: return f(v.payload<std::uint32_t>());
        case type_int64: return f(v.payload<std::int64_t>());
        case type_uint64: return f(v.payload<std::uint64_t>());
        case type_flt32: return f(v.payload<float>());
        case type_flt64: return f(v.payload<double>());
        case type_cstr: {
            std::string_view text = v.text();
            while (!text.empty() && is_blank(text.front())) text.remove_prefix(1);
            while (!text.empty() && is_blank(text.back())) text.remove_suffix(1);
            return f(str::to_double(text).value_or(0.0));
        }
        default: return f(0.0);
    }
}

template <class To>
To number_as(const var_t& v) noexcept {
    return visit_number(v, [](auto x) { return convert<To>(x); });
}

/// Calls `f` with both values in the type of the higher tag.
template <class F>
auto visit_common(const var_t& a, const var_t& b, F&& f) {
    const type_t type = std::max(a.is_text() ? type_flt64 : a.type(), b.is_text() ? type_flt64 : b.type());
    switch (type) {
        case type_bool: return f(number_as<bool>(a), number_as<bool>(b));
        case type_int8: return f(number_as<std::int8_t>(a), number_as<std::int8_t>(b));
        case type_uint8: return f(number_as<std::uint8_t>(a), number_as<std::uint8_t>(b));
        case type_int16: return f(number_as<std::int16_t>(a), number_as<std::int16_t>(b));
        case type_uint16: return f(number_as<std::uint16_t>(a), number_as<std::uint16_t>(b));
        case type_int32: return f(number_as<std::int32_t>(a), number_as<std::int32_t>(b));
        case type_uint32: return f(number_as<std::uint32_t>(a), number_as<std::uint32_t>(b));
        case type_int64: return f(number_as<std::int64_t>(a), number_as<std::int64_t>(b));
        case type_uint64: return f(number_as<std::uint64_t>(a), number_as<std::uint64_t>(b));
        case type_flt32: return f(number_as<float>(a), number_as<float>(b));
        default: return f(number_as<double>(a), number_as<double>(b));
    }
}

/// Wrapping arithmetic in T: integers compute in 64 unsigned bits and are cut back.
template <class Op>
auto wrapping(Op op) {
    return [op](auto a, auto b) -> var_t {
        using T = decltype(a);
        if constexpr (std::is_floating_point_v<T>) return var_t(static_cast<T>(op(a, b)));
        else if constexpr (std::is_same_v<T, bool>) return var_t(op(static_cast<int>(a), static_cast<int>(b)) != 0);
        else return var_t(static_cast<T>(op(static_cast<std::uint64_t>(a), static_cast<std::uint64_t>(b))));
    };
}

/// Three-way comparison of two integers of any signedness, or of two floats; 2 is unordered.
int compare(const var_t& a, const var_t& b) noexcept {
    if (a.is_text() && b.is_text()) return std::clamp(std::string_view(a.text()).compare(b.text()), -1, 1);
    if (a.is_text() != b.is_text()) return 2;
    return visit_number(a, [&b](auto x) {
        return visit_number(b, [x](auto y) {
            using X = decltype(x);
            using Y = decltype(y);
            if constexpr (std::is_floating_point_v<X> || std::is_floating_point_v<Y>) {
                const double p = convert<double>(x), q = convert<double>(y);
                return p < q ? -1 : p > q ? 1 : p == q ? 0 : 2;
            } else if constexpr (std::is_same_v<X, bool> || std::is_same_v<Y, bool>) {
                const auto p = convert<std::int64_t>(x), q = convert<std::int64_t>(y);
                const bool huge_x = std::is_same_v<X, std::uint64_t> && p < 0;
                const bool huge_y = std::is_same_v<Y, std::uint64_t> && q < 0;
                if (huge_x != huge_y) return huge_x ? 1 : -1;
                return p < q ? -1 : p > q ? 1 : 0;
            } else {
                return std::cmp_less(x, y) ? -1 : std::cmp_less(y, x) ? 1 : 0;
            }
        });
    });
}

template <class F>
std::string float_text(F v) {
    if (std::isnan(v)) return "NAN";
    if (std::isinf(v)) return v < 0 ? "-INFINITY" : "INFINITY";
    return str::shortest(v);
}

std::string quoted(std::string_view text) {
    std::string out = "\"";
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        switch (c) {
            case '"': out += "\\\""; break;
            case '\\': out += "\\\\"; break;
            case '\n': out += "\\n"; break;
            case '\r': out += "\\r"; break;
            case '\t': out += "\\t"; break;
            default:
                // three octal digits: a hexadecimal escape would swallow digits that follow
                if (byte < 0x20 || byte == 0x7F) out += tessel::format("\\{:03o}", byte);
                else out += c;
        }
    }
    return out + '"';
}

}  // namespace

var_t::var_t(const char* text) {
    if (text == nullptr) text = "";
    set_text(text, std::strlen(text));
}

var_t::var_t(const var_t& other) {
    if (other.is_text()) set_text(other.text(), std::strlen(other.text()));
    else {
        type_ = other.type_;
        bits_ = other.bits_;
    }
}

var_t::var_t(var_t&& other) noexcept : type_(other.type_), bits_(other.bits_) {
    other.type_ = type_unknown;
    other.bits_ = 0;
}

var_t& var_t::operator=(const var_t& other) {
    if (this != &other) *this = var_t(other);
    return *this;
}

var_t& var_t::operator=(var_t&& other) noexcept {
    std::swap(type_, other.type_);
    std::swap(bits_, other.bits_);
    return *this;
}

var_t& var_t::operator=(const std::string& text) {
    var_t value;
    value.set_text(text.data(), text.size());
    return *this = std::move(value);
}

var_t::~var_t() { release(); }

void var_t::set_text(const char* text, std::size_t length) {
    char* copy = new char[length + 1];
    std::memcpy(copy, text, length);
    copy[length] = 0;
    type_ = type_cstr;
    std::memcpy(&bits_, &copy, sizeof copy);
}

void var_t::release() noexcept {
    if (type_ == type_cstr) delete[] payload<char*>();
}

var_t::operator bool() const noexcept { return number_as<bool>(*this); }
var_t::operator signed char() const noexcept { return number_as<std::int8_t>(*this); }
var_t::operator unsigned char() const noexcept { return number_as<std::uint8_t>(*this); }
var_t::operator short() const noexcept { return number_as<std::int16_t>(*this); }
var_t::operator unsigned short() const noexcept { return number_as<std::uint16_t>(*this); }
var_t::operator int() const noexcept { return number_as<std::int32_t>(*this); }
var_t::operator unsigned int() const noexcept { return number_as<std::uint32_t>(*this); }
var_t::operator long() const noexcept { return static_cast<long>(number_as<std::int64_t>(*this)); }
var_t::operator unsigned long() const noexcept { return static_cast<unsigned long>(number_as<std::uint64_t>(*this)); }
var_t::operator long long() const noexcept { return number_as<std::int64_t>(*this); }
var_t::operator unsigned long long() const noexcept { return number_as<std::uint64_t>(*this); }
var_t::operator float() const noexcept { return number_as<float>(*this); }
var_t::operator double() const noexcept { return number_as<double>(*this); }

var_t var_t::operator+(const var_t& other) const {
    return visit_common(*this, other, wrapping([](auto a, auto b) { return a + b; }));
}
var_t var_t::operator-(const var_t& other) const {
    return visit_common(*this, other, wrapping([](auto a, auto b) { return a - b; }));
}
var_t var_t::operator*(const var_t& other) const {
    return visit_common(*this, other, wrapping([](auto a, auto b) { return a * b; }));
}

bool var_t::operator==(const var_t& other) const noexcept { return compare(*this, other) == 0; }
bool var_t::operator!=(const var_t& other) const noexcept { return compare(*this, other) != 0; }
bool var_t::operator<(const var_t& other) const noexcept { return compare(*this, other) == -1; }
bool var_t::operator<=(const var_t& other) const noexcept { return compare(*this, other) <= 0; }
bool var_t::operator>(const var_t& other) const noexcept { return compare(*this, other) == 1; }
bool var_t::operator>=(const var_t& other) const noexcept {
    const int order = compare(*this, other);
    return order == 0 || order == 1;
}

bool var_t::operator&&(const var_t& other) const noexcept { return bool(*this) && bool(other); }
bool var_t::operator&&(bool other) const noexcept { return bool(*this) && other; }
bool var_t::operator||(const var_t& other) const noexcept { return bool(*this) || bool(other); }
bool var_t::operator||(bool other) const noexcept { return bool(*this) || other; }

std::string var_t::to_string() const {
    switch (type_) {
        case type_bool: return payload<bool>() ? "1" : "0";
        case type_int8: return std::to_string(payload<std::int8_t>());
        case type_uint8: return std::to_string(payload<std::uint8_t>());
        case type_int16: return std::to_string(payload<std::int16_t>());
        case type_uint16: return std::to_string(payload<std::uint16_t>());
        case type_int32: return std::to_string(payload<std::int32_t>());
        case type_uint32: return std::to_string(payload<std::uint32_t>());
        case type_int64: return std::to_string(payload<std::int64_t>());
        case type_uint64: return std::to_string(payload<std::uint64_t>());
        case type_flt32: return float_text(payload<float>());
        case type_flt64: return float_text(payload<double>());
        case type_cstr: return quoted(text());
        default: return {};
    }
}

}  // namespace tessel
