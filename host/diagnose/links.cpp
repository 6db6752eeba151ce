// Links end at real blocks: what a link to a subsystem stands for, and which input it feeds.

#include <algorithm>
#include <map>
#include <span>
#include <tuple>
#include <unordered_set>
#include <utility>

#include "host/diagnose/source.h"
#include "host/diagnose/tree.h"
#include "host/diagnose/wiring.h"
#include "model/rules/binding.h"
#include "port.h"

namespace zarn {
namespace {

/// The ports of one kind that a block has, as what to link to.
std::string one_of(const char* any, const char* port, std::size_t count) {
    if (count == 0) return "another block";
    if (count == 1) return tessel::format("{} 0", port);
    if (count == 2) return tessel::format("{} 0 or 1", port);
    return tessel::format("{} from 0 to {}", any, count - 1);
}

/// Why a link carries nothing.
struct dead_t {
    std::size_t node = none;  // the input that it should feed, if there is one
    std::int16_t port = 0;
    const char* code = nullptr;  // null when it is told already
    const edge_t* edge = nullptr;
    const node_t* about = nullptr;
    std::size_t needs = none;  // the outport, numbered by a text, that it should come from
    bool followed = false;     // the link that counts when the cast which it leads to goes out of the diagram
    std::string what;
    std::string mend;
};

class Binder {
public:
    Binder(const graph_t& graph, wiring_t& wiring, Report& report)
        : graph_(graph),
          wiring_(wiring),
          report_(report),
          blocks_(line_up(graph, wiring.live)),
          index_(blocks_),
          census_(blocks_) {}

    void run() {
        bool touched = false;
        for (wire_t& wire : wiring_.wires) touched = bind(wire) || touched;
        for (const dead_t& dead : dead_) tell(dead);
        wiring_.starves.resize(graph_.nodes.size());
        for (std::size_t i = 0; i < blocks_.size(); ++i)
            wiring_.starves[wiring_.live[i]] = !is_subsystem(*blocks_[i]) && !blocks_[i]->has_all_sources();
        if (touched) tessel::rules::drop(wiring_.live, census_.subsystems());
    }

private:
    using fault_t = tessel::rules::end_t::fault_t;

    /// The block at a position of the line-up.
    const node_t& at(std::size_t position) const { return graph_.nodes[wiring_.live[position]]; }
    std::uint64_t shown(std::uint64_t id) const { return graph_.written_id(id); }

    bool bind(wire_t& wire) {
        const auto dst = census_.destination(wire), src = census_.source(wire);
        dead_t dead;
        if (dst.well()) dead.node = wiring_.live[dst.block], dead.port = dst.port;
        else blame_destination(wire, dst, dead);
        if (wire.told) dead.about = nullptr;
        else if (!src.well()) blame_source(wire, src, dead);
        dead.followed = dst.well() && !wire.lost && at(dst.block).is(hash_cast) && fed_casts_.insert(dst.block).second;
        if (wire.told || !src.well() || !dst.well()) {
            wire.told = true;
            dead_.push_back(std::move(dead));
            return false;
        }
        wire.src = at(src.block).id();
        wire.src_port = src.port;
        wire.dst = at(dst.block).id();
        wire.dst_port = dst.port;
        feed_t& feed = wiring_.typed[dead.node][static_cast<std::size_t>(dst.port)];
        wiring_.has_double_feeds = wiring_.has_double_feeds || feed.source != none;
        feed = {wiring_.live[src.block], src.port, wire.from, wire.to};
        blocks_[dst.block]->input(dst.port)->link(blocks_[src.block], src.port);
        return true;
    }

    /// Why a link leads nowhere.
    void blame_destination(const wire_t& wire, const tessel::rules::end_t& end, dead_t& dead) {
        if (end.fault == fault_t::no_block) {
            if (!graph_.skipped.contains(wire.dst))
                set(dead, "Z202", *wire.to, near_end(wire.src),
                    tessel::format("a link leads to the id {}, which no block has", shown(wire.dst)),
                    "link to a block, or take the link out");
            return;
        }
        const node_t& node = at(end.block);
        if (end.fault == fault_t::no_inner && end.port == -1)
            set(dead, "Z204", *wire.to, &node,
                "a link leads to the enable input (port -1), but there is no enable block inside",
                "add an enable block inside, or take the link out");
        else if (end.fault == fault_t::no_inner && meant(hash_inport, node.id(), end.port) == none)
            set(dead, "Z204", *wire.to, &node, missing_text(hash_inport, node.id(), end.port),
                tessel::format("add an inport with the \"portNumber\" {} inside, or take the link out", end.port));
        else if (end.fault == fault_t::no_port)
            set(dead, "Z203", *wire.to, &node,
                tessel::format("a link leads to input {}, but the block has {}", end.port,
                               counted(node.inputs(), "input")),
                "link to " + one_of("an input", "input", node.inputs()) + ", or take the link out");
    }

    /// Why a link comes from nowhere.
    void blame_source(const wire_t& wire, const tessel::rules::end_t& end, dead_t& dead) {
        if (end.fault == fault_t::no_block) {
            if (dead.about == nullptr && !graph_.skipped.contains(wire.src))
                set(dead, "Z202", *wire.from, near_end(wire.dst),
                    tessel::format("a link comes from the id {}, which no block has", shown(wire.src)),
                    "link from a block, or take the link out");
            return;
        }
        const node_t& node = at(end.block);
        if (end.fault == fault_t::no_inner) {
            if (const std::size_t outport = meant(hash_outport, node.id(), end.port); outport != none)
                dead.needs = outport;
            else
                set(dead, "Z204", *wire.from, &node, missing_text(hash_outport, node.id(), end.port),
                    tessel::format("add an outport with the \"portNumber\" {} inside, or take the link out", end.port));
        } else {
            set(dead, "Z203", *wire.from, &node,
                tessel::format("a link comes from output {}, but the block has {}", end.port,
                               counted(node.outputs(), "output")),
                "link from " + one_of("an output", "output", node.outputs()) + ", or take the link out");
        }
    }

    /// The inport or outport whose number is written as text and means this port: told there.
    std::size_t meant(std::uint32_t hash, std::uint64_t subsystem, std::int16_t port) {
        if (!texts_known_) {
            texts_known_ = true;
            for (const std::size_t position : wiring_.live) {
                const node_t& node = graph_.nodes[position];
                if ((node.is(hash_inport) || node.is(hash_outport)) && !tessel::rules::port_number(*node.block))
                    texts_.try_emplace({node.block->class_hash(), node.parent(), port_number(node)}, position);
            }
        }
        const auto found = texts_.find({hash, subsystem, port});
        return found != texts_.end() ? found->second : none;
    }

    std::string missing_text(std::uint32_t hash, std::uint64_t subsystem, std::int16_t port) const {
        std::string numbers;
        for (const std::int16_t number : census_.numbers(hash, subsystem))
            numbers += (numbers.empty() ? "" : ", ") + std::to_string(number);
        const char* block = hash == hash_inport ? "inport" : "outport";
        return tessel::format("a link {} port {}, but no {} inside has this \"portNumber\" ({})",
                              hash == hash_inport ? "leads to" : "comes from", port, block,
                              numbers.empty() ? tessel::format("there is no {}", block) : "there: " + numbers);
    }

    const node_t* near_end(std::uint64_t id) const {
        const std::size_t position = index_.position(id);
        return position != none ? &at(position) : nullptr;
    }

    static void set(dead_t& dead, const char* code, const edge_t& edge, const node_t* about, std::string what,
                    std::string mend) {
        if (dead.code != nullptr) return;  // the first reason is enough
        dead.code = code;
        dead.edge = &edge;
        dead.about = about;
        dead.what = std::move(what);
        dead.mend = std::move(mend);
    }

    void tell(const dead_t& dead) {
        const node_t* fed = dead.node != none ? &graph_.nodes[dead.node] : nullptr;
        const bool open = fed != nullptr && wiring_.feed(dead.node, static_cast<std::size_t>(dead.port)) == nullptr;
        const bool starves = open && !is_model_input(*fed);
        if (open) wiring_.excused[dead.node][static_cast<std::size_t>(dead.port)] = true;
        if (starves && dead.needs != none) wiring_.needed.insert(dead.needs);
        if (dead.code == nullptr) return;
        if (dead.about != nullptr && dead.about->damaged) return;  // an error of its own
        if (dead.about != nullptr && report_.is_broken_reference(*dead.about) && !starves) return;
        const std::string input = starves ? input_text(*fed, dead.port) : "";
        if (starves && dead.about != nullptr && report_.blame_reference(*dead.about, input)) return;
        if (starves && report_.blame_reference(*fed, input)) return;
        std::string what = dead.what;
        if (starves && dead.about != fed) what += "; " + input + " stays without a source";
        else if (starves) what += tessel::format("; input {} stays without a source", dead.port);
        const bool starves_behind = !starves && dead.followed;
        if (starves_behind)
            what += tessel::format("; it is the first link into {}, and what stands behind that stays without a source",
                                   fed->path());
        report_.at_link(dead.code, starves || starves_behind ? severity_t::error : severity_t::warning, *dead.edge,
                        dead.about, what, dead.mend);
    }

    const graph_t& graph_;
    wiring_t& wiring_;
    Report& report_;
    lineup_t blocks_;
    tessel::rules::BlockIndex index_;
    tessel::rules::Census census_;
    std::vector<dead_t> dead_;
    std::unordered_set<std::size_t> fed_casts_;
    std::map<std::tuple<std::uint32_t, std::uint64_t, std::int16_t>, std::size_t> texts_;
    bool texts_known_ = false;
};

/// "0", "0 and 2", "0, 1, 2 and 5 more".
std::string listed(const std::vector<std::size_t>& numbers) {
    constexpr std::size_t most = 8;
    std::string text;
    for (std::size_t i = 0; i < std::min(numbers.size(), most); ++i)
        text += (i == 0 ? "" : i + 1 == numbers.size() ? " and " : ", ") + std::to_string(numbers[i]);
    if (numbers.size() > most) text += tessel::format(" and {} more", numbers.size() - most);
    return text;
}

void tell_missing(const graph_t& graph, const node_t& node, const std::vector<std::size_t>& missing, Report& report) {
    if (report.blame_reference(node, input_text(node, static_cast<std::int16_t>(missing.front())))) return;
    const node_t* around = graph.find(node.parent());
    std::string what = tessel::format("{} {} no source", missing.size() == 1 ? "input" : "inputs", listed(missing));
    what.insert(what.rfind("no source"), missing.size() == 1 ? "has " : "have ");
    std::string mend = "link a source to it";
    if (node.is(hash_enable) && node.parent() != 0 && around != nullptr) {
        what = tessel::format("nothing is linked to the enable input (port -1) of {}", around->path());
        mend = "link a condition to it, or take the enable block out";
    } else if (node.is(hash_inport) && around != nullptr) {
        what = tessel::format("nothing is linked to input {} of {}", port_number(node), around->path());
    } else if (node.row->traits().input_count >= 0 &&
               node.inputs() > static_cast<std::size_t>(node.row->traits().input_count)) {
        what += tessel::format("; the file's \"inportCount\" of {} gives this class more than its {}", node.inputs(),
                               counted(static_cast<std::size_t>(node.row->traits().input_count), "input"));
        mend = tessel::format("write {} as \"inportCount\"", node.row->traits().input_count);
    }
    report.at_block("Z201", severity_t::error, node, what, mend);
}

}  // namespace

void bind_links(const graph_t& graph, wiring_t& wiring, Report& report) { Binder(graph, wiring, report).run(); }

void check_sources(const graph_t& graph, const wiring_t& wiring, Report& report) {
    std::unordered_set<std::uint64_t> ids;  // that a block without a source shares with one before it
    for (std::size_t i = 0; i < graph.nodes.size(); ++i)
        if (wiring.starves[i] && graph.position(graph.nodes[i].id()) != i) ids.insert(graph.nodes[i].id());
    for (const std::size_t position : wiring.live) {
        const node_t& node = graph.nodes[position];
        if (is_model_input(node)) continue;
        if (node.damaged || ids.contains(node.id())) continue;  // told with the file, told with the id
        std::vector<std::size_t> missing;
        for (std::size_t i = node.is(hash_cast) ? 1 : 0; i < wiring.typed[position].size();
             ++i)  // a cast's own input has its own check
            if (wiring.typed[position][i].source == none && !wiring.excused[position][i]) missing.push_back(i);
        if (!missing.empty()) tell_missing(graph, node, missing, report);
    }
}

void check_double_feeds(const graph_t& graph, const wiring_t& wiring, Report& report) {
    if (!wiring.has_double_feeds) return;
    std::vector<const wire_t*> feeds;
    for (const wire_t& wire : wiring.wires)
        if (!wire.told) feeds.push_back(&wire);
    const auto input_of = [](const wire_t* wire) { return std::pair(wire->dst, wire->dst_port); };
    std::ranges::stable_sort(feeds, {}, input_of);
    for (auto first = feeds.begin(); first != feeds.end();) {
        const auto input = input_of(*first);
        const auto end = std::find_if(first, feeds.end(), [&](const wire_t* wire) { return input_of(wire) != input; });
        const std::span wires(std::exchange(first, end), end);
        if (wires.size() < 2) continue;
        const node_t* node = graph.find(input.first);
        if (node == nullptr) continue;
        const wire_t& last = *wires.back();
        const node_t* source = graph.find(last.src);
        bool alike = true;
        for (const wire_t* wire : wires) alike = alike && wire->src == last.src && wire->src_port == last.src_port;
        report.at_link(
            "Z213", alike ? severity_t::note : severity_t::warning, *last.to, node,
            alike ? tessel::format("{} from one output lead to input {}", counted(wires.size(), "link"), input.second)
                  : tessel::format("{} lead to input {}; the last counts, from {}", counted(wires.size(), "link"),
                                   input.second, source != nullptr ? output_text(*source, last.src_port) : "nowhere"),
            "keep one of them");
    }
}

}  // namespace zarn
