#include "host/diagnose/source.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <unordered_set>

#include "core/format.h"

namespace zarn {
namespace {

/// Walks a JSON text that is known to parse, without recursion: files nest as deep as they like.
class Scanner {
public:
    Scanner(std::string_view text, const visit_t& visit) : text_(text), visit_(visit) {}

    void run() {
        skip_blanks();
        value();
        while (!levels_.empty()) {
            skip_blanks();
            if (at_ >= text_.size()) return;
            const char c = text_[at_];
            if (c == '}' || c == ']') {
                ++at_;
                levels_.pop_back();
            } else if (c == ',') {
                ++at_;
            } else {
                member();
            }
        }
    }

private:
    struct level_t {
        bool object;
        std::size_t base;   // length of the pointer of this level
        std::size_t index;  // next element
    };

    void skip_blanks() {
        while (at_ < text_.size() && static_cast<unsigned char>(text_[at_]) <= ' ') ++at_;
    }

    std::size_t string_end(std::size_t first) const {
        std::size_t end = first + 1;
        while (end < text_.size() && text_[end] != '"') end += text_[end] == '\\' ? 2u : 1u;
        return std::min(end + 1, text_.size());
    }

    void member() {
        level_t& level = levels_.back();
        pointer_.resize(level.base);
        if (level.object) {
            const std::size_t end = string_end(at_);
            const std::string_view raw = text_.substr(at_, end - at_);
            if (raw.find('\\') == std::string_view::npos) pointer_ += segment(raw.substr(1, raw.size() - 2));
            else pointer_ += segment(nlohmann::json::parse(raw).get<std::string>());
            visit_(pointer_, token_t::key, at_, end);
            at_ = end;
            skip_blanks();
            if (at_ < text_.size() && text_[at_] == ':') ++at_;
            skip_blanks();
        } else {
            pointer_ += segment(level.index++);
        }
        value();
    }

    void value() {
        if (at_ >= text_.size()) return;
        const char c = text_[at_];
        std::size_t end = at_ + 1;
        token_t kind = token_t::open;
        if (c == '"') {
            kind = token_t::text;
            end = string_end(at_);
        } else if (c != '{' && c != '[') {
            kind = c == '-' || (c >= '0' && c <= '9') ? token_t::number : token_t::other;
            while (end < text_.size() && std::string_view(",]} \t\r\n").find(text_[end]) == std::string_view::npos)
                ++end;
        }
        visit_(pointer_, kind, at_, end);
        if (kind == token_t::open) levels_.push_back({c == '{', pointer_.size(), 0});
        at_ = end;
    }

    std::string_view text_;
    const visit_t& visit_;
    std::size_t at_ = 0;
    std::string pointer_;
    std::vector<level_t> levels_;
};

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

place_t place_at(std::string_view text, std::size_t offset) {
    offset = std::min(offset, text.size());
    const std::string_view before = text.substr(0, offset);
    const std::size_t line_end = before.rfind('\n');
    return {static_cast<std::size_t>(std::ranges::count(before, '\n')) + 1,
            offset - (line_end == std::string_view::npos ? 0 : line_end + 1) + 1};
}

void scan(std::string_view text, const visit_t& visit) {
    if (text.starts_with("\xEF\xBB\xBF")) {
        scan(text.substr(3), [&](const std::string& pointer, token_t kind, std::size_t first, std::size_t end) {
            visit(pointer, kind, first + 3, end + 3);
        });
        return;
    }
    Scanner(text, visit).run();
}

std::unordered_map<std::string, place_t> places_of(std::string_view text, const std::vector<std::string>& pointers) {
    const std::unordered_set<std::string> wanted(pointers.begin(), pointers.end());
    std::size_t longest = 0;
    for (const std::string& pointer : pointers) longest = std::max(longest, pointer.size());
    std::vector<std::pair<std::string, std::size_t>> found;
    if (!wanted.empty())
        scan(text, [&](const std::string& pointer, token_t kind, std::size_t first, std::size_t) {
            if (kind != token_t::key && pointer.size() <= longest && wanted.contains(pointer))
                found.emplace_back(pointer, first);
        });
    // one walk over the lines for all of them: the places come in the order of the text
    std::unordered_map<std::string, place_t> places;
    std::size_t line = 1, line_start = 0, at = 0;
    for (const auto& [pointer, offset] : found) {
        for (; at < offset; ++at) {
            if (text[at] != '\n') continue;
            ++line;
            line_start = at + 1;
        }
        places[pointer] = {line, offset - line_start + 1};
    }
    return places;
}

std::string segment(std::string_view key) {
    std::string escaped = "/";
    for (const char c : key) {
        if (c == '~') escaped += "~0";
        else if (c == '/') escaped += "~1";
        else escaped += c;
    }
    return escaped;
}

std::string segment(std::size_t index) { return "/" + std::to_string(index); }

std::string counted(std::size_t count, std::string_view noun) {
    return tessel::format("{} {}{}", count, noun, count == 1 ? "" : "s");
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
