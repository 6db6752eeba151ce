#include "host/edit/objects.h"

#include <cmath>
#include <nlohmann/json.hpp>
#include <stdexcept>

#include "core/format.h"
#include "core/str.h"
#include "files/walk.h"

namespace zarn::edit {
namespace {

using tessel::json::is_blank;

std::size_t behind_blanks(std::string_view text, std::size_t at) {
    while (at < text.size() && is_blank(text[at])) ++at;
    return at;
}

/// Behind the quote that closes the string which begins at an offset; npos when none does.
std::size_t behind_string(std::string_view text, std::size_t at) {
    for (std::size_t i = at + 1; i < text.size(); ++i) {
        if (text[i] == '\\') ++i;
        else if (text[i] == '"') return i + 1;
    }
    return std::string_view::npos;
}

std::string key_of(std::string_view quoted) {
    if (quoted.find('\\') == std::string_view::npos) return std::string(quoted.substr(1, quoted.size() - 2));
    const auto parsed = nlohmann::json::parse(quoted, nullptr, false);
    return parsed.is_string() ? parsed.get<std::string>() : std::string(quoted);
}

std::string quoted(std::string_view key) {
    return nlohmann::json(key).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

object_t needed(std::string_view text, std::size_t at) {
    auto object = read_object(text, at);
    if (!object) throw std::runtime_error("there is no JSON object where one is to be changed");
    return std::move(*object);
}

/// What stands between the comma or bracket before a member and its key.
std::string_view lead_of(std::string_view text, std::size_t begin) {
    std::size_t from = begin;
    while (from > 0 && is_blank(text[from - 1])) --from;
    return text.substr(from, begin - from);
}

}  // namespace

const member_t* object_t::find(std::string_view key) const {
    for (auto member = members.rbegin(); member != members.rend(); ++member)
        if (member->key == key) return &*member;
    return nullptr;
}

std::optional<object_t> read_object(std::string_view text, std::size_t at) {
    object_t object;
    object.open = behind_blanks(text, at);
    if (object.open >= text.size() || text[object.open] != '{') return std::nullopt;
    std::size_t i = behind_blanks(text, object.open + 1);
    if (i < text.size() && text[i] == '}') {
        object.close = i;
        return object;
    }
    while (i < text.size() && text[i] == '"') {
        member_t& member = object.members.emplace_back();
        member.begin = i;
        i = behind_string(text, i);
        if (i == std::string_view::npos) return std::nullopt;
        member.key = key_of(text.substr(member.begin, i - member.begin));
        i = behind_blanks(text, i);
        if (i >= text.size() || text[i] != ':') return std::nullopt;
        member.value = i = behind_blanks(text, i + 1);
        tessel::json::Walk walk(text.substr(i));
        if (!walk.value() || walk.at() == 0) return std::nullopt;
        i += walk.at();
        member.end = i;
        while (member.end > member.value && is_blank(text[member.end - 1])) --member.end;
        if (text[i] == '}') {
            object.close = i;
            return object;
        }
        if (text[i] != ',') return std::nullopt;
        i = behind_blanks(text, i + 1);
    }
    return std::nullopt;
}

void set_member(std::string& text, std::size_t at, std::string_view key, std::string_view value) {
    const object_t object = needed(text, at);
    if (const member_t* member = object.find(key)) {
        text.replace(member->value, member->end - member->value, value);
        return;
    }
    if (object.members.empty()) {
        text.replace(object.open + 1, object.close - object.open - 1, quoted(key) + ": " + std::string(value));
        return;
    }
    const member_t& last = object.members.back();
    const std::string_view found = lead_of(text, last.begin);
    const std::string_view behind_key = std::string_view(text).substr(0, last.value);
    const std::size_t key_end = behind_string(text, last.begin);
    const std::string colon(behind_key.substr(key_end));
    std::string lead(found);
    if (object.members.size() == 1 && found.find('\n') == std::string_view::npos) lead = colon == ":" ? "" : " ";
    text.insert(last.end, "," + lead + quoted(key) + colon + std::string(value));
}

void remove_member(std::string& text, std::size_t at, std::string_view key) {
    for (;;) {  // each of several of one key
        const object_t object = needed(text, at);
        const member_t* member = object.find(key);
        if (member == nullptr) return;
        const auto place = static_cast<std::size_t>(member - object.members.data());
        if (object.members.size() == 1) {
            text.erase(object.open + 1, object.close - object.open - 1);
        } else if (place > 0) {  // with the comma before it
            const std::size_t from = object.members[place - 1].end;
            text.erase(from, member->end - from);
        } else {
            text.erase(member->begin, object.members[1].begin - member->begin);
        }
    }
}

std::string_view value_of(std::string_view text, std::size_t at, std::string_view key) {
    const auto object = read_object(text, at);
    const member_t* member = object ? object->find(key) : nullptr;
    return member != nullptr ? text.substr(member->value, member->end - member->value) : std::string_view();
}

std::string number_text(double value) {
    if (value == std::floor(value) && std::abs(value) < 1e15)
        return tessel::format("{}", static_cast<long long>(value));
    return tessel::str::shortest(value);
}

std::string number_like(std::string_view before, double value) {
    const bool pointed = before.find_first_of(".eE") != std::string_view::npos;
    return pointed ? tessel::str::shortest(value == 0 ? 0.0 : value) : number_text(value);
}

style_t style_of(std::string_view text, std::string_view margin) {
    style_t style;
    style.margin = margin;
    const auto object = read_object(text);
    if (!object || object->members.empty()) return style;
    const member_t& first = object->members.front();
    const std::string_view lead = lead_of(text, first.begin);
    style.colon = text.substr(behind_string(text, first.begin), first.value - behind_string(text, first.begin));
    const auto line = lead.rfind('\n');
    style.spread = line != std::string_view::npos;
    if (style.spread) {
        const std::string_view indent = lead.substr(line + 1);
        if (indent.size() > margin.size()) style.unit = indent.substr(margin.size());
    } else if (style.colon == ":") {
        style.comma = ",";
    }
    return style;
}

}  // namespace zarn::edit
