#include "host/draw/members.h"

#include <algorithm>
#include <charconv>
#include <nlohmann/json.hpp>
#include <optional>

#include "core/format.h"
#include "host/document/members.h"
#include "host/draw/text.h"

namespace zarn::draw {
namespace {

using nlohmann::json;

/// Bytes that are no UTF-8 may be all that is wrong.
json parsed(std::string_view text) {
    if (is_deep(text)) return json(json::value_t::discarded);
    json value = json::parse(text, nullptr, false);
    if (value.is_discarded()) value = json::parse(clean_utf8(text), nullptr, false);
    return value;
}

std::string rewritten(const json& value) { return value.dump(-1, ' ', false, json::error_handler_t::replace); }

template <class Number>
std::optional<Number> whole(std::string_view text) {
    Number number{};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc{} || end != text.data() + text.size()) return std::nullopt;
    return number;
}

}  // namespace

bool is_deep(std::string_view text) {
    constexpr int most = 1000;
    int depth = 0;
    for (std::size_t at = 0; at < text.size(); ++at) {
        const char c = text[at];
        if (c == '"') {
            while (++at < text.size() && text[at] != '"') at += text[at] == '\\' ? 1u : 0u;
        } else if (c == '[' || c == '{') {
            if (++depth > most) return true;
        } else if (c == ']' || c == '}') {
            --depth;
        }
    }
    return false;
}

Value::Value(std::string_view written) : written_(trimmed(written)) {}

bool Value::is_number() const {
    const bool begins = !written_.empty() && (written_[0] == '-' || (written_[0] >= '0' && written_[0] <= '9'));
    return begins && whole<double>(written_).has_value();
}

double Value::number(double otherwise) const { return is_number() ? *whole<double>(written_) : otherwise; }

std::uint64_t Value::id() const {
    if (const auto positive = whole<std::uint64_t>(written_)) return *positive;
    return static_cast<std::uint64_t>(whole<std::int64_t>(written_).value_or(0));
}

std::string Value::text() const {
    if (written_.empty()) return {};
    if (written_[0] == '"' && written_.find('\\') == std::string_view::npos)
        return std::string(written_.substr(1, written_.size() - 2));
    if (written_.find_first_of("\"[{.eE") == std::string_view::npos) return std::string(written_);
    const json value = parsed(written_);
    if (value.is_string()) return value.get<std::string>();
    if (value.is_number_float()) return tessel::format("{}", value.get<double>());
    return value.is_discarded() ? std::string(written_) : rewritten(value);
}

Members::Members(std::string_view object) {
    const bool plain =
        each_member(object, [this](std::string_view key, std::string_view value) { list_.emplace_back(key, value); });
    if (plain || object.empty()) return;
    list_.clear();
    const json value = parsed(object);
    if (!value.is_object()) return;
    for (const auto& [key, member] : value.items())
        list_.emplace_back(kept_.emplace_back(key), kept_.emplace_back(rewritten(member)));
}

Value Members::operator[](std::string_view key) const {
    const auto found = std::ranges::find(list_.rbegin(), list_.rend(), key, &std::pair<std::string_view, Value>::first);
    return found != list_.rend() ? found->second : Value();
}

std::pair<std::string_view, Value> Members::first() const {
    const auto least = std::ranges::min_element(list_, {}, &std::pair<std::string_view, Value>::first);
    return {least->first, (*this)[least->first]};
}

std::vector<std::string> elements_of(std::string_view array) {
    std::vector<std::string> elements;
    const json value = parsed(array);
    if (value.is_array())
        for (const json& element : value) elements.push_back(rewritten(element));
    return elements;
}

}  // namespace zarn::draw
