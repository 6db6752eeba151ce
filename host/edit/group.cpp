// Blocks into a subsystem and out of it.

#include <algorithm>
#include <map>
#include <tuple>

#include "core/format.h"
#include "core/str.h"
#include "host/edit/editor.h"
#include "host/edit/structure.h"

namespace zarn::edit {
namespace {

constexpr double port_gap = 90;  // from the blocks of a group to the ports of its subsystem

using signal_t = std::pair<std::uint64_t, int>;  // a block and its output
constexpr signal_t no_signal{0, 0};

}  // namespace

std::string Editor::signal_name(std::size_t block, int port) const {
    for (const std::size_t inner : children_of(sheet_.item(list_t::blocks, block).id)) {
        if (sheet_.item(list_t::blocks, inner).class_name != outport_class) continue;
        if (tessel::str::to_double(content_of(member(inner, "portNumber"))) == port) return name_of(inner);
    }
    return name_of(block);
}

std::string Editor::group(const std::vector<std::string>& blocks, const std::string& name) {
    if (blocks.empty()) throw Refusal("there are no blocks to be grouped");
    std::set<std::size_t> members;
    for (const std::string& handle : blocks) members.insert(block_at(handle));
    const std::uint64_t level = sheet_.item(list_t::blocks, *members.begin()).parent;
    draw::Rect all;
    std::set<std::uint64_t> ids;
    for (const std::size_t block : members) {
        const item_t& item = sheet_.item(list_t::blocks, block);
        if (item.parent != level) throw Refusal("the blocks are not all on one level");
        for (const char* port : {inport_class, outport_class, gate_class})
            if (item.class_name == port && level != 0)
                throw Refusal(tessel::format("{} stands for a port of the subsystem around", shown(block)),
                              "leave it out of the group");
        all = ids.empty() ? place_of(block) : all.joined(place_of(block));
        ids.insert(item.id);
    }
    new_block_t made;
    made.class_name = subsystem_class;
    made.level = handle_of(level);
    made.name = unused_name(level, name.empty() ? "group" : name);
    const std::string subsystem = add_block(made);
    const std::uint64_t id = sheet_.item(list_t::blocks, block_at(subsystem)).id;
    for (const std::size_t block : members) put_member(block, "parent", std::to_string(id));

    // one port for each signal that crosses the border
    std::map<signal_t, std::pair<int, std::string>> inputs, outputs;  // number and handle
    const auto relay = [&](auto& ports, const signal_t& signal, const char* class_name) -> auto& {
        const auto [entry, added] = ports.emplace(signal, std::pair(static_cast<int>(ports.size()), std::string()));
        if (!added) return entry->second;
        new_block_t port;
        port.class_name = class_name;
        port.level = subsystem;
        const bool input = port.class_name == inport_class;
        const std::size_t source = sheet_.find_block(handle_of(signal.first));
        if (source != nowhere) port.name = unused_name(id, signal_name(source, signal.second));
        port.x = input ? all.x - port_gap : all.right() + port_gap / 2;
        port.y = all.y + 40 * entry->second.first;
        port.parameters["portNumber"] = entry->second.first;
        entry->second.second = add_block(port);
        return entry->second;
    };
    struct crossing_t {
        std::size_t link;
        bool enters;
    };
    std::vector<crossing_t> crossings;
    const auto& links = sheet_.items(list_t::links);
    for (std::size_t i = 0; i < links.size(); ++i) {
        const bool from = ids.contains(links[i].source), to = ids.contains(links[i].target);
        if (from != to) crossings.push_back({i, to});
    }
    std::set<std::size_t> doubled;
    for (const auto& [link, enters] : crossings) {
        const item_t before = sheet_.item(list_t::links, link);
        const signal_t signal{before.source, before.source_port};
        if (enters) {
            const bool first = !inputs.contains(signal);
            const auto port = relay(inputs, signal, inport_class);
            add_link({port.second, 0}, {handle_of(before.target), before.target_port}, {}, "");
            if (first) retarget(link, {subsystem, port.first});
            else doubled.insert(link);  // the signal is led in once
        } else {
            const bool first = !outputs.contains(signal);
            const auto port = relay(outputs, signal, outport_class);
            if (first) add_link({handle_of(before.source), before.source_port}, {port.second, 0}, {}, "");
            resource(link, {subsystem, port.first});
        }
    }
    erase_all(list_t::links, doubled);
    const std::size_t index = block_at(subsystem);
    const double rows = static_cast<double>(std::max(inputs.size(), outputs.size()));
    const double width = 110, height = std::max(64.0, 24 * rows + 16);
    put_geometry(list_t::blocks, index,
                 {{"x", std::round(all.center().x - width / 2)},
                  {"y", std::round(all.center().y - height / 2)},
                  {"width", width},
                  {"height", height}});
    // the subsystem is what was asked for, its ports are not
    created_.erase(std::ranges::find(created_, subsystem), created_.end());
    created_.push_back(subsystem);
    return subsystem;
}

void Editor::ungroup(const std::string& handle) {
    const std::size_t index = block_at(handle);
    const item_t around = sheet_.item(list_t::blocks, index);
    if (!is_subsystem(around.class_name))
        throw Refusal(tessel::format("{} is no subsystem of this file", shown(index)));
    if (has_enable(around.id))
        throw Refusal(tessel::format("{} has an enable input, which its blocks alone would not have", shown(index)),
                      "remove the enable block first");
    const draw::Rect place = place_of(index);
    const std::uint64_t id = around.id;
    std::set<std::size_t> gone_blocks{index}, gone_links;
    std::map<int, std::uint64_t> inports, outports;  // by number
    std::vector<std::size_t> content;
    draw::Rect all;
    for (const std::size_t inner : children_of(id)) {
        const std::string& class_name = sheet_.item(list_t::blocks, inner).class_name;
        if (!is_relay(class_name)) {
            all = content.empty() ? place_of(inner) : all.joined(place_of(inner));
            content.push_back(inner);
            continue;
        }
        const int number =
            static_cast<int>(tessel::str::to_double(content_of(member(inner, "portNumber"))).value_or(-1));
        (class_name == inport_class ? inports : outports).emplace(number, sheet_.item(list_t::blocks, inner).id);
        gone_blocks.insert(inner);
    }
    // signals that came in through a port, and those that leave through one
    std::map<std::uint64_t, signal_t> source_of;  // by inport, then by outport
    const auto links = sheet_.items(list_t::links);
    const auto feeding = [&](std::uint64_t target, int port) {
        for (const item_t& link : links)
            if (link.target == target && link.target_port == port) return signal_t{link.source, link.source_port};
        return no_signal;
    };
    /// Where a signal comes from when the subsystem and its ports are gone.
    const auto origin = [&](signal_t signal) {
        for (std::size_t hops = 0; hops < 2 * (inports.size() + outports.size()) + 2; ++hops) {
            const auto inport = std::ranges::find(inports, signal.first, &std::pair<const int, std::uint64_t>::second);
            if (inport != inports.end()) {
                signal = feeding(id, inport->first);
            } else if (signal.first == id) {
                const auto outport = outports.find(signal.second);
                signal = outport != outports.end() ? feeding(outport->second, 0) : no_signal;
            } else {
                return signal;
            }
        }
        return no_signal;
    };
    for (std::size_t i = 0; i < links.size(); ++i) {
        const bool into = links[i].target == id;
        const bool to_outport =
            std::ranges::any_of(outports, [&](const auto& o) { return o.second == links[i].target; });
        if (into || to_outport) {
            gone_links.insert(i);
            continue;
        }
        const signal_t before{links[i].source, links[i].source_port};
        const bool from_inport = std::ranges::any_of(inports, [&](const auto& o) { return o.second == before.first; });
        if (before.first != id && !from_inport) continue;
        const signal_t source = origin(before);
        if (source != no_signal) resource(i, {handle_of(source.first), source.second});
        else gone_links.insert(i);
    }
    const draw::Point shift{std::round(place.center().x - all.center().x),
                            std::round(place.center().y - all.center().y)};
    std::vector<std::string> moved;
    for (const std::size_t inner : content) moved.push_back(sheet_.block_handle(inner));
    move(moved, shift.x, shift.y);
    for (const std::size_t inner : content) {
        const std::string name = name_of(inner);
        const std::string free = unused_name(around.parent, name);
        if (free != name && name != name_of(index)) put_member(inner, "name", quoted_text(free));
        if (around.parent == 0 && member(inner, "parent").empty()) continue;
        put_member(inner, "parent", std::to_string(around.parent));
    }
    erase_all(list_t::links, gone_links);
    erase_all(list_t::blocks, gone_blocks);
}

}  // namespace zarn::edit
