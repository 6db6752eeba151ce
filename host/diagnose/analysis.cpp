#include "host/diagnose/analysis.h"

#include <algorithm>

#include "core/python.h"
#include "host/diagnose/source.h"
#include "host/document/limits.h"

namespace zarn {
namespace {

/// What a compile makes in the workspace before it evaluates the first parameter.
void make_namespaces(const graph_t& graph) {
    Recorder keep_silent;
    for (const node_t& node : graph.nodes)
        if (is_subsystem(node) && node.hangs)
            keep_silent.assign(node.id() == 0 ? node.properties->name : node.properties->python_path, "zarn.Result()");
    keep_silent.set_attribute("mainsys", "ti", graph.ti);
    keep_silent.set_attribute("mainsys", "tf", graph.tf);
    keep_silent.set_attribute("mainsys", "ts", graph.ts);
}

void sort_for_run(analysis_t& analysis) {
    for (const std::size_t position : analysis.wiring.live) {
        const node_t& node = analysis.graph.nodes[position];
        if (node.block->zone() >= 0 && !is_subsystem(node)) analysis.order.push_back(position);
    }
    std::ranges::stable_sort(analysis.order, {}, [&analysis](std::size_t position) {
        const tessel::IMetaBlock& block = *analysis.graph.nodes[position].block;
        return std::pair(block.zone(), block.class_hash());
    });
}

bool has_all_sources(const graph_t& graph, const wiring_t& wiring) {
    for (const std::size_t position : wiring.live) {
        const node_t& node = graph.nodes[position];
        if (is_subsystem(node) || (node.is(hash_inport) && node.parent() == 0)) continue;
        for (const feed_t& feed : wiring.typed[position])
            if (feed.source == none) return false;
    }
    return true;
}

}  // namespace

void analyse(analysis_t& analysis, Report& report, Document& document, const check_options_t& options) {
    graph_t& graph = analysis.graph;
    if (auto excess = find_too_large(document); !excess.what.empty()) {
        graph.files.push_back({&document.main(), nullptr});
        report.at_place("Z121", severity_t::error, 0, "", std::move(excess.what), std::move(excess.mend));
        return;
    }
    load_graph(graph, report, document);
    for (const auto& [key, value] : options.settings)
        (key == "ti" ? graph.ti : key == "tf" ? graph.tf : graph.ts) = value;
    if (graph.files.empty() || graph.files[0].json.is_discarded() || graph.files[0].json.is_null()) return;

    analysis.tiers = tiers_of(graph);
    for (std::size_t i = 0; i < graph.nodes.size(); ++i) graph.nodes[i].block->set_tier(analysis.tiers[i]);
    analysis.gates = gates_of(graph);
    check_settings(graph, report);
    check_tree(graph, report);

    wiring_t& wiring = analysis.wiring;
    wiring = draw(graph);
    dissolve_gotos(graph, wiring, report);
    check_port_numbers(graph, wiring, report);
    bind_links(graph, wiring, report);
    check_sources(graph, wiring, report);

    make_namespaces(graph);
    analysis.typing = work_out_types(graph, wiring, report);
    check_signatures(graph, wiring, analysis.typing, report);
    check_parameters(analysis, report, options);
    analysis.waiting = work_out_zones(graph, wiring);
    check_loops(graph, wiring, analysis.waiting, report);
    analysis.complete = analysis.waiting.empty() && has_all_sources(graph, wiring);
    dissolve_casts(graph, wiring, report);
    check_double_feeds(graph, wiring, report);

    sort_for_run(analysis);
    check_behaviour(analysis, report);
    check_names(analysis, report);
}

}  // namespace zarn
