#include "coder/fmu/xml.h"

#include <cstddef>

#include "coder/fmu/interface.h"

namespace tessel::fmu {
namespace {

constexpr std::string_view replacement = "\xEF\xBF\xBD";

/// Bytes of the character at the head of a text, 0 where it is none that XML can hold.
std::size_t character_at(std::string_view text) {
    const auto byte = [text](std::size_t i) {
        return i < text.size() ? static_cast<unsigned>(static_cast<unsigned char>(text[i])) : 0u;
    };
    const unsigned first = byte(0);
    if (first < 0x80) return first >= 0x20 || first == '\t' || first == '\n' ? 1 : 0;
    const std::size_t size = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : 2;
    unsigned code = first & (0xFFu >> (size + 1));
    for (std::size_t i = 1; i < size; ++i) {
        if ((byte(i) & 0xC0u) != 0x80u) return 0;
        code = code << 6 | (byte(i) & 0x3Fu);
    }
    constexpr unsigned least[] = {0, 0, 0x80, 0x800, 0x10000};
    const bool is_surrogate = code >= 0xD800 && code <= 0xDFFF;
    if (first < 0xC2 || first > 0xF4 || code < least[size] || code > 0x10FFFF || is_surrogate) return 0;
    return code == 0xFFFE || code == 0xFFFF ? 0 : size;
}

}  // namespace

std::string escaped(std::string_view text) {
    std::string result;
    while (!text.empty()) {
        const std::size_t size = character_at(text);
        if (size == 0) result += replacement;
        else if (text[0] == '&') result += "&amp;";
        else if (text[0] == '<') result += "&lt;";
        else if (text[0] == '>') result += "&gt;";
        else if (text[0] == '"') result += "&quot;";
        else if (text[0] == '\n' || text[0] == '\t') result += ' ';
        else result += text.substr(0, size);
        text.remove_prefix(size == 0 ? 1 : size);
    }
    return result;
}

Xml& Xml::open(std::string_view name) {
    end_of_head();
    text_.append(2 * open_.size(), ' ');
    text_.append("<").append(name);
    open_.emplace_back(name);
    in_head_ = true;
    return *this;
}

Xml& Xml::attribute(std::string_view name, std::string_view value) {
    text_.append(" ").append(name).append("=\"").append(escaped(value)).append("\"");
    return *this;
}

Xml& Xml::attribute(std::string_view name, double value) {
    return attribute(name, std::string_view(number_text(value)));
}

Xml& Xml::close() {
    const std::string name = std::move(open_.back());
    open_.pop_back();
    if (in_head_) {
        text_ += "/>\n";
    } else {
        text_.append(2 * open_.size(), ' ');
        text_.append("</").append(name).append(">\n");
    }
    in_head_ = false;
    return *this;
}

void Xml::end_of_head() {
    if (in_head_) text_ += ">\n";
    in_head_ = false;
}

}  // namespace tessel::fmu
