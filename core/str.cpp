#include "core/str.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <limits>

namespace tessel::str {
namespace {

bool is_digit(char c) noexcept { return c >= '0' && c <= '9'; }
bool is_start(char c) noexcept { return c == '_' || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }

std::string sanitize(std::string_view name, bool keep_dots) {
    if (name.empty()) return "_";
    std::string text;
    text.reserve(name.size() + 1);
    std::ranges::copy_if(name, std::back_inserter(text), [](char c) { return c != '\r' && c != '\n' && c != '"'; });
    if (text.empty()) return text;
    if (is_digit(text[0])) text.insert(text.begin(), '_');
    else if (!is_start(text[0])) text[0] = '_';
    for (char& c : text)
        if (!is_start(c) && !is_digit(c) && !(keep_dots && c == '.')) c = '_';
    return text;
}

/// Digits and decimal exponent of the shortest text, laid out in fixed form for exponents from -4 to 15.
template <class F>
char* shortest_to(F v, char* out) noexcept {
    if (!std::isfinite(v)) {
        const char* text = std::isnan(v) ? "nan" : v < 0 ? "-inf" : "inf";
        return std::copy(text, text + std::strlen(text), out);
    }
    char buffer[40];
    const char* end = std::to_chars(buffer, buffer + sizeof buffer, v, std::chars_format::scientific).ptr;
    const char* p = buffer;
    if (*p == '-') *out++ = *p++;
    const char* e = std::find(p, end, 'e');
    int exponent = 0;
    std::from_chars(e + (e[1] == '+' ? 2 : 1), end, exponent);
    if (exponent < -4 || exponent > 15) return std::copy(p, end, out);

    char digits[24];
    int count = 0;
    for (const char* c = p; c != e; ++c)
        if (*c != '.') digits[count++] = *c;
    if (exponent < 0) {
        *out++ = '0';
        *out++ = '.';
        out = std::fill_n(out, -exponent - 1, '0');
        return std::copy_n(digits, count, out);
    }
    const int whole = exponent + 1;
    out = std::copy_n(digits, std::min(count, whole), out);
    if (count < whole) out = std::fill_n(out, whole - count, '0');
    *out++ = '.';
    if (count <= whole) *out++ = '0';
    else out = std::copy_n(digits + whole, count - whole, out);
    return out;
}

/// Whether a decimal number out of a double's range, digits and an optional exponent, is too large rather than too
/// small.
bool is_huge(std::string_view number) noexcept {
    const std::size_t e = std::min(number.find_first_of("eE"), number.size());
    const std::string_view digits = number.substr(0, e);
    const std::size_t point = std::min(digits.find('.'), digits.size());
    const std::size_t first = digits.find_first_of("123456789");
    if (first == std::string_view::npos) return false;
    // power of ten of the first digit that counts
    const auto power = static_cast<std::int64_t>(point) - static_cast<std::int64_t>(first);
    std::int64_t exponent = 0;
    if (e < number.size()) {
        std::string_view text = number.substr(e + 1);
        if (text.starts_with('+')) text.remove_prefix(1);
        const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), exponent);
        if (error == std::errc::result_out_of_range) return text[0] != '-';
    }
    constexpr std::int64_t beyond = std::numeric_limits<std::int64_t>::max() / 2;
    return power + std::clamp(exponent, -beyond, beyond) > 0;
}

}  // namespace

std::optional<double> to_double(std::string_view text) noexcept {
    const bool minus = text.starts_with('-');
    if (minus || text.starts_with('+')) text.remove_prefix(1);
    // the number reader would take a second sign, "inf" and "nan"
    if (text.empty() || !(is_digit(text[0]) || text[0] == '.')) return std::nullopt;
    double value = 0.0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (end != text.data() + text.size()) return std::nullopt;
    if (error == std::errc::result_out_of_range) value = is_huge(text) ? std::numeric_limits<double>::infinity() : 0.0;
    else if (error != std::errc{}) return std::nullopt;
    return minus ? -value : value;
}

void replace_all(std::string& subject, const std::string& from, const std::string& to) {
    if (from.empty()) return;
    std::size_t at = subject.find(from);
    if (at == std::string::npos) return;
    if (from.size() == to.size()) {
        for (; at != std::string::npos; at = subject.find(from, at + to.size())) subject.replace(at, from.size(), to);
        return;
    }
    // built aside: replacing in place would move the tail once for each occurrence
    std::string result;
    std::size_t done = 0;
    for (; at != std::string::npos; at = subject.find(from, done)) {
        result.append(subject, done, at - done).append(to);
        done = at + from.size();
    }
    result.append(subject, done);
    subject = std::move(result);
}

char* shortest(double v, char* out) noexcept { return shortest_to(v, out); }
std::string shortest(double v) {
    char buffer[32];
    return {buffer, shortest_to(v, buffer)};
}
std::string shortest(float v) {
    char buffer[32];
    return {buffer, shortest_to(v, buffer)};
}

std::string sanitize_identifier(std::string_view name) { return sanitize(name, false); }
std::string sanitize_path(std::string_view path) { return sanitize(path, true); }

}  // namespace tessel::str
