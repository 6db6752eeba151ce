#include "coder/exact/rules.h"

#include <algorithm>
#include <vector>

#include "coder/exact/texts.h"
#include "core/format.h"
#include "core/str.h"

namespace tessel::exact {
namespace {

constexpr std::string_view prefix = "exact_";

/// A definition with the comment directly above it.
struct piece_t {
    std::string name;
    std::string text;
    std::vector<std::string> needs;
};

bool is_part_of_name(char c) { return c == '_' || (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z'); }

/// The names behind the prefix in a text, in its order.
std::vector<std::string> names_in(std::string_view text) {
    std::vector<std::string> names;
    for (std::size_t at = text.find(prefix); at != std::string_view::npos; at = text.find(prefix, at)) {
        std::size_t end = at += prefix.size();
        while (end < text.size() && is_part_of_name(text[end])) ++end;
        names.emplace_back(text.substr(at, end - at));
    }
    return names;
}

std::vector<std::string_view> lines_of_text(std::string_view text) {
    std::vector<std::string_view> lines;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size() - 1);
        lines.push_back(text.substr(0, end));
        text.remove_prefix(end + 1);
    }
    return lines;
}

class Pieces {
public:
    std::vector<piece_t> take() {
        for (const std::string_view line : lines_of_text(texts::core::exact_h)) read(line);
        return std::move(pieces_);
    }

private:
    void read(std::string_view line) {
        if (inside_) {
            add(line);
            if (line.starts_with("}")) close();
        } else if (line.starts_with("EXACT ") || line.starts_with("typedef struct")) {
            inside_ = true;
            add(line);
            if (line.ends_with("}")) close();
        } else if (line.starts_with("/*") || (in_comment_ && !line.empty())) {
            if (!in_comment_) text_.clear();
            in_comment_ = true;
            add(line);
        } else {
            in_comment_ = false;
            text_.clear();
        }
    }
    void add(std::string_view line) {
        text_ += line;
        text_ += '\n';
    }
    void close() {
        const std::size_t code = text_.find("EXACT ");
        std::vector<std::string> names = names_in(text_.substr(code != std::string::npos ? code : 0));
        // of a structure the name stands behind it, of a function its own may stand behind that of its result
        const bool is_type = code == std::string::npos;
        const std::size_t own = !is_type && names.size() > 1 && names.front().ends_with("_t") ? 1 : 0;
        pieces_.push_back({names[own], text_, {}});
        names.erase(names.begin() + static_cast<std::ptrdiff_t>(own));
        pieces_.back().needs = std::move(names);
        text_.clear();
        inside_ = in_comment_ = false;
    }

    std::vector<piece_t> pieces_;
    std::string text_;
    bool inside_ = false, in_comment_ = false;
};

const std::vector<piece_t>& pieces() {
    static const std::vector<piece_t> all = Pieces().take();
    return all;
}

/// What is used and what that needs: everything needed stands ahead of who needs it.
std::vector<const piece_t*> closure(const std::set<std::string>& used) {
    std::set<std::string> wanted = used;
    std::vector<const piece_t*> found;
    for (auto piece = pieces().rbegin(); piece != pieces().rend(); ++piece) {
        if (!wanted.contains(piece->name)) continue;
        wanted.insert(piece->needs.begin(), piece->needs.end());
        found.push_back(&*piece);
    }
    std::ranges::reverse(found);
    return found;
}

}  // namespace

std::string Rules::use(const std::string& name) {
    used_.insert(name);
    return program_ + "_" + name;
}

std::string Rules::text() const {
    std::string out;
    for (const piece_t* piece : closure(used_)) {
        std::string text = piece->text;
        str::replace_all(text, "EXACT_NO_QUOTIENT(b)", "b == -1");  // it wraps: a program must not end
        str::replace_all(text, "EXACT ", "static inline ");
        str::replace_all(text, std::string(prefix), program_ + "_");
        str::replace_all(text, "/* ---- ", "/* ");
        out += text + "\n";
    }
    return out;
}

bool Rules::need_math() const {
    return std::ranges::any_of(closure(used_),
                               [](const piece_t* p) { return p->text.find("fma(") != std::string::npos; });
}
bool Rules::need_sizes() const {
    return std::ranges::any_of(closure(used_),
                               [](const piece_t* p) { return p->text.find("size_t") != std::string::npos; });
}

}  // namespace tessel::exact
