#include "host/diagnose/workspace.h"

#include <algorithm>
#include <array>

namespace zarn {
namespace {

bool begins_name(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || (c & '\x80') != 0; }
bool is_digit(char c) { return c >= '0' && c <= '9'; }

/// Words of the language, and names that every workspace has.
bool is_given(std::string_view name) {
    constexpr std::array<std::string_view, 31> given{
        "False", "None",   "True", "abs",   "and",   "as",     "bool",   "complex", "else", "float", "for",
        "if",    "import", "in",   "int",   "is",    "lambda", "len",    "list",    "math", "max",   "min",
        "not",   "or",     "pow",  "print", "range", "round",  "sorted", "sum",     "tuple"};
    return std::ranges::find(given, name) != given.end();
}

/// Behind a quoted text.
std::size_t text_end(std::string_view expression, std::size_t at) {
    const char quote = expression[at++];
    while (at < expression.size() && expression[at] != quote) at += expression[at] == '\\' ? 2u : 1u;
    return std::min(at + 1, expression.size());
}

}  // namespace

std::vector<std::string> names_in(std::string_view expression) {
    std::vector<std::string> names;
    char before = '\0';  // the last character that is no blank
    for (std::size_t at = 0; at < expression.size();) {
        const char c = expression[at];
        std::size_t end = at + 1;
        if (c == '\'' || c == '"') {
            end = text_end(expression, at);
        } else if (begins_name(c) || is_digit(c)) {
            while (end < expression.size() && (begins_name(expression[end]) || is_digit(expression[end]))) ++end;
            std::string name(expression.substr(at, end - at));
            if (begins_name(c) && before != '.' && !is_given(name) && std::ranges::find(names, name) == names.end())
                names.push_back(std::move(name));
        }
        if (c != ' ' && c != '\t') before = c;
        at = end;
    }
    return names;
}

std::string few_of(const std::vector<std::string>& names) {
    constexpr std::size_t most = 3;
    std::string text;
    for (std::size_t i = 0; i < std::min(names.size(), most); ++i)
        text += (i == 0 ? "" : i + 1 == names.size() ? " and " : ", ") + names[i];
    return names.size() > most ? text + " ..." : text;
}

}  // namespace zarn
