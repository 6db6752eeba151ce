#include "host/codenotes/texts.h"

#include <algorithm>
#include <array>

namespace zarn {
namespace {

bool is_digit(char c) { return c >= '0' && c <= '9'; }
bool is_letter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || static_cast<unsigned char>(c) >= 0x80;
}

constexpr std::array<std::string_view, 33> known{
    "False", "None", "True", "abs", "and", "bin",   "bool",  "coder",  "divmod", "else", "enumerate",
    "float", "for",  "hex",  "if",  "in",  "int",   "is",    "lambda", "len",    "list", "math",
    "max",   "min",  "not",  "or",  "pow", "range", "round", "sorted", "sum",    "sys",  "tuple"};
static_assert(std::ranges::is_sorted(known));

}  // namespace

bool makes_identifier(std::string_view name) {
    if (!name.empty() && is_digit(name.front())) return false;
    return std::ranges::all_of(name, [](char c) { return is_letter(c) || is_digit(c); });
}

bool breaks_quotes(std::string_view name) { return name.find_first_of("\"\\\r\n") != std::string_view::npos; }

std::string foreign_name(std::string_view text) {
    for (std::size_t i = 0; i < text.size();) {
        const char c = text[i];
        if (c == '"' || c == '\'') {
            const auto end = text.find(c, i + 1);
            i = end == std::string_view::npos ? text.size() : end + 1;
        } else if (is_letter(c) || is_digit(c)) {
            std::size_t end = i;
            while (end < text.size() && (is_letter(text[end]) || is_digit(text[end]))) ++end;
            const auto word = text.substr(i, end - i);
            const bool attribute = i > 0 && text[i - 1] == '.';
            if (is_letter(c) && !attribute && !std::ranges::binary_search(known, word)) return std::string(word);
            i = end;
        } else {
            ++i;
        }
    }
    return {};
}

bool needs_more_than_six_digits(std::string_view text) {
    std::size_t digits = 0, zeros = 0;  // of the number at hand; zeros that no other digit has followed
    bool exponent = false;
    for (const char c : text) {
        if (exponent && (is_digit(c) || c == '-' || c == '+')) continue;
        if (c == '0') {
            if (digits != 0) ++zeros;
        } else if (is_digit(c)) {
            digits += zeros + 1;
            zeros = 0;
        } else if (c == ',' || c == ']') {
            digits = zeros = 0;
            exponent = false;
        } else if (c == 'e' || c == 'E') {
            exponent = true;
        } else if (c != '.' && c != '-' && c != '+' && c != ' ' && c != '[') {
            return text != "True" && text != "False";  // an expression: its value is not known here
        }
        if (digits > 6) return true;
    }
    return false;
}

}  // namespace zarn
