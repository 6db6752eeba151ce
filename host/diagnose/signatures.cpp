// Blocks without a runnable form: which port types would do, found by asking the block itself.

#include <algorithm>
#include <array>
#include <set>

#include "ExecBlock.h"
#include "core/hash.h"
#include "core/type.h"
#include "factory.h"
#include "host/diagnose/source.h"
#include "host/diagnose/tree.h"
#include "host/diagnose/typing.h"
#include "port.h"

namespace zarn {
namespace {

using tessel::type_t;
using types_t = std::vector<type_t>;

constexpr std::array value_codes{tessel::type_bool,   tessel::type_int8,  tessel::type_uint8,  tessel::type_int16,
                                 tessel::type_uint16, tessel::type_int32, tessel::type_uint32, tessel::type_int64,
                                 tessel::type_uint64, tessel::type_flt32, tessel::type_flt64};

const char* name_of(type_t type) {
    const char* name = tessel::short_name(type);
    return name != nullptr ? name : "unknown";
}

std::string names_of(const types_t& types) {
    std::string text;
    for (std::size_t i = 0; i < types.size(); ++i)
        text += (i == 0 ? "" : i + 1 == types.size() ? " and " : ", ") + std::string(name_of(types[i]));
    return text;
}

/// Asks a class which types of sources it can run with.
class Trial {
public:
    Trial(const node_t& node, types_t sources) : node_(node), given_(std::move(sources)) {
        for (std::size_t i = 0; i < given_.size(); ++i) sources_.push_back(tessel::factory::create("from"));
    }

    /// Whether a block of this class and with these parameters runs when its inputs are fed with these types.
    bool runs(const types_t& types) {
        auto properties = std::make_shared<tessel::PropertiesBlock>(*node_.properties);
        auto block = tessel::factory::create(node_.row->name, properties);
        nlohmann::json counts{{"inportCount", given_.size()}};
        block->import_json(counts);
        for (std::size_t i = 0; i < given_.size(); ++i) {
            sources_[i]->output(0)->set_type(types[i]);
            block->input(static_cast<std::int16_t>(i))->link(sources_[i].get(), 0);
        }
        return block->calculate_type() == tessel::result_ok && block->has_all_types() &&
               block->create_exec() != nullptr;
    }

    /// The combinations that run with the fewest sources changed, the gentlest change first.
    std::vector<types_t> nearest() {
        std::vector<types_t> found;
        for (std::size_t i = 0; i < given_.size(); ++i) change({i}, found);
        for (std::size_t i = 0; found.empty() && i < given_.size(); ++i)
            for (std::size_t j = i + 1; j < given_.size(); ++j) change({i, j}, found);
        if (found.empty()) {
            std::vector<std::size_t> all(given_.size());
            for (std::size_t i = 0; i < all.size(); ++i) all[i] = i;
            change(all, found);
        }
        std::ranges::stable_sort(found, {}, [this](const types_t& types) { return cost(types); });
        return found;
    }

private:
    /// Tries every type on the inputs of a group, the same on all of them.
    void change(const std::vector<std::size_t>& group, std::vector<types_t>& found) {
        for (const type_t type : value_codes) {
            types_t types = given_;
            bool changed = true;
            for (const std::size_t i : group) {
                changed = changed && types[i] != type;
                types[i] = type;
            }
            if ((changed || group.size() > 2) && runs(types)) found.push_back(std::move(types));
        }
    }

    /// Widening costs the steps up, narrowing much more.
    int cost(const types_t& types) const {
        int sum = 0;
        for (std::size_t i = 0; i < types.size(); ++i) {
            const int step = types[i] - given_[i];
            sum += step >= 0 ? step : 100 - step;
        }
        return sum;
    }

    const node_t& node_;
    types_t given_;
    std::vector<std::unique_ptr<tessel::IMetaBlock>> sources_;
};

types_t source_types(const node_t& node) {
    types_t types;
    for (std::size_t i = 0; i < node.inputs(); ++i) {
        const tessel::port_t& port = *node.block->input(static_cast<std::int16_t>(i));
        types.push_back(port.source_port() != nullptr ? port.source_port()->type() : port.type());
    }
    return types;
}

void tell_count(const node_t& node, Report& report) {
    std::set<int> counts;
    for (const tessel::signature_t& row : node.row->entry->accepted) counts.insert(row.inputs);
    std::string accepted;
    if (counts.size() > 2) accepted = tessel::format("{} to {}", *counts.begin(), *counts.rbegin());
    else if (counts.size() == 2) accepted = tessel::format("{} or {}", *counts.begin(), *counts.rbegin());
    else if (counts.size() == 1) accepted = std::to_string(*counts.begin());
    const bool more = !counts.empty() && static_cast<int>(node.inputs()) > *counts.rbegin();
    report.at_block("Z304", severity_t::error, node,
                    tessel::format("no runnable form with {}; it runs with {}", counted(node.inputs(), "input"),
                                   accepted.empty() ? "none" : accepted),
                    more && node.row->traits().input_count < 0
                        ? "split it into several blocks in a row"
                        : tessel::format("write {} as \"inportCount\"", accepted));
}

bool has_count(const node_t& node) {
    return std::ranges::any_of(node.row->entry->accepted, [&node](const tessel::signature_t& row) {
        return row.inputs == node.inputs() && row.outputs == node.outputs();
    });
}

/// Whether a file gives a block of a fixed number of inputs more of them, and not all are fed.
bool has_idle_input(const node_t& node, std::span<const feed_t> feeds) {
    return node.row->traits().input_count >= 0 &&
           node.inputs() > static_cast<std::size_t>(node.row->traits().input_count) &&
           std::ranges::any_of(feeds, [](const feed_t& feed) { return feed.source == none; });
}

/// The changes of the nearest combination as casts.
std::string casts_text(const graph_t& graph, std::span<const feed_t> feeds, const types_t& given,
                       const types_t& wanted) {
    std::string text;
    for (std::size_t i = 0; i < given.size(); ++i) {
        if (given[i] == wanted[i]) continue;
        text += text.empty() ? "put a cast to " : ", and one to ";
        text += name_of(wanted[i]);
        if (feeds[i].source != none) text += " behind " + graph.nodes[feeds[i].source].path();
        text += tessel::format(", before input {}", i);
    }
    return text;
}

void tell_types(const graph_t& graph, const wiring_t& wiring, std::size_t position, Report& report) {
    constexpr std::size_t most = 4;
    const node_t& node = graph.nodes[position];
    const types_t given = source_types(node);
    if (std::ranges::find(given, tessel::type_cstr) != given.end()) return;  // told at the block that gives the text
    if (node.inputs() == 0) {
        report.at_block("Z305", severity_t::error, node,
                        tessel::format("the value is of the type {}, and no block runs on that",
                                       name_of(node.block->output(0)->type())),
                        "give it a number or True or False");
        return;
    }
    const auto nearest = Trial(node, given).nearest();
    std::string accepted;
    for (std::size_t i = 0; i < std::min(nearest.size(), most); ++i)
        accepted += (i == 0 ? "" : "; or ") + names_of(nearest[i]);
    std::string what = tessel::format("no runnable form for {}", names_of(given));
    if (!accepted.empty()) what += "; the nearest that it has: " + accepted;
    report.at_block(
        "Z303", severity_t::error, node, what,
        nearest.empty() ? "give it other sources" : casts_text(graph, wiring.typed[position], given, nearest.front()));
}

}  // namespace

void check_signatures(const graph_t& graph, const wiring_t& wiring, const typing_t& typing, Report& report) {
    for (const std::size_t position : wiring.live) {
        const node_t& node = graph.nodes[position];
        if (node.damaged || node.is(hash_cast) || is_subsystem(node) || node.is(hash_from_workspace)) continue;
        if (!has_count(node)) {
            // more than 8, and inputs that the class does not have and nothing feeds, are told as such
            if (node.inputs() <= 8 && !has_idle_input(node, wiring.typed[position])) tell_count(node, report);
            continue;
        }
        if (typing.unknown[position] || !node.block->has_all_types()) continue;
        if (node.block->create_exec() == nullptr) tell_types(graph, wiring, position, report);
    }
}

}  // namespace zarn
