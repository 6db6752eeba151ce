#include "host/edit/sheet.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <nlohmann/json.hpp>
#include <optional>
#include <utility>

#include "core/format.h"
#include "core/str.h"
#include "files/walk.h"
#include "host/document/members.h"
#include "host/session/json_text.h"

namespace zarn::edit {
namespace {

constexpr const char* list_keys[] = {"blocks", "links", "comments"};

int port_in(std::string_view value) {
    const double number = tessel::str::to_double(std::string(trimmed(value))).value_or(0.0);
    return static_cast<std::int16_t>(static_cast<std::int64_t>(std::clamp(number, -1e9, 1e9)));
}

/// Reads what is asked of an element often.
void read_facts(item_t& item, list_t list) {
    item.class_name.clear();
    item.id = item.parent = item.source = item.target = 0;
    item.source_port = item.target_port = 0;
    const auto take = [&](std::string_view key, std::string_view written) {
        const std::string_view value = trimmed(written);
        if (key == "id") item.id = id_of(value);
        else if (key == "parent") item.parent = id_of(value);
        else if (key == "srcId") item.source = id_of(value);
        else if (key == "dstId") item.target = id_of(value);
        else if (key == "srcPort") item.source_port = port_in(value);
        else if (key == "dstPort") item.target_port = port_in(value);
    };
    if (list == list_t::blocks) item.class_name = each_member_of_block(item.body, take);
    else each_member(item.body, take);
}

item_t item_of(std::string_view text, list_t list) {
    const std::string_view body = trimmed(text);
    item_t item;
    const auto at = static_cast<std::size_t>(body.data() - text.data());
    item.lead = text.substr(0, at);
    item.body = body;
    item.trail = text.substr(at + body.size());
    read_facts(item, list);
    return item;
}

/// The blanks behind the last line end of a text.
std::string last_line(std::string_view text) {
    const auto line = text.rfind('\n');
    std::string_view rest = line == std::string_view::npos ? std::string_view() : text.substr(line + 1);
    const auto end = std::ranges::find_if_not(rest, [](char c) { return c == ' ' || c == '\t'; });
    return std::string(rest.begin(), end);
}

}  // namespace

Sheet::Sheet(std::string_view text) {
    const char* mend = "a model file is an object with a list \"blocks\" and a list \"links\"";
    const auto root = read_object(text);
    if (!root) throw Refusal("the file is not laid out as a model that can be edited", mend);
    std::size_t from = 0;
    bool seen[3] = {false, false, false};
    for (const member_t& member : root->members) {
        const auto key = std::ranges::find(list_keys, member.key);
        if (key == std::end(list_keys)) continue;
        const auto list = static_cast<std::size_t>(key - std::begin(list_keys));
        const bool is_list = text[member.value] == '[';
        if (!is_list && list == static_cast<std::size_t>(list_t::comments)) continue;  // of another program
        if (!is_list || seen[list])
            throw Refusal(tessel::format("\"{}\" of the file is {}", member.key, is_list ? "there twice" : "no list"),
                          mend);
        seen[list] = true;
        const std::size_t begin = member.value + 1;
        tessel::json::Walk walk(text.substr(begin));
        std::vector<std::string_view> found;
        if (!walk.elements(found)) throw Refusal(tessel::format("\"{}\" of the file is no list", member.key), mend);
        const std::size_t end = begin + walk.at();
        piece_t& piece = frame_.emplace_back();
        piece.text = text.substr(from, begin - from);
        piece.list = static_cast<int>(list);
        if (found.empty()) piece.inner = text.substr(begin, end - begin);
        for (const std::string_view element : found)
            lists_[list].push_back(item_of(element, static_cast<list_t>(list)));
        from = end;
    }
    frame_.push_back({std::string(text.substr(from)), -1, {}});
    changes_.clear();
}

std::string Sheet::text() const {
    std::string text;
    for (const piece_t& piece : frame_) {
        text += piece.text;
        if (piece.list < 0) continue;
        const auto& items = lists_[static_cast<std::size_t>(piece.list)];
        if (items.empty()) text += piece.inner;
        for (const item_t& item : items) {
            if (&item != &items.front()) text += ',';
            text += item.lead;
            text += item.body;
            text += item.trail;
        }
    }
    return text;
}

// ---- the frame

namespace {

/// The text of a frame with empty lists, and for each byte of it nothing moved: pieces can be found again by length.
std::string joined(const std::vector<change_t::piece_t>& frame) {
    std::string text;
    for (const auto& piece : frame) text += piece.text;
    return text;
}

}  // namespace

std::string Sheet::frame() const { return joined(frame_); }

void Sheet::set_frame(std::vector<piece_t> frame) {
    change_t change;
    change.kind = change_t::kind_t::frame;
    change.frame_before = frame_;
    change.frame_after = frame;
    frame_ = std::move(frame);
    note(std::move(change));
}

double Sheet::setting(std::string_view key, double otherwise) const {
    const std::string text = joined(frame_);
    const auto model = value_of(text, 0, "model");
    if (model.empty() || model.front() != '{') return otherwise;
    return tessel::str::to_double(value_of(model, 0, key)).value_or(otherwise);
}

void Sheet::set_setting(const std::string& key, double value) {
    const std::string text = joined(frame_);
    const auto root = read_object(text);
    const member_t* model = root ? root->find("model") : nullptr;
    if (model == nullptr) return put_member("model", "{" + quoted_text(key) + ": " + number_text(value) + "}", -1, "");
    std::string object = text.substr(model->value, model->end - model->value);
    const auto before = value_of(object, 0, key);
    const std::string written = number_like(before, value);
    if (written == before) return;
    set_member(object, 0, key, written);
    // the object stands in one piece: lists are between the pieces
    std::size_t at = model->value;
    auto frame = frame_;
    for (piece_t& piece : frame) {
        if (at < piece.text.size()) {
            piece.text.replace(at, model->end - model->value, object);
            break;
        }
        at -= piece.text.size();
    }
    set_frame(std::move(frame));
}

/// Adds a member behind the others of the whole; `list` stands between what is before and behind it.
void Sheet::put_member(const std::string& key, const std::string& before, int list, const std::string& behind) {
    auto frame = frame_;
    std::string& last = frame.back().text;
    const auto close = last.rfind('}');
    const auto root = read_object(joined(frame));
    if (close == std::string::npos || !root) throw Refusal("the file is not laid out as a model that can be edited");
    std::size_t end = close;
    while (end > 0 && tessel::json::is_blank(last[end - 1])) --end;
    const std::string tail = last.substr(end);
    std::string lead = " ";
    if (!root->members.empty()) {
        const std::string text = joined(frame);
        std::size_t from = root->members.front().begin;
        while (from > 0 && tessel::json::is_blank(text[from - 1])) --from;
        lead = text.substr(from, root->members.front().begin - from);
        if (lead.empty()) lead = root->members.size() > 1 && text[root->members[1].begin - 1] == ',' ? "" : " ";
    }
    last = last.substr(0, end) + (root->members.empty() ? "" : ",") + lead + quoted_text(key) + ": " + before;
    frame.back().list = list;
    if (list >= 0) frame.push_back({behind + tail, -1, {}});
    else last += behind + tail;
    set_frame(std::move(frame));
}

void Sheet::need_list(list_t list) {
    const int number = static_cast<int>(list);
    if (std::ranges::any_of(frame_, [number](const piece_t& piece) { return piece.list == number; })) return;
    if (!value_of(joined(frame_), 0, list_keys[number]).empty())
        throw Refusal(tessel::format("\"{}\" of the file is no list", list_keys[number]));
    put_member(list_keys[number], "[", number, "]");
}

// ---- the elements

void Sheet::replace(list_t list, std::size_t index, std::string body) {
    item_t& item = list_of(list)[index];
    if (item.body == body) return;
    change_t change{change_t::kind_t::replace, list, index, item, {}, {}, {}};
    item.body = std::move(body);
    read_facts(item, list);
    change.after = item;
    note(std::move(change));
}

std::string Sheet::margin_of(list_t list) const {
    for (const piece_t& piece : frame_)
        if (piece.list == static_cast<int>(list)) return last_line(piece.text);
    return {};
}

style_t Sheet::style(list_t list) const {
    const auto& items = lists_[static_cast<std::size_t>(list)];
    if (!items.empty()) return style_of(items.back().body, last_line(items.back().lead));
    const auto& blocks = lists_[0];
    if (!blocks.empty()) {
        style_t style = style_of(blocks.back().body, last_line(blocks.back().lead));
        style.margin = margin_of(list) + style.unit;
        return style;
    }
    style_t style;
    style.margin = margin_of(list) + " ";
    return style;
}

std::size_t Sheet::append(list_t list, std::string body) {
    need_list(list);
    auto& items = list_of(list);
    item_t item;
    item.body = std::move(body);
    read_facts(item, list);
    if (items.empty()) {
        const std::string margin = margin_of(list);
        const bool lines = joined(frame_).find('\n') != std::string::npos;
        if (lines) {
            item.lead = "\n" + margin + style(list).unit;
            item.trail = "\n" + margin;
        }
    } else {
        item_t last = items.back();
        item.lead = last.lead;
        if (items.size() == 1 && item.lead.find('\n') == std::string::npos) {
            // what stands on one line goes on in a line of its own where the file has lines
            const bool lines = joined(frame_).find('\n') != std::string::npos;
            item.lead = lines ? "\n" + margin_of(list) + " " : " ";
        }
        item.trail = last.trail;
        change_t change{change_t::kind_t::replace, list, items.size() - 1, last, {}, {}, {}};
        items.back().trail.clear();
        change.after = items.back();
        if (!(change.before == change.after)) note(std::move(change));
    }
    items.push_back(item);
    note({change_t::kind_t::insert, list, items.size() - 1, {}, std::move(item), {}, {}});
    return items.size() - 1;
}

void Sheet::erase(list_t list, std::size_t index) {
    auto& items = list_of(list);
    const item_t gone = items[index];
    items.erase(items.begin() + static_cast<std::ptrdiff_t>(index));
    note({change_t::kind_t::erase, list, index, gone, {}, {}, {}});
    // blanks at both ends of the list stay as they are
    const auto keep = [&](std::size_t at, std::string item_t::*blanks) {
        if (items.empty() || items[at].*blanks == gone.*blanks) return;
        change_t change{change_t::kind_t::replace, list, at, items[at], {}, {}, {}};
        items[at].*blanks = gone.*blanks;
        change.after = items[at];
        note(std::move(change));
    };
    if (index == items.size()) keep(items.size() - 1, &item_t::trail);
    if (index == 0) keep(0, &item_t::lead);
}

void Sheet::apply(const change_t& change, bool back) {
    auto& items = list_of(change.list);
    const auto at = items.begin() + static_cast<std::ptrdiff_t>(std::min(change.index, items.size()));
    const bool puts = (change.kind == change_t::kind_t::insert) != back;
    switch (change.kind) {
        case change_t::kind_t::frame: frame_ = back ? change.frame_before : change.frame_after; return;
        case change_t::kind_t::replace: *at = back ? change.before : change.after; return;
        default:
            if (puts) items.insert(at, back ? change.before : change.after);
            else items.erase(at);
    }
}

void Sheet::undo(const std::vector<change_t>& changes) {
    for (auto change = changes.rbegin(); change != changes.rend(); ++change) apply(*change, true);
}

void Sheet::redo(const std::vector<change_t>& changes) {
    for (const change_t& change : changes) apply(change, false);
}

std::size_t object_in(std::string_view element) {
    const auto outer = read_object(element);
    if (!outer || outer->members.size() != 1 || element[outer->members.front().value] != '{')
        throw Refusal("the block is written in a way that cannot be edited");
    return outer->members.front().value;
}

std::string content_of(std::string_view value) { return value.starts_with('"') ? text_of(value) : std::string(value); }

std::string quoted_text(std::string_view text) { return json_string(text); }

}  // namespace zarn::edit
