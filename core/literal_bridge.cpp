#include "core/literal_bridge.h"

#include <charconv>
#include <cctype>
#include <cmath>
#include <limits>
#include <optional>
#include <utility>

#include "core/format.h"

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

    /// A whole text that is a list of numbers, or of such lists of equal length.
    bool only_list(var_array_t& array) {
        skip_blanks();
        std::vector<std::vector<var_t>> rows;
        std::vector<var_t> flat;
        if (!take('[')) return false;
        bool nested = false;
        skip_blanks();
        if (peek() == ']') return false;
        for (bool first = true; !take(']'); first = false) {
            if (!first) {
                if (!take(',')) return false;
                skip_blanks();
                if (take(']')) break;
            }
            skip_blanks();
            if (peek() == '[') {
                nested = true;
                if (!row(rows.emplace_back())) return false;
            } else {
                auto value = number(0);
                if (!value) return false;
                flat.push_back(std::move(*value));
            }
            skip_blanks();
        }
        if (!at_end() || (nested && !flat.empty())) return false;
        if (!nested) {
            array.dimensions = {flat.size(), 1};
            array.values = std::move(flat);
            return true;
        }
        for (auto& values : rows) {
            if (values.size() != rows.front().size()) return false;
            for (auto& value : values) array.values.push_back(std::move(value));
        }
        array.dimensions = {rows.size(), rows.front().size()};
        return !array.values.empty();
    }

private:
    static constexpr int deepest = 32;  // parentheses around a number

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
        while (!rest_.empty() && (rest_.front() == ' ' || rest_.front() == '\t' || rest_.front() == '\n' ||
                                  rest_.front() == '\r'))
            rest_.remove_prefix(1);
    }
    bool at_end() noexcept {
        skip_blanks();
        return rest_.empty();
    }

    bool row(std::vector<var_t>& values) {
        take('[');
        skip_blanks();
        for (bool first = true; !take(']'); first = false) {
            if (!first) {
                if (!take(',')) return false;
                skip_blanks();
                if (take(']')) break;
            }
            auto value = number(0);
            if (!value) return false;
            values.push_back(std::move(*value));
            skip_blanks();
        }
        return true;
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
            skip_blanks();
            if (peek() != '(' && peek() != '-' && peek() != '+') return digits(minus);
            auto value = number(depth + 1);
            if (!value || !minus) return value;
            return negated(*value);
        }
        return digits(false);
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

    std::optional<var_t> digits(bool minus) {
        int base = 10;
        if (rest_.size() > 2 && rest_[0] == '0') {
            const char mark = static_cast<char>(std::tolower(static_cast<unsigned char>(rest_[1])));
            base = mark == 'x' ? 16 : mark == 'o' ? 8 : mark == 'b' ? 2 : 10;
        }
        std::string text;  // without the underscores that may group digits
        std::size_t used = base == 10 ? 0 : 2;
        bool fraction = false, exponent = false, digit_before = base != 10;
        for (; used < rest_.size(); ++used) {
            const char c = rest_[used];
            const bool digit = base == 16 ? std::isxdigit(static_cast<unsigned char>(c)) != 0 : c >= '0' && c <= '9';
            if (digit) text += c;
            else if (c == '_' && digit_before && used + 1 < rest_.size() &&
                     std::isxdigit(static_cast<unsigned char>(rest_[used + 1])) != 0) {
            } else if (base == 10 && c == '.' && !fraction && !exponent) {
                fraction = true;
                text += c;
            } else if (base == 10 && (c == 'e' || c == 'E') && !exponent && !text.empty() && text != ".") {
                exponent = true;
                text += 'e';
                if (used + 1 < rest_.size() && (rest_[used + 1] == '-' || rest_[used + 1] == '+')) {
                    ++used;
                    if (rest_[used] == '-') text += '-';
                }
            } else break;
            digit_before = digit;
        }
        if (used < rest_.size() && (std::isalnum(static_cast<unsigned char>(rest_[used])) != 0 || rest_[used] == '_'))
            return std::nullopt;
        rest_.remove_prefix(used);
        const char* first = text.data();
        const char* last = first + text.size();
        if (fraction || exponent) {
            double value = 0.0;
            const auto [end, error] = std::from_chars(first, last, value);
            if (end != last) return std::nullopt;
            if (error == std::errc::result_out_of_range) value = std::strtod(text.c_str(), nullptr);
            else if (error != std::errc{}) return std::nullopt;
            return var_t(minus ? -value : value);
        }
        // the language has no decimal integer with a leading zero but 0 itself
        if (base == 10 && text.size() > 1 && text[0] == '0' && text.find_first_not_of('0') != std::string::npos)
            return std::nullopt;
        std::uint64_t value = 0;
        const auto [end, error] = std::from_chars(first, last, value, base);
        if (error != std::errc{} || end != last) return std::nullopt;
        return integer(value, minus);
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

/// The block's path: the scope without the segment's tail that names the parameter.
result_t refuse(std::string_view scope, std::string_view text) {
    pyout(tessel::format("{}: '{}' is no literal value, and expressions are not evaluated without the interpreter",
                         scope, text));
    return result_failure;
}

}  // namespace

array_t make_array(const std::vector<double>& values) {
    const auto padded = std::make_shared<std::vector<double>>(values);
    padded->push_back(values.empty() ? 0.0 : values.back());
    return {padded, padded->data(), values.size()};
}

std::shared_ptr<ISeries> LiteralBridge::find_series(const char* expression) {
    const std::string_view text = expression != nullptr ? expression : "";
    const std::lock_guard lock(mutex_);
    const auto found = series_.find(text);
    if (found != series_.end()) return found->second;
    pyout(tessel::format("'{}': no such series, and expressions are not evaluated without the interpreter", text));
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
    if (Reader(text).only_list(array)) return result_ok;
    array = {};
    return refuse(name, text);
}

result_t LiteralBridge::evaluate(std::string_view scope, std::string_view text, var_t* result) {
    auto value = Reader(text).only_scalar();
    if (!value) return refuse(scope, text);
    *result = std::move(*value);
    return result_ok;
}

void LiteralBridge::assign(std::string_view name, std::string_view expression) {
    const std::lock_guard lock(mutex_);
    assigned_[std::string(name)] = expression;
}

std::vector<double> LiteralBridge::array(std::string_view name) const {
    const std::lock_guard lock(mutex_);
    const auto found = arrays_.find(name);
    return found != arrays_.end() ? found->second : std::vector<double>{};
}

std::string LiteralBridge::assigned(std::string_view name) const {
    const std::lock_guard lock(mutex_);
    const auto found = assigned_.find(name);
    return found != assigned_.end() ? found->second : std::string{};
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
