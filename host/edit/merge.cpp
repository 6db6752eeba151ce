// Two people's changes of one file.

#include <map>
#include <optional>

#include "host/edit/editor.h"

namespace zarn::edit {
namespace {

using bodies_t = std::map<std::string, std::string>;

std::string key_of(const Sheet& sheet, list_t list, std::size_t index) {
    switch (list) {
        case list_t::blocks: return sheet.block_handle(index);
        case list_t::links: return sheet.link_handle(index);
        default: return std::to_string(sheet.item(list, index).id);
    }
}

/// The elements of a list by handles. Handles of elements that share an id or ends are numbered as they come.
bodies_t bodies_of(const Sheet& sheet, list_t list) {
    bodies_t bodies;
    std::map<std::string, int> given;
    for (const item_t& item : sheet.items(list)) {
        std::string key = list == list_t::links
                              ? std::to_string(item.source) + ":" + std::to_string(item.source_port) + ">" +
                                    std::to_string(item.target) + ":" + std::to_string(item.target_port)
                              : std::to_string(item.id);
        const int number = ++given[key];
        if (number > 1) key += (list == list_t::links ? "#" : "~") + std::to_string(number);
        bodies.emplace(std::move(key), item.body);
    }
    return bodies;
}

}  // namespace

std::vector<std::string> Editor::merge(std::string_view base, std::string_view theirs) {
    const Sheet before(base), other(theirs);
    struct move_t {
        list_t list;
        std::string key, body;
        bool gone;
    };
    std::vector<std::string> conflicts;
    std::vector<move_t> moves;
    const auto of = [](const bodies_t& bodies, const std::string& key) {
        const auto found = bodies.find(key);
        return found != bodies.end() ? std::optional(found->second) : std::nullopt;
    };
    for (const list_t list : {list_t::blocks, list_t::links, list_t::comments}) {
        const bodies_t a = bodies_of(before, list), b = bodies_of(other, list), mine = bodies_of(sheet_, list);
        bodies_t keys = a;
        keys.insert(b.begin(), b.end());
        for (const auto& [key, ignored] : keys) {
            const auto was = of(a, key), theirs_now = of(b, key), mine_now = of(mine, key);
            if (was == theirs_now || theirs_now == mine_now) continue;
            if (was != mine_now) conflicts.push_back(key);
            else moves.push_back({list, key, theirs_now.value_or(""), !theirs_now.has_value()});
        }
    }
    const std::string frame_before = before.frame(), frame_theirs = other.frame();
    // the text around the lists is taken over as a whole, where the lists are the same
    const bool frame_changed = frame_before != frame_theirs && sheet_.frame() != frame_theirs;
    if (frame_changed && (sheet_.frame() != frame_before || !sheet_.has_lists_of(other)))
        conflicts.emplace_back("model");
    if (!conflicts.empty()) return conflicts;
    for (const move_t& move : moves) {
        std::size_t index = nowhere;
        const auto& items = sheet_.items(move.list);
        for (std::size_t i = 0; i < items.size() && index == nowhere; ++i)
            if (key_of(sheet_, move.list, i) == move.key) index = i;
        if (move.gone && index != nowhere) sheet_.erase(move.list, index);
        else if (!move.gone && index != nowhere) sheet_.replace(move.list, index, move.body);
        else if (!move.gone) sheet_.append(move.list, move.body);
    }
    if (frame_changed) sheet_.take_frame(other);
    return {};
}

void Editor::adopt(std::string_view text) {
    Sheet fresh(text);
    sheet_ = std::move(fresh);
    done_.clear();
    undone_.clear();
    ++revision_;
    state_ = saved_ = ++states_;
}

}  // namespace zarn::edit
