#include "coder/exact/names.h"

#include <algorithm>
#include <array>
#include <cctype>

#include "core/format.h"
#include "core/str.h"

namespace tessel::exact {
namespace {

// Words of C and C++, and what the headers of the code and of its test program define beside functions.
constexpr auto taken = std::to_array<std::string_view>({
    "EOF",
    "EXIT_FAILURE",
    "EXIT_SUCCESS",
    "FILE",
    "HUGE_VAL",
    "HUGE_VALF",
    "INFINITY",
    "NAN",
    "NULL",
    "alignas",
    "alignof",
    "and",
    "and_eq",
    "asm",
    "auto",
    "bitand",
    "bitor",
    "bool",
    "break",
    "case",
    "catch",
    "char",
    "char16_t",
    "char32_t",
    "char8_t",
    "class",
    "co_await",
    "co_return",
    "co_yield",
    "compl",
    "concept",
    "const",
    "const_cast",
    "consteval",
    "constexpr",
    "constinit",
    "continue",
    "decltype",
    "default",
    "delete",
    "do",
    "double",
    "double_t",
    "dynamic_cast",
    "else",
    "enum",
    "errno",
    "explicit",
    "export",
    "extern",
    "false",
    "float",
    "float_t",
    "for",
    "friend",
    "goto",
    "i386",
    "if",
    "inline",
    "int",
    "int16_t",
    "int32_t",
    "int64_t",
    "int8_t",
    "linux",
    "long",
    "mutable",
    "namespace",
    "new",
    "noexcept",
    "not",
    "not_eq",
    "nullptr",
    "offsetof",
    "operator",
    "or",
    "or_eq",
    "private",
    "protected",
    "ptrdiff_t",
    "public",
    "register",
    "reinterpret_cast",
    "requires",
    "restrict",
    "return",
    "short",
    "signed",
    "size_t",
    "sizeof",
    "static",
    "static_assert",
    "static_cast",
    "stderr",
    "stdin",
    "stdout",
    "struct",
    "switch",
    "template",
    "this",
    "thread_local",
    "throw",
    "true",
    "try",
    "typedef",
    "typeid",
    "typename",
    "typeof",
    "typeof_unqual",
    "uint16_t",
    "uint32_t",
    "uint64_t",
    "uint8_t",
    "union",
    "unix",
    "unsigned",
    "using",
    "virtual",
    "void",
    "volatile",
    "wchar_t",
    "while",
    "xor",
    "xor_eq",
});
static_assert(std::ranges::is_sorted(taken));

}  // namespace

std::string identifier(std::string_view name) {
    std::string text = str::sanitize_identifier(name);
    for (char& c : text)
        if (static_cast<unsigned char>(c) >= 0x80) c = '_';
    // at the head of a name "_A" and "__" belong to the compiler, as does "_" alone in some headers
    if (text[0] == '_' && (text.size() == 1 || text[1] == '_' || std::isupper(static_cast<unsigned char>(text[1]))))
        text.insert(0, "x");
    if (std::ranges::binary_search(taken, text)) text += '_';
    return text;
}

bool is_identifier(std::string_view text) {
    return !text.empty() && std::isdigit(static_cast<unsigned char>(text[0])) == 0 && identifier(text) == text;
}

std::string join(const std::vector<std::string>& parts, std::string_view between) {
    std::string text;
    for (const std::string& part : parts) {
        if (!text.empty()) text += between;
        text += part;
    }
    return text;
}

namespace {

std::vector<std::string> identifiers(std::string_view path) {
    std::vector<std::string> parts;
    for (std::size_t begin = 0; begin <= path.size();) {
        const std::size_t end = std::min(path.find('.', begin), path.size());
        parts.push_back(identifier(path.substr(begin, end - begin)));
        begin = end + 1;
    }
    return parts;
}

}  // namespace

void Names::note(std::string_view path, const char* class_name) {
    const std::vector<std::string> parts = identifiers(path);
    const std::string own = join(parts, ".");
    ++uses_[own];
    ++of_class_[own + "_" + class_name];
    // a subsystem has its place to itself, however many blocks are in it
    std::string place;
    for (std::size_t i = 0; i + 1 < parts.size(); ++i) {
        place += (place.empty() ? "" : ".") + parts[i];
        uses_[place + "/"] = 1;
    }
}

std::vector<std::string> Names::of(std::string_view path, const char* class_name, std::uint64_t id) const {
    std::vector<std::string> parts = identifiers(path);
    const std::string own = join(parts, ".");
    const auto is_single = [](const auto& uses, const std::string& place) {
        const auto found = uses.find(place);
        return found == uses.end() || found->second == 1;
    };
    if (is_single(uses_, own) && !uses_.contains(own + "/")) return parts;
    const std::string told = own + "_" + class_name;
    if (is_single(of_class_, told) && !uses_.contains(told) && !uses_.contains(told + "/"))
        parts.back() += tessel::format("_{}", class_name);
    else parts.back() += tessel::format("_{}", id);
    return parts;
}

}  // namespace tessel::exact
