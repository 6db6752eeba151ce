// Edits of wires.

#include <algorithm>
#include <deque>
#include <nlohmann/json.hpp>

#include "core/format.h"
#include "core/hash.h"
#include "framework/classes.h"
#include "host/draw/diagram.h"
#include "host/edit/editor.h"
#include "host/edit/written.h"

namespace zarn::edit {
namespace {

bool has(const std::vector<int>& ports, int port) { return std::ranges::find(ports, port) != ports.end(); }

/// Whether an output of a block of the class may depend on that input in the same step.
bool passes(const std::string& class_name, int port) {
    const auto* row = tessel::factory::find_class(tessel::class_hash_of(class_name));
    if (row == nullptr || row->traits().family == tessel::family_t::structure) return false;  // unknown from outside
    const auto& inputs = row->traits().inputs;
    const auto at = static_cast<std::size_t>(std::max(port, 0));
    if (inputs.size() == 0) return true;
    return (at < inputs.size() ? inputs.begin()[at] : inputs.end()[-1]).direct;
}

}  // namespace

void Editor::put_link_member(std::size_t link, const std::string& key, const std::string& value) {
    std::string body = sheet_.item(list_t::links, link).body;
    edit::set_member(body, 0, key, value);
    sheet_.replace(list_t::links, link, std::move(body));
}

void Editor::drop_link_member(std::size_t link, const std::string& key) {
    std::string body = sheet_.item(list_t::links, link).body;
    if (const auto value = value_of(body, 0, key); value.empty() || value == "null") return;
    remove_member(body, 0, key);
    sheet_.replace(list_t::links, link, std::move(body));
}

std::string Editor::bends_text(const draw::Polyline& bends) const {
    json_t list = json_t::array();
    for (const draw::Point p : bends) list.push_back({{"x", number(p.x)}, {"y", number(p.y)}});
    style_t style = sheet_.style(list_t::links);
    style.margin += style.unit;
    return written(list, style);
}

draw::Polyline Editor::bends_of(std::size_t link) const {
    const auto text = value_of(sheet_.item(list_t::links, link).body, 0, "breakpoints");
    const json_t list = json_t::parse(text.empty() ? "[]" : text, nullptr, false);
    draw::Polyline bends;
    if (!list.is_array()) return bends;
    for (const json_t& bend : list) {
        const auto length = [&bend](const char* key) {
            return bend.is_object() && bend.contains(key) && bend[key].is_number() ? bend[key].get<double>() : 0.0;
        };
        bends.push_back({length("x"), length("y")});
    }
    return bends;
}

/// Whether values would go from a block through others to itself within one step.
bool Editor::closes_loop(std::uint64_t source, std::uint64_t target) const {
    std::unordered_multimap<std::uint64_t, const item_t*> leaving;
    for (const item_t& link : sheet_.items(list_t::links)) leaving.emplace(link.source, &link);
    std::unordered_map<std::uint64_t, const std::string*> classes;
    for (const item_t& block : sheet_.items(list_t::blocks)) classes.emplace(block.id, &block.class_name);
    std::set<std::uint64_t> seen{target};
    std::deque<std::uint64_t> waiting{target};
    while (!waiting.empty()) {
        const std::uint64_t at = waiting.front();
        waiting.pop_front();
        if (at == source) return true;
        const auto [first, last] = leaving.equal_range(at);
        for (auto link = first; link != last; ++link) {
            const auto known = classes.find(link->second->target);
            if (known == classes.end() || !passes(*known->second, link->second->target_port)) continue;
            if (seen.insert(link->second->target).second) waiting.push_back(link->second->target);
        }
    }
    return false;
}

obstacle_t Editor::obstacle(const end_t& from, const end_t& to, bool replace) const {
    const std::size_t source = block_at(from.block), target = block_at(to.block);
    const item_t &a = sheet_.item(list_t::blocks, source), &b = sheet_.item(list_t::blocks, target);
    if (a.parent != b.parent)
        return {tessel::format("{} and {} are not on one level", shown(source), shown(target)),
                "lead the signal through ports of the subsystem, or with goto and from"};
    if (!has(outputs_of(source), from.port))
        return {tessel::format("{} has no output {}", shown(source), from.port), ""};
    if (!has(inputs_of(target), to.port))
        return {to.port == draw::enable_port ? tessel::format("{} has no enable input", shown(target))
                                             : tessel::format("{} has no input {}", shown(target), to.port),
                to.port == draw::enable_port ? "put an enable block into the subsystem" : ""};
    for (const item_t& link : sheet_.items(list_t::links))
        if (!replace && link.target == b.id && link.target_port == to.port)
            return {tessel::format("the input {} of {} has a wire already", to.port, shown(target)),
                    "remove that wire first, or connect with \"replace\""};
    if (passes(b.class_name, to.port) && closes_loop(a.id, b.id))
        return {tessel::format("{} would wait for itself: the wire closes a loop without memory", shown(target)),
                "put a memory block into the loop"};
    return {};
}

std::size_t Editor::add_link(const end_t& from, const end_t& to, const draw::Polyline& bends,
                             const std::string& label) {
    json_t link{{"srcId", sheet_.item(list_t::blocks, block_at(from.block)).id},
                {"dstId", sheet_.item(list_t::blocks, block_at(to.block)).id},
                {"srcPort", from.port},
                {"dstPort", to.port}};
    if (!label.empty()) link["label"] = label;
    const std::size_t index = sheet_.append(list_t::links, written(link, sheet_.style(list_t::links)));
    if (!bends.empty()) put_link_member(index, "breakpoints", bends_text(bends));
    return index;
}

void Editor::connect(const end_t& from, const end_t& to, const draw::Polyline& bends, const std::string& label,
                     bool replace) {
    const obstacle_t found = obstacle(from, to, replace);
    if (!found.why.empty()) throw Refusal(found.why, found.mend);
    const std::uint64_t target = sheet_.item(list_t::blocks, block_at(to.block)).id;
    std::set<std::size_t> gone;
    const auto& links = sheet_.items(list_t::links);
    for (std::size_t i = 0; i < links.size(); ++i)
        if (links[i].target == target && links[i].target_port == to.port) gone.insert(i);
    erase_all(list_t::links, gone);
    add_link(from, to, bends, label);
}

void Editor::retarget(std::size_t link, const end_t& to) {
    put_link_member(link, "dstId", std::to_string(sheet_.item(list_t::blocks, block_at(to.block)).id));
    put_link_member(link, "dstPort", std::to_string(to.port));
    drop_link_member(link, "breakpoints");
}

void Editor::resource(std::size_t link, const end_t& from) {
    put_link_member(link, "srcId", std::to_string(sheet_.item(list_t::blocks, block_at(from.block)).id));
    put_link_member(link, "srcPort", std::to_string(from.port));
    drop_link_member(link, "breakpoints");
}

void Editor::reconnect(const std::string& wire, const std::optional<end_t>& from, const std::optional<end_t>& to) {
    const std::size_t link = wire_at(wire);
    const item_t before = sheet_.item(list_t::links, link);
    const end_t source = from.value_or(end_t{handle_of(before.source), before.source_port});
    const end_t target = to.value_or(end_t{handle_of(before.target), before.target_port});
    const bool same_input = !to || (sheet_.item(list_t::blocks, block_at(target.block)).id == before.target &&
                                    target.port == before.target_port);
    const obstacle_t found = obstacle(source, target, same_input);
    if (!found.why.empty()) throw Refusal(found.why, found.mend);
    if (from) resource(link, *from);
    if (to) retarget(link, *to);
}

void Editor::set_bends(const std::string& wire, const draw::Polyline& bends) {
    const std::size_t link = wire_at(wire);
    if (bends.empty()) drop_link_member(link, "breakpoints");
    else put_link_member(link, "breakpoints", bends_text(bends));
}

void Editor::set_label(const std::string& wire, const std::string& text) {
    const std::size_t link = wire_at(wire);
    if (text.empty()) drop_link_member(link, "label");
    else put_link_member(link, "label", quoted_text(text));
}

void Editor::insert_on_wire(const std::string& wire, const std::string& given) {
    const std::string block = resolved(given);
    const std::size_t link = wire_at(wire), index = block_at(block);
    const item_t before = sheet_.item(list_t::links, link);
    const auto inputs = inputs_of(index), outputs = outputs_of(index);
    const std::uint64_t own = sheet_.item(list_t::blocks, index).id;
    const auto fed = [&](int port) {
        return std::ranges::any_of(sheet_.items(list_t::links), [&](const item_t& other) {
            return other.target == own && other.target_port == port;
        });
    };
    const auto input = std::ranges::find_if(inputs, [&](int port) { return port >= 0 && !fed(port); });
    if (input == inputs.end() || outputs.empty())
        throw Refusal(tessel::format("{} has no free input, or no output", shown(index)),
                      "a block that stands in a wire takes a signal and gives one");
    const std::size_t target = sheet_.find_block(handle_of(before.target));
    if (target == nowhere || sheet_.item(list_t::blocks, index).parent != sheet_.item(list_t::blocks, target).parent)
        throw Refusal("the block and the wire are not on one level");
    retarget(link, {block, *input});
    add_link({block, outputs.front()}, {handle_of(before.target), before.target_port}, {}, "");
}

}  // namespace zarn::edit
