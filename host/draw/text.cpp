#include "host/draw/text.h"

#include <cmath>
#include <cstdint>

#include "core/format.h"

namespace zarn::draw {
namespace {

constexpr std::string_view replacement = "\xEF\xBF\xBD";
constexpr std::string_view ellipsis = "\xE2\x80\xA6";

struct Character {
    std::uint32_t code;
    std::size_t length;  ///< bytes that it took
    bool valid;
};

/// The character at the start of `bytes`, which is not empty.
Character next_character(std::string_view bytes) {
    const auto at = [&](std::size_t i) { return static_cast<std::uint8_t>(bytes[i]); };
    const std::uint8_t head = at(0);
    if (head < 0x80) return {head, 1, true};
    const std::size_t length = head >= 0xF0 ? 4 : head >= 0xE0 ? 3 : 2;
    if (head < 0xC2 || head > 0xF4) return {0, 1, false};
    std::uint32_t code = head & (0xFFu >> (length + 1));
    for (std::size_t i = 1; i < length; ++i) {
        if (i >= bytes.size() || (at(i) & 0xC0) != 0x80) return {0, i, false};
        code = code << 6 | (at(i) & 0x3Fu);
    }
    const bool overlong = (length == 3 && code < 0x800) || (length == 4 && code < 0x10000);
    const bool valid = !overlong && code <= 0x10FFFF && (code < 0xD800 || code > 0xDFFF);
    return {code, length, valid};
}

/// Not so controls, of which viewers and terminals make what they will.
bool xml_may_hold(std::uint32_t code) {
    return code >= 0x20 && (code < 0x7F || code > 0x9F) && code != 0xFFFE && code != 0xFFFF;
}

/// Width of a character in parts of the font size: that of a wide sans-serif, so that narrower fonts fit as well.
double character_width(std::uint32_t c) {
    if (c >= 0x1100 && (c <= 0x115F || (c >= 0x2E80 && c <= 0xD7A3) || c >= 0xF900)) return 1.0;
    if (c >= 0x80) return 0.64;
    switch (static_cast<char>(c)) {
        case 'i':
        case 'j':
        case 'l':
        case '\'':
        case '|': return 0.29;
        case ' ':
        case '.':
        case ',':
        case ':':
        case ';':
        case '!':
        case 'I': return 0.34;
        case 'f':
        case 't':
        case 'r':
        case '(':
        case ')':
        case '[':
        case ']':
        case '-':
        case '/': return 0.40;
        case 'm':
        case 'w':
        case 'M':
        case 'W':
        case '%':
        case '@': return 0.92;
        case '_':
        case 's':
        case 'c':
        case 'k':
        case 'x':
        case 'z':
        case 'v':
        case 'y': return 0.54;
        case '=':
        case '<':
        case '>':
        case '+':
        case '~': return 0.70;
        default: return c >= 'A' && c <= 'Z' ? 0.68 : 0.60;
    }
}

}  // namespace

std::string clean_utf8(std::string_view bytes) {
    std::string out;
    out.reserve(bytes.size());
    while (!bytes.empty()) {
        const Character c = next_character(bytes);
        if (c.valid && (c.code == '\n' || c.code == '\r' || c.code == '\t')) out += ' ';
        else if (!c.valid || !xml_may_hold(c.code)) out += replacement;
        else out += bytes.substr(0, c.length);
        bytes.remove_prefix(c.length);
    }
    return out;
}

std::string escape(std::string_view bytes) {
    std::string out;
    for (const char c : clean_utf8(bytes)) {
        switch (c) {
            case '&': out += "&amp;"; break;
            case '<': out += "&lt;"; break;
            case '>': out += "&gt;"; break;
            case '"': out += "&quot;"; break;
            case '\'': out += "&#39;"; break;
            default: out += c;
        }
    }
    return out;
}

double text_width(std::string_view text, double size) {
    double width = 0;
    while (!text.empty()) {
        const Character c = next_character(text);
        width += character_width(c.code);
        text.remove_prefix(c.length);
    }
    return width * size;
}

std::string fit(std::string_view text, double size, double width) {
    const double room = width - text_width(ellipsis, size);
    double used = 0;
    std::size_t kept = 0;  // what fits in front of an ellipsis
    for (std::size_t at = 0; at < text.size();) {
        const Character c = next_character(text.substr(at));
        at += c.length;
        used += character_width(c.code);
        if (used * size <= room) kept = at;
        // a name can be as long as a file: the rest of it is not looked at
        if (used * size > width) return std::string(text.substr(0, kept)) + std::string(ellipsis);
    }
    return std::string(text);
}

std::string num(double v) {
    if (std::abs(v) < 1e12) {
        const long long tenths = std::llround(v * 10), whole = std::abs(tenths);
        std::string text = (tenths < 0 ? "-" : "") + std::to_string(whole / 10);
        if (whole % 10 != 0) text += {'.', static_cast<char>('0' + whole % 10)};
        return text;
    }
    const double rounded = std::round(v * 10) / 10;
    return tessel::format("{}", rounded == 0 ? 0.0 : rounded);
}

}  // namespace zarn::draw
