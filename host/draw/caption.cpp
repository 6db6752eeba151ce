#include "host/draw/caption.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cstddef>
#include <optional>

namespace zarn::draw {
namespace {

constexpr std::string_view plus = " + ";
constexpr std::string_view minus = " \xE2\x88\x92 ";
constexpr std::string_view times = "\xC2\xB7";

/// How tightly an expression holds together, by its loosest operator outside of brackets.
enum class Hold {
    loose,    ///< comparisons, conditions, or what is not understood
    sum,      ///< a + b, a - b
    product,  ///< a / b and the like
    tight     ///< a name, a number, a call, a * b: fit to stand before a dot for "times"
};

std::string_view trimmed(std::string_view text) {
    while (!text.empty() && std::isspace(static_cast<unsigned char>(text.front())) != 0) text.remove_prefix(1);
    while (!text.empty() && std::isspace(static_cast<unsigned char>(text.back())) != 0) text.remove_suffix(1);
    return text;
}

bool is_word(char c) { return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '_' || c == '.' || (c & 0x80); }

/// The number that stands at the head of a text, as many bytes of it as belong to the number.
std::optional<double> number_at(std::string_view text, std::size_t& length) {
    double value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    length = static_cast<std::size_t>(end - text.data());
    if (error != std::errc{}) return std::nullopt;
    return value;
}

std::optional<double> number(std::string_view text) {
    std::size_t length = 0;
    const auto value = number_at(text, length);
    return length == text.size() ? value : std::nullopt;
}

/// Looks at an expression from left to right; a sign in front of an operand is no operator.
class Reader {
public:
    explicit Reader(std::string_view text) : rest_(text) {}

    Hold hold() {
        while (!rest_.empty() && hold_ != Hold::loose)
            if (!skip_blank()) operand_ ? after_operand() : before_operand();
        return operand_ ? hold_ : Hold::loose;
    }

private:
    bool skip_blank() {
        if (std::isspace(static_cast<unsigned char>(rest_.front())) == 0) return false;
        rest_.remove_prefix(1);
        return true;
    }

    void before_operand() {
        const char c = rest_.front();
        if (c == '-' || c == '+') return rest_.remove_prefix(1);
        if (c == '(' || c == '[') return skip_brackets();
        std::size_t length = 0;
        if (!number_at(rest_, length)) {
            length = 0;
            while (length < rest_.size() && is_word(rest_[length])) ++length;
        }
        if (length == 0) return loosen(Hold::loose);
        rest_.remove_prefix(length);
        operand_ = true;
    }

    void after_operand() {
        const char c = rest_.front();
        if (c == '(' || c == '[') return skip_brackets();
        const bool twice = rest_.size() > 1 && rest_[1] == c;
        if (c == '+' || c == '-') loosen(Hold::sum);
        else if (c == '/' || c == '%' || c == '@') loosen(Hold::product);
        else if (c != '*') return loosen(Hold::loose);
        rest_.remove_prefix((c == '*' || c == '/') && twice ? 2 : 1);
        operand_ = false;
    }

    void skip_brackets() {
        std::size_t depth = 0, at = 0;
        for (; at < rest_.size(); ++at) {
            const char c = rest_[at];
            if (c == '"' || c == '\'') return loosen(Hold::loose);
            if (c == '(' || c == '[') ++depth;
            if ((c == ')' || c == ']') && --depth == 0) break;
        }
        if (at == rest_.size()) return loosen(Hold::loose);
        rest_.remove_prefix(at + 1);
        operand_ = true;
    }

    void loosen(Hold to) { hold_ = std::min(hold_, to); }

    std::string_view rest_;
    Hold hold_ = Hold::tight;
    bool operand_ = false;  // whether one has just been read
};

std::string bracketed(std::string_view text) { return "(" + std::string(text) + ")"; }

std::string factor_of(std::string_view text) {
    const auto value = number(text);
    if (value == 1) return {};
    if (value == -1) return "-";
    return (Reader(text).hold() == Hold::tight ? std::string(text) : bracketed(text)).append(times);
}

std::string summand_of(std::string_view text) {
    if (number(text) == 0) return {};
    const Hold hold = Reader(text).hold();
    if (hold == Hold::loose) return std::string(plus) + bracketed(text);
    if (text.starts_with('-')) return std::string(minus).append(trimmed(text.substr(1)));
    return std::string(plus).append(text);
}

}  // namespace

std::string fill_caption(std::string_view pattern, const std::function<std::string(std::string_view key)>& value_of) {
    std::string text;
    while (!pattern.empty()) {
        const std::size_t open = pattern.find('{'), close = pattern.find('}', open);
        text += pattern.substr(0, open);
        if (close == std::string_view::npos) break;
        const std::string value = value_of(pattern.substr(open + 1, close - open - 1));
        pattern.remove_prefix(close + 1);
        if (pattern.starts_with(times)) {
            text += factor_of(trimmed(value));
            pattern.remove_prefix(times.size());
        } else if (text.ends_with(plus)) {
            text.resize(text.size() - plus.size());
            text += summand_of(trimmed(value));
        } else {
            text += value;
        }
    }
    return text;
}

}  // namespace zarn::draw
