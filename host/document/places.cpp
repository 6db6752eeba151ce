#include "host/document/places.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <unordered_set>
#include <utility>

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

offsets_t offsets_of(std::string_view text, const std::vector<std::string>& pointers) {
    const std::unordered_set<std::string> wanted(pointers.begin(), pointers.end());
    std::size_t longest = 0;
    for (const std::string& pointer : pointers) longest = std::max(longest, pointer.size());
    offsets_t found;
    if (!wanted.empty())
        scan(text, [&](const std::string& pointer, token_t kind, std::size_t first, std::size_t) {
            if (kind != token_t::key && pointer.size() <= longest && wanted.contains(pointer))
                found.emplace_back(pointer, first);
        });
    return found;
}

std::unordered_map<std::string, place_t> lines_of(std::string_view text, offsets_t offsets) {
    // one walk over the lines for all of them
    std::ranges::stable_sort(offsets, {}, &offsets_t::value_type::second);
    std::unordered_map<std::string, place_t> places;
    std::size_t line = 1, line_start = 0, line_end = text.find('\n');
    for (const auto& [pointer, offset] : offsets) {
        for (; line_end < offset; line_end = text.find('\n', line_start)) {
            ++line;
            line_start = line_end + 1;
        }
        places[pointer] = {line, offset - line_start + 1};
    }
    return places;
}

std::unordered_map<std::string, place_t> places_of(std::string_view text, const std::vector<std::string>& pointers) {
    return lines_of(text, offsets_of(text, pointers));
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

std::vector<std::string_view> segments_of(std::string_view pointer) {
    std::vector<std::string_view> segments;
    while (!pointer.empty()) {
        const std::size_t end = std::min(pointer.find('/', 1), pointer.size());
        segments.push_back(pointer.substr(1, end - 1));
        pointer.remove_prefix(end);
    }
    return segments;
}

}  // namespace zarn
