// Walking over a JSON text without reading its values.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <string_view>
#include <vector>

namespace tessel::json {

inline constexpr std::string_view blanks = " \t\n\r";

/// Told without a search in `blanks`, since it is asked for every few characters of a text.
constexpr bool is_blank(char c) noexcept { return c == ' ' || c == '\n' || c == '\t' || c == '\r'; }
static_assert(std::ranges::all_of(blanks, [](char c) { return is_blank(c); }));
inline bool is_blank(std::string_view text) {
    return std::ranges::all_of(text, [](char c) { return is_blank(c); });
}

/// The characters that tell where a value ends.
inline constexpr auto is_structural = [] {
    std::array<bool, 256> found{};
    for (const char c : {'"', '{', '}', '[', ']', ','}) found[static_cast<unsigned char>(c)] = true;
    return found;
}();

/// Walks over a text; every step answers whether the text goes on as it should.
class Walk {
public:
    explicit Walk(std::string_view text) : text_(text) {}

    std::size_t at() const { return at_; }
    std::string_view from(std::size_t begin) const { return text_.substr(begin, at_ - begin); }

    bool skip_blanks() {
        while (at_ < text_.size() && is_blank(text_[at_])) ++at_;
        return at_ < text_.size();
    }
    bool is(char c) const { return at_ < text_.size() && text_[at_] == c; }
    bool take(char c) {
        if (!skip_blanks() || text_[at_] != c) return false;
        ++at_;
        return true;
    }
    /// A key without escapes: two spellings of one key are not told apart here.
    bool key(std::string_view& key) {
        if (!take('"')) return false;
        std::size_t end = at_;
        while (end < text_.size() && text_[end] != '"' && text_[end] != '\\') ++end;
        if (end == text_.size() || text_[end] == '\\') return false;
        key = text_.substr(at_, end - at_);
        at_ = end + 1;
        return true;
    }
    /// Up to the comma or bracket behind a value.
    bool value() {
        for (std::size_t depth = 0; skip_plain(); ++at_) {
            switch (text_[at_]) {
                case '"':
                    if (!rest_of_string()) return false;
                    break;
                case '{':
                case '[': ++depth; break;
                case '}':
                case ']':
                    if (depth-- == 0) return true;
                    break;
                default:  // a comma
                    if (depth == 0) return true;
                    break;
            }
        }
        return false;
    }
    /// From behind the bracket that opens a list to the one that closes it, with what is in between.
    bool elements(std::vector<std::string_view>& found) {
        for (;; ++at_) {
            const std::size_t begin = at_;
            if (starts_with_mark(begin) || !value()) return false;
            found.push_back(from(begin));
            if (!is(',')) break;
        }
        if (found.size() == 1 && is_blank(found.front())) found.clear();
        return is(']');
    }

private:
    /// Whether a byte order mark follows, which the JSON library skips where a text begins.
    bool starts_with_mark(std::size_t at) const { return text_.substr(at).starts_with("\xEF\xBB\xBF"); }
    /// Up to the next structural character.
    bool skip_plain() {
        while (at_ < text_.size() && !is_structural[static_cast<unsigned char>(text_[at_])]) ++at_;
        return at_ < text_.size();
    }
    /// From the quote that opens a string to the one that closes it.
    bool rest_of_string() {
        do {
            at_ = std::min(text_.find('"', at_ + 1), text_.size());
        } while (at_ < text_.size() && is_escaped());
        return at_ < text_.size();
    }
    /// Whether an odd number of backslashes stands before the character. There is a quote before them.
    bool is_escaped() const {
        std::size_t begin = at_;
        while (text_[begin - 1] == '\\') --begin;
        return (at_ - begin) % 2 != 0;
    }

    std::string_view text_;
    std::size_t at_ = 0;
};

}  // namespace tessel::json
