#include "core/literal_bridge.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <iterator>
#include <optional>
#include <utility>

#include "core/format.h"
#include "core/str.h"

namespace python {
namespace {

using tessel::result_failure;
using tessel::result_ok;
using tessel::result_t;
using tessel::var_t;

/// Reads the literals of the workspace language from a text. Every reader returns nothing when the text at hand is no
/// such literal; the position is then of no further use.
class Reader {
public:
    explicit Reader(std::string_view text) : rest_(text) {}

    /// A whole text that is one scalar literal.
    std::optional<var_t> only_scalar() {
        auto value = scalar(0);
        if (value && !at_end()) return std::nullopt;
        return value;
    }

    /// A whole text that is a list of numbers, or of such lists of equal length. Returns what is wrong with it, null
    /// when it is fine.
    const char* only_list(var_array_t& array) {
        rows_t rows;
        std::vector<var_t> flat;
        skip_blanks();
        if (!take('[') || !items([&] { return peek() == '[' ? row(rows) : item(flat); }) || !at_end())
            return "is no list of literal numbers, and expressions are not evaluated without the interpreter";
        if (rows.empty() && flat.empty()) return "is an empty list";
        if (!rows.empty() && !flat.empty()) return "mixes numbers and lists";
        if (rows.empty()) {
            array.dimensions = {flat.size(), 1};
            array.values = std::move(flat);
            return nullptr;
        }
        const std::size_t columns = rows.front().size();
        for (auto& values : rows) {
            if (values.size() != columns) return "is a list of lists of different lengths";
            std::ranges::move(values, std::back_inserter(array.values));
        }
        if (columns == 0) return "is a list of empty lists";
        array.dimensions = {rows.size(), columns};
        return nullptr;
    }

private:
    using rows_t = std::vector<std::vector<var_t>>;

    static constexpr int deepest = 32;  // parentheses and signs around a number

    char peek() const noexcept { return rest_.empty() ? '\0' : rest_.front(); }
    bool take(char c) noexcept {
        if (rest_.empty() || rest_.front() != c) return false;
        rest_.remove_prefix(1);
        return true;
    }
    bool take_word(std::string_view word) noexcept {
        if (!rest_.starts_with(word)) return false;
        const auto next = rest_.size() > word.size() ? static_cast<unsigned char>(rest_[word.size()]) : 0u;
        if (std::isalnum(static_cast<int>(next)) != 0 || next == '_') return false;
        rest_.remove_prefix(word.size());
        return true;
    }
    void skip_blanks() noexcept {
        while (!rest_.empty() &&
               (rest_.front() == ' ' || rest_.front() == '\t' || rest_.front() == '\n' || rest_.front() == '\r'))
            rest_.remove_prefix(1);
    }
    bool at_end() noexcept {
        skip_blanks();
        return rest_.empty();
    }

    /// What follows an opening bracket, closing bracket included: items by `read`, with commas between them and, if it
    /// likes, behind the last.
    template <class Read>
    bool items(Read read) {
        skip_blanks();
        while (!take(']')) {
            if (!read()) return false;
            skip_blanks();
            if (take(']')) break;
            if (!take(',')) return false;
            skip_blanks();
        }
        return true;
    }

    bool item(std::vector<var_t>& values) {
        auto value = number(0);
        if (value) values.push_back(std::move(*value));
        return value.has_value();
    }

    bool row(rows_t& rows) {
        take('[');
        auto& values = rows.emplace_back();
        return items([&] { return item(values); });
    }

    std::optional<var_t> scalar(int depth) {
        skip_blanks();
        if (peek() == '"' || peek() == '\'') return quoted();
        return number(depth);
    }

    std::optional<var_t> number(int depth) {
        skip_blanks();
        if (depth < deepest && take('(')) {
            auto value = number(depth + 1);
            skip_blanks();
            if (!take(')')) return std::nullopt;
            return value;
        }
        if (take_word("True")) return var_t(true);
        if (take_word("False")) return var_t(false);
        if (depth < deepest && (peek() == '-' || peek() == '+')) {
            const bool minus = peek() == '-';
            take(peek());
            auto value = number(depth + 1);
            if (!value) return value;
            return minus ? negated(*value) : unchanged(*value);
        }
        return digits();
    }

    /// What a sign "+" makes of a number: the integer of a truth value, the number else.
    static var_t unchanged(const var_t& value) {
        return value.type() == tessel::type_bool ? var_t(value.payload<bool>() ? 1 : 0) : value;
    }

    static std::optional<var_t> negated(const var_t& value) {
        switch (value.type()) {
            case tessel::type_flt64: return var_t(-value.payload<double>());
            case tessel::type_bool: return var_t(value.payload<bool>() ? -1 : 0);
            case tessel::type_int32: {
                const auto v = -std::int64_t{value.payload<std::int32_t>()};
                return integer(static_cast<std::uint64_t>(v < 0 ? -v : v), v < 0);
            }
            case tessel::type_int64: {
                const auto v = value.payload<std::int64_t>();
                const bool minus = v > 0;
                return integer(minus ? static_cast<std::uint64_t>(v) : 0u - static_cast<std::uint64_t>(v), minus);
            }
            case tessel::type_uint64: return integer(value.payload<std::uint64_t>(), true);
            default: return std::nullopt;
        }
    }

    /// The narrowest of int32, int64 and uint64 that holds the integer.
    static std::optional<var_t> integer(std::uint64_t magnitude, bool minus) {
        constexpr std::uint64_t top32 = 0x80000000u, top64 = 0x8000000000000000u;
        if (minus && magnitude <= top32) return var_t(static_cast<int>(-static_cast<std::int64_t>(magnitude)));
        if (minus && magnitude <= top64) return var_t(static_cast<long long>(0u - magnitude));
        if (minus) return std::nullopt;
        if (magnitude < top32) return var_t(static_cast<int>(magnitude));
        if (magnitude < top64) return var_t(static_cast<long long>(magnitude));
        return var_t(static_cast<unsigned long long>(magnitude));
    }

    static int base_of(std::string_view text) noexcept {
        if (text.size() < 3 || text[0] != '0') return 10;
        switch (text[1]) {
            case 'x':
            case 'X': return 16;
            case 'o':
            case 'O': return 8;
            case 'b':
            case 'B': return 2;
            default: return 10;
        }
    }

    static bool is_digit(char c, int base) noexcept {
        return base == 16 ? std::isxdigit(static_cast<unsigned char>(c)) != 0 : c >= '0' && c <= '9';
    }

    /// A number without sign.
    std::optional<var_t> digits() {
        const int base = base_of(rest_);
        if (base != 10) rest_.remove_prefix(2);
        std::string text;  // without the underscores that may group digits
        bool fraction = false, exponent = false, groups = base != 10;
        std::size_t used = 0;
        for (; used < rest_.size(); ++used) {
            const char c = rest_[used];
            const char next = used + 1 < rest_.size() ? rest_[used + 1] : '\0';
            if (is_digit(c, base)) {
                text += c;
                groups = true;
                continue;
            }
            if (c == '_' && groups && is_digit(next, base)) {
            } else if (base == 10 && c == '.' && !fraction && !exponent) {
                fraction = true;
                text += c;
            } else if (base == 10 && (c == 'e' || c == 'E') && !exponent && !text.empty()) {
                exponent = true;
                text += c;
                if (next == '-' || next == '+') text += rest_[++used];
            } else break;
            groups = false;
        }
        if (used < rest_.size() && (std::isalnum(static_cast<unsigned char>(rest_[used])) != 0 || rest_[used] == '_'))
            return std::nullopt;
        rest_.remove_prefix(used);
        if (!fraction && !exponent) return whole(text, base);
        const auto value = tessel::str::to_double(text);
        return value ? std::optional(var_t(*value)) : std::nullopt;
    }

    static std::optional<var_t> whole(const std::string& text, int base) {
        // the language has no decimal integer with a leading zero but 0 itself
        if (base == 10 && text[0] == '0' && text.find_first_not_of('0') != std::string::npos) return std::nullopt;
        std::uint64_t value = 0;
        const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value, base);
        if (error != std::errc{} || end != text.data() + text.size()) return std::nullopt;
        return integer(value, false);
    }

    std::optional<var_t> quoted() {
        const char quote = peek();
        take(quote);
        std::string text;
        while (!rest_.empty() && rest_.front() != quote) {
            char c = rest_.front();
            rest_.remove_prefix(1);
            if (c == '\n') return std::nullopt;
            if (c == '\\') {
                if (rest_.empty()) return std::nullopt;
                c = rest_.front();
                rest_.remove_prefix(1);
                switch (c) {
                    case 'n': c = '\n'; break;
                    case 't': c = '\t'; break;
                    case 'r': c = '\r'; break;
                    case '\\':
                    case '\'':
                    case '"': break;
                    default: return std::nullopt;
                }
            }
            text += c;
        }
        if (!take(quote)) return std::nullopt;
        return var_t(text.c_str());
    }

    std::string_view rest_;
};

class StoredSeries final : public ISeries {
public:
    StoredSeries(array_t times, array_t values) : times_(std::move(times)), values_(std::move(values)) {}
    array_t time_data() override { return times_; }
    array_t value_data() override { return values_; }
    void load() override {}

private:
    array_t times_;
    array_t values_;
};

/// The beginning of a text, on one line.
std::string excerpt(std::string_view text) {
    std::size_t most = 120;
    while (most > 0 && most < text.size() && (static_cast<unsigned char>(text[most]) & 0xC0u) == 0x80u)
        --most;  // a whole character
    std::string line(text.substr(0, most));
    std::ranges::replace_if(
        line, [](char c) { return static_cast<unsigned char>(c) < ' '; }, ' ');
    return text.size() > most ? line + "..." : line;
}

result_t refuse(std::string_view scope, std::string_view text, std::string_view why) {
    pyout(tessel::format("{}: '{}' {}", scope, excerpt(text), why));
    return result_failure;
}

/// The part of a dotted name that begins at a position.
std::string_view part_at(std::string_view name, std::size_t begin) {
    return name.substr(begin, std::min(name.find('.', begin), name.size()) - begin);
}

}  // namespace

void TextsByName::set(std::string_view name, std::string_view text) {
    // mostly the next subsystem within the last one, which is quicker to compare as a whole
    const auto same = name.starts_with(last_)
                          ? last_.size()
                          : static_cast<std::size_t>(std::ranges::mismatch(name, last_).in1 - name.begin());
    const auto ends_part = [](std::string_view whole, std::size_t end) {
        return end == whole.size() || whole[end] == '.';
    };
    while (!way_.empty() && (way_.back().end > same || !ends_part(name, way_.back().end))) way_.pop_back();
    last_ = name;
    while (way_.empty() || way_.back().end < name.size()) {
        const std::size_t begin = way_.empty() ? 0 : way_.back().end + 1;
        const std::string_view part = part_at(name, begin);
        auto& inside = nodes_[way_.empty() ? 0 : way_.back().node].inside;
        const auto [entry, fresh] = inside.try_emplace(std::string(part), nodes_.size());
        way_.push_back({entry->second, begin + part.size()});
        if (fresh) nodes_.emplace_back();
    }
    nodes_[way_.back().node].text = text;
}

std::string TextsByName::get(std::string_view name) const {
    std::size_t node = 0;
    for (std::size_t begin = 0; begin <= name.size();) {
        const std::string_view part = part_at(name, begin);
        const auto found = nodes_[node].inside.find(part);
        if (found == nodes_[node].inside.end()) return {};
        node = found->second;
        begin += part.size() + 1;
    }
    return nodes_[node].text;
}

array_t make_array(const std::vector<double>& values) {
    const auto padded = std::make_shared<std::vector<double>>(values);
    padded->push_back(values.empty() ? 0.0 : values.back());
    return {padded, padded->data(), values.size()};
}

std::shared_ptr<ISeries> LiteralBridge::find_series(const char* expression) {
    const std::string_view text = expression != nullptr ? expression : "";
    {
        const std::lock_guard lock(mutex_);
        const auto found = series_.find(text);
        if (found != series_.end()) return found->second;
    }
    pyout(tessel::format("'{}': no such series, and expressions are not evaluated without the interpreter",
                         excerpt(text)));
    return nullptr;
}

void LiteralBridge::set_array(std::string_view name, const double* values, std::int32_t count) {
    const std::unique_ptr<const double[]> owner(values);
    const std::lock_guard lock(mutex_);
    arrays_[std::string(name)].assign(values, values + std::max(count, 0));
}

void LiteralBridge::set_attribute(std::string_view object, std::string_view key, double value) {
    const std::lock_guard lock(mutex_);
    attributes_[tessel::format("{}.{}", object, key)] = value;
}

result_t LiteralBridge::evaluate_array(std::string_view name, std::string_view text, var_array_t& array) {
    array = {};
    const char* fault = Reader(text).only_list(array);
    if (fault == nullptr) return result_ok;
    array = {};
    return refuse(name, text, fault);
}

result_t LiteralBridge::evaluate(std::string_view scope, std::string_view text, var_t* result) {
    auto value = Reader(text).only_scalar();
    if (!value)
        return refuse(scope, text, "is no literal value, and expressions are not evaluated without the interpreter");
    *result = std::move(*value);
    return result_ok;
}

void LiteralBridge::assign(std::string_view name, std::string_view expression) {
    const std::lock_guard lock(mutex_);
    assigned_.set(name, expression);
}

std::vector<double> LiteralBridge::array(std::string_view name) const {
    const std::lock_guard lock(mutex_);
    const auto found = arrays_.find(name);
    return found != arrays_.end() ? found->second : std::vector<double>{};
}

std::string LiteralBridge::assigned(std::string_view name) const {
    const std::lock_guard lock(mutex_);
    return assigned_.get(name);
}

double LiteralBridge::attribute(std::string_view name) const {
    const std::lock_guard lock(mutex_);
    const auto found = attributes_.find(name);
    return found != attributes_.end() ? found->second : 0.0;
}

void LiteralBridge::set_series(std::string_view expression, std::vector<double> times, std::vector<double> values) {
    const std::lock_guard lock(mutex_);
    series_[std::string(expression)] = std::make_shared<StoredSeries>(make_array(times), make_array(values));
}

void LiteralBridge::clear() {
    const std::lock_guard lock(mutex_);
    arrays_.clear();
    assigned_.clear();
    attributes_.clear();
    series_.clear();
}

LiteralBridge& literal_bridge() {
    static LiteralBridge bridge;
    return bridge;
}

}  // namespace python
