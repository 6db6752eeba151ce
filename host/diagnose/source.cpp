#include "host/diagnose/source.h"

#include <algorithm>

#include "core/format.h"

namespace zarn {
namespace {

/// Number of bytes of the UTF-8 character that the text begins with, 0 when it is none.
std::size_t character_length(std::string_view text) {
    const auto byte = [text](std::size_t i) { return i < text.size() ? static_cast<unsigned char>(text[i]) : 0u; };
    const unsigned first = byte(0), second = byte(1);
    const std::size_t length = first < 0x80                     ? 1u
                               : first >= 0xC2 && first < 0xE0  ? 2u
                               : first >= 0xE0 && first < 0xF0  ? 3u
                               : first >= 0xF0 && first <= 0xF4 ? 4u
                                                                : 0u;
    for (std::size_t i = 1; i < length; ++i)
        if ((byte(i) & 0xC0u) != 0x80u) return 0;
    const bool overlong = (first == 0xE0 && second < 0xA0) || (first == 0xF0 && second < 0x90);
    const bool surrogate = first == 0xED && second >= 0xA0;
    const bool beyond = first == 0xF4 && second >= 0x90;
    return overlong || surrogate || beyond ? 0 : length;
}

/// Control characters, and the marks that turn the direction of what follows.
bool is_control(std::string_view character) {
    if (character.size() == 1) return static_cast<unsigned char>(character[0]) < ' ' || character[0] == '\x7F';
    if (character.size() == 2) return character < "\xC2\xA0";
    return (character >= "\xE2\x80\xA8" && character <= "\xE2\x80\xAE") ||
           (character >= "\xE2\x81\xA6" && character <= "\xE2\x81\xA9");
}

}  // namespace

std::string counted(std::size_t count, std::string_view noun) {
    return tessel::format("{} {}{}", count, noun, count == 1 ? "" : "s");
}

std::size_t characters(std::string_view text) noexcept {
    return static_cast<std::size_t>(
        std::ranges::count_if(text, [](char c) { return (static_cast<unsigned char>(c) & 0xC0u) != 0x80u; }));
}

std::string in_quotes(std::string_view text) {
    constexpr std::size_t most = 60;
    std::size_t kept = std::min(text.size(), most);
    while (kept < text.size() && kept > 0 && (static_cast<unsigned char>(text[kept]) & 0xC0u) == 0x80u) --kept;
    std::string clean = "'";
    for (const char c : text.substr(0, kept)) clean += static_cast<unsigned char>(c) < ' ' ? ' ' : c;
    if (text.size() > kept) clean += "...";
    return clean + "'";
}

std::string plain_json(std::string_view json) {
    std::string plain;
    plain.reserve(json.size());
    while (!json.empty()) {
        const std::size_t length = std::max<std::size_t>(character_length(json), 1);
        const std::string_view character = json.substr(0, length);
        if (const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(character[i]) & 0x3Fu; };
            length == 2 && is_control(character))
            plain += tessel::format("\\u{:04x}", (byte(0) & 0x1Fu) << 6u | byte(1));
        else if (length == 3 && is_control(character))
            plain += tessel::format("\\u{:04x}", (byte(0) & 0x0Fu) << 12u | byte(1) << 6u | byte(2));
        else if (character == "\x7F") plain += "\\u007f";
        else plain += character;
        json.remove_prefix(length);
    }
    return plain;
}

std::string printable(std::string_view text) {
    std::string clean;
    clean.reserve(text.size());
    while (!text.empty()) {
        const std::size_t length = character_length(text);
        const std::string_view character = text.substr(0, std::max<std::size_t>(length, 1));
        if (length == 0) clean += "\xEF\xBF\xBD";  // the mark for bytes that are no text
        else if (is_control(character)) clean += ' ';
        else clean += character;
        text.remove_prefix(character.size());
    }
    return clean;
}

}  // namespace zarn
