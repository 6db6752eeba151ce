// Links end at real blocks: what a link to a subsystem stands for, and which input it feeds.

#include <algorithm>
#include <unordered_set>

#include "host/diagnose/source.h"
#include "host/diagnose/tree.h"
#include "host/diagnose/wiring.h"

namespace zarn {
namespace {

/// The blocks inside subsystems that stand for their ports: the first of each number.
class InnerPorts {
public:
    InnerPorts(const graph_t& graph, const std::vector<std::size_t>& live) {
        for (const std::size_t position : live) {
            const node_t& node = graph.nodes[position];
            if (node.is(hash_enable)) enables_.try_emplace(node.parent(), position);
            else if (node.is(hash_inport)) insert(inports_, node, position);
            else if (node.is(hash_outport)) insert(outports_, node, position);
        }
    }
    std::size_t enable(std::uint64_t subsystem) const {
        const auto found = enables_.find(subsystem);
        return found != enables_.end() ? found->second : none;
    }
    std::size_t inport(std::uint64_t subsystem, std::int16_t number) const { return find(inports_, subsystem, number); }
    std::size_t outport(std::uint64_t subsystem, std::int16_t number) const {
        return find(outports_, subsystem, number);
    }
    /// The numbers of one subsystem's ports, for messages.
    std::string numbers(bool inputs, std::uint64_t subsystem) const {
        const map_t& map = inputs ? inports_ : outports_;
        std::string text;
        for (auto at = map.lower_bound({subsystem, INT16_MIN}); at != map.end() && at->first.first == subsystem; ++at)
            text += (text.empty() ? "" : ", ") + std::to_string(at->first.second);
        return text;
    }

private:
    using map_t = std::map<std::pair<std::uint64_t, std::int16_t>, std::size_t>;
    static void insert(map_t& map, const node_t& node, std::size_t position) {
        map.try_emplace({node.parent(), port_number(node)}, position);
    }
    static std::size_t find(const map_t& map, std::uint64_t subsystem, std::int16_t number) {
        const auto found = map.find({subsystem, number});
        return found != map.end() ? found->second : none;
    }
    std::unordered_map<std::uint64_t, std::size_t> enables_;
    map_t inports_;
    map_t outports_;
};

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
    bool followed = false;  // the link that counts when the cast which it leads to goes out of the diagram
    std::string what;
    std::string mend;
};

class Binder {
public:
    Binder(const graph_t& graph, wiring_t& wiring, Report& report)
        : graph_(graph),
          wiring_(wiring),
          report_(report),
          index_(index_of(graph, wiring.live)),
          inner_(graph, wiring.live) {}

    void run() {
        bool touched = false;
        for (wire_t& wire : wiring_.wires) touched = bind(wire) || touched;
        for (const dead_t& dead : dead_) tell(dead);
        wiring_.subsystems_left = touched;
        if (touched) drop_by_swapping(wiring_.live, [this](std::size_t i) { return is_subsystem(graph_.nodes[i]); });
    }

private:
    const node_t& at(std::size_t position) const { return graph_.nodes[position]; }
    std::size_t find(std::uint64_t id) const {
        const auto found = index_.find(id);
        return found != index_.end() ? found->second : none;
    }
    std::uint64_t shown(std::uint64_t id) const {
        const node_t* node = graph_.find(id);
        return node != nullptr ? node->written_id : id;
    }

    bool bind(wire_t& wire) {
        dead_t dead;
        std::int16_t src_port = wire.src_port, dst_port = wire.dst_port;
        std::size_t src = none;
        const std::size_t dst = destination(wire, dst_port, dead);
        if (wire.told) dead.about = nullptr;
        else src = source(wire, src_port, dead);
        dead.followed = dst != none && !wire.lost && at(dst).is(hash_cast) && fed_casts_.insert(dst).second;
        if (src == none || dst == none) {
            wire.told = true;
            dead_.push_back(std::move(dead));
            return false;
        }
        wire.src = at(src).id();
        wire.src_port = src_port;
        wire.dst = at(dst).id();
        wire.dst_port = dst_port;
        wiring_.typed[dst][static_cast<std::size_t>(dst_port)] = {src, src_port, wire.from, wire.to};
        return true;
    }

    /// The block and input that a link leads to.
    std::size_t destination(const wire_t& wire, std::int16_t& port, dead_t& dead) {
        std::size_t dst = find(wire.dst);
        if (dst == none) {
            if (!graph_.skipped.contains(wire.dst))
                set(dead, "Z202", *wire.to, near_end(wire.src),
                    tessel::format("a link leads to the id {}, which no block has", shown(wire.dst)),
                    "link to a block, or take the link out");
            return none;
        }
        if (is_subsystem(at(dst))) {
            const node_t& subsystem = at(dst);
            dst = port == -1 ? inner_.enable(subsystem.id()) : inner_.inport(subsystem.id(), port);
            if (dst == none) {
                set(dead, "Z204", *wire.to, &subsystem,
                    port == -1 ? std::string("a link leads to the enable input (port -1), but there is no enable "
                                             "block inside")
                               : missing_text(true, subsystem.id(), port),
                    port == -1 ? "add an enable block inside, or take the link out"
                               : tessel::format("add an inport with the \"portNumber\" {} inside, or take the link out",
                                                port));
                return none;
            }
            port = 0;
        }
        const node_t& node = at(dst);
        if (port < 0 || static_cast<std::size_t>(port) >= node.inputs()) {
            set(dead, "Z203", *wire.to, &node,
                tessel::format("a link leads to input {}, but the block has {}", port, counted(node.inputs(), "input")),
                "link to " + one_of("an input", "input", node.inputs()) + ", or take the link out");
            return none;
        }
        dead.node = dst;
        dead.port = port;
        return dst;
    }

    /// The block and output that a link comes from.
    std::size_t source(const wire_t& wire, std::int16_t& port, dead_t& dead) {
        std::size_t src = find(wire.src);
        if (src == none) {
            if (dead.about == nullptr && !graph_.skipped.contains(wire.src))
                set(dead, "Z202", *wire.from, near_end(wire.dst),
                    tessel::format("a link comes from the id {}, which no block has", shown(wire.src)),
                    "link from a block, or take the link out");
            return none;
        }
        if (is_subsystem(at(src))) {
            const node_t& subsystem = at(src);
            src = inner_.outport(subsystem.id(), port);
            if (src == none) {
                set(dead, "Z204", *wire.from, &subsystem, missing_text(false, subsystem.id(), port),
                    tessel::format("add an outport with the \"portNumber\" {} inside, or take the link out", port));
                return none;
            }
            port = 0;
        }
        const node_t& node = at(src);
        if (port < 0 || static_cast<std::size_t>(port) >= node.outputs()) {
            set(dead, "Z203", *wire.from, &node,
                tessel::format("a link comes from output {}, but the block has {}", port,
                               counted(node.outputs(), "output")),
                "link from " + one_of("an output", "output", node.outputs()) + ", or take the link out");
            return none;
        }
        return src;
    }

    std::string missing_text(bool input, std::uint64_t subsystem, std::int16_t port) const {
        const std::string numbers = inner_.numbers(input, subsystem);
        const char* block = input ? "inport" : "outport";
        return tessel::format("a link {} port {}, but no {} inside has this \"portNumber\" ({})",
                              input ? "leads to" : "comes from", port, block,
                              numbers.empty() ? tessel::format("there is no {}", block) : "there: " + numbers);
    }

    const node_t* near_end(std::uint64_t id) const {
        const std::size_t position = find(id);
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
        const bool starves =
            dead.node != none && wiring_.typed[dead.node][static_cast<std::size_t>(dead.port)].source == none;
        if (starves) wiring_.excused[dead.node][static_cast<std::size_t>(dead.port)] = true;
        if (dead.code == nullptr) return;
        if (dead.about != nullptr && dead.about->damaged) return;  // an error of its own
        if (dead.about != nullptr && report_.is_broken_reference(*dead.about) && !starves) return;
        const std::string input = starves ? input_text(at(dead.node), dead.port) : "";
        if (starves && dead.about != nullptr && report_.blame_reference(*dead.about, input)) return;
        if (starves && report_.blame_reference(at(dead.node), input)) return;
        std::string what = dead.what;
        if (starves && dead.about != &at(dead.node)) what += "; " + input + " stays without a source";
        else if (starves) what += tessel::format("; input {} stays without a source", dead.port);
        const bool starves_behind = !starves && dead.followed;
        if (starves_behind)
            what += tessel::format("; it is the first link into {}, and what stands behind that stays without a source",
                                   at(dead.node).path);
        report_.at_link(dead.code, starves || starves_behind ? severity_t::error : severity_t::warning, *dead.edge,
                        dead.about, what, dead.mend);
    }

    const graph_t& graph_;
    wiring_t& wiring_;
    Report& report_;
    live_index_t index_;
    InnerPorts inner_;
    std::vector<dead_t> dead_;
    std::unordered_set<std::size_t> fed_casts_;
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
        what = tessel::format("nothing is linked to the enable input (port -1) of {}", around->path);
        mend = "link a condition to it, or take the enable block out";
    } else if (node.is(hash_inport) && around != nullptr) {
        what = tessel::format("nothing is linked to input {} of {}", port_number(node), around->path);
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
    const auto doubled = starving_ids(graph);
    for (const std::size_t position : wiring.live) {
        const node_t& node = graph.nodes[position];
        if (node.is(hash_inport) && node.parent() == 0) continue;   // an input of the whole model
        if (node.damaged || doubled.contains(node.id())) continue;  // told with the file, told with the id
        std::vector<std::size_t> missing;
        for (std::size_t i = node.is(hash_cast) ? 1 : 0; i < node.inputs();
             ++i)  // a cast's own input has its own check
            if (wiring.typed[position][i].source == none && !wiring.excused[position][i]) missing.push_back(i);
        if (!missing.empty()) tell_missing(graph, node, missing, report);
    }
}

void check_double_feeds(const graph_t& graph, const wiring_t& wiring, Report& report) {
    std::map<std::pair<std::uint64_t, std::int16_t>, std::vector<const wire_t*>> feeds;
    for (const wire_t& wire : wiring.wires)
        if (!wire.told) feeds[{wire.dst, wire.dst_port}].push_back(&wire);
    for (const auto& [input, wires] : feeds) {
        const node_t* node = graph.find(input.first);
        if (wires.size() < 2 || node == nullptr) continue;
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
