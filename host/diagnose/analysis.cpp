#include "host/diagnose/analysis.h"

#include <algorithm>
#include <functional>
#include <unordered_set>

#include "PropertiesModel.h"
#include "core/python.h"
#include "host/diagnose/parameters.h"
#include "host/diagnose/source.h"
#include "host/document/limits.h"
#include "host/document/load.h"
#include "model/rules/order.h"
#include "model/rules/tree.h"
#include "model/rules/zones.h"
#include "port.h"

namespace zarn {
namespace {

/// What a compile makes in the workspace before it evaluates the first parameter.
void make_namespaces(const graph_t& graph) {
    Recorder keep_silent;
    for (const node_t& node : graph.nodes)
        if (is_subsystem(node) && node.hangs) keep_silent.assign(node.properties->python_path, "zarn.Result()");
    keep_silent.set_attribute("mainsys", "ti", graph.ti);
    keep_silent.set_attribute("mainsys", "tf", graph.tf);
    keep_silent.set_attribute("mainsys", "ts", graph.ts);
}

/// Takes the stand-in for missing sources out of a model that others will use.
void drop_ghost(analysis_t& analysis) {
    for (const std::size_t position : analysis.typing.haunted) {
        const node_t& node = analysis.graph.nodes[position];
        for (std::size_t i = 0; i < node.inputs(); ++i) {
            auto* input = node.block->input(static_cast<std::int16_t>(i));
            if (input->source_block() != analysis.typing.ghost.get()) continue;
            const tessel::type_t type = input->type();
            *input = tessel::port_t();
            input->set_type(type);
        }
    }
}

/// Whether a document is too large to be looked at.
bool tell_too_large(graph_t& graph, Report& report, Document& document) {
    auto excess = find_too_large(document);
    if (excess.what.empty()) return false;
    graph.files.push_back({&document.main(), nullptr});
    report.at_place("Z121", severity_t::error, 0, "", std::move(excess.what), std::move(excess.mend));
    return true;
}

}  // namespace

own_model_t::own_model_t(Document& document)
    : properties(std::make_shared<tessel::PropertiesModel>()),
      model(tessel::rules::create_watched_meta_model([](const auto&) {})) {
    model->set_properties(properties);
    result = load(*model, document);
}

const analysis_t::stepping_t& analysis_t::stepping() const {
    if (stepping_) return *stepping_;
    stepping_.emplace();
    const auto& live = wiring.live;
    for (const std::size_t rank : tessel::rules::stepping_order(line_up(graph, live))) {
        const node_t& node = graph.nodes[live[rank]];
        if (node.block->zone() >= 0 && !is_subsystem(node)) stepping_->order.push_back(live[rank]);
    }
    std::unordered_set<std::uint64_t> gates;
    for (const auto& [id, enable] : enables)
        if (enable.second != 0) gates.insert(enable.second);
    if (gates.empty()) return *stepping_;
    for (std::size_t i = 0; i < stepping_->order.size(); ++i)
        if (const auto id = graph.nodes[stepping_->order[i]].id(); gates.contains(id))
            stepping_->gate_ranks.try_emplace(id, i);
    return *stepping_;
}

void analyse(analysis_t& analysis, Report& report, Document& document, const check_options_t& options) {
    graph_t& graph = analysis.graph;
    if (options.loaded == nullptr && tell_too_large(graph, report, document)) return;
    loaded_t loaded;
    if (options.loaded == nullptr && document.main().sections() != nullptr) {
        Recorder keep_silent;  // what the library says of the files is told in the findings
        analysis.own = own_model_t(document);
        if (analysis.own.result == tessel::result_ok)
            loaded = {analysis.own.model.get(), analysis.own.properties.get()};
    } else if (options.loaded != nullptr) {
        loaded = *options.loaded;
    }
    load_graph(graph, report, document, loaded.model != nullptr ? &loaded : nullptr);
    for (const auto& [key, value] : options.settings)
        (key == "ti" ? graph.ti : key == "tf" ? graph.tf : graph.ts) = value;
    if (graph.files.empty() || graph.files[0].json.is_discarded() || graph.files[0].json.is_null()) return;

    tessel::rules::set_tiers(line_up(graph));
    if (graph.has(hash_enable)) tessel::rules::add_enables(line_up(graph), analysis.enables);
    check_settings(graph, report);
    wiring_t& wiring = analysis.wiring;
    wiring = as_drawn(graph);
    check_tree(graph, wiring, report);
    dissolve_gotos(graph, wiring, report);
    bind_links(graph, wiring, report);
    check_ids(graph, wiring, report);
    check_port_numbers(graph, wiring, report);
    check_sources(graph, wiring, report);
    if (!has_casts(graph) && !wiring.has_double_feeds) wiring.wires = {};  // of which a large model has millions

    make_namespaces(graph);
    ParameterChecks parameters(graph, report, options);
    analysis.typing = work_out_types(graph, wiring, report, std::ref(parameters));
    check_signatures(graph, wiring, analysis.typing, report);
    parameters.tell_waiting();
    analysis.waiting = work_out_zones(graph, wiring);
    check_loops(graph, wiring, analysis.waiting, report);
    analysis.complete = analysis.waiting.empty() && std::ranges::find(wiring.starves, true) == wiring.starves.end();
    dissolve_casts(graph, wiring, report);
    check_double_feeds(graph, wiring, report);

    check_behaviour(analysis, report);
    check_surprises(analysis, report);
    check_names(analysis, report);
    if (graph.is_adopted) drop_ghost(analysis);
}

}  // namespace zarn
