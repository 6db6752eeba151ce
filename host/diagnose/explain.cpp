#include "host/diagnose/explain.h"

#include <algorithm>

#include "core/format.h"
#include "framework/zone.h"
#include "host/diagnose/analysis.h"
#include "host/diagnose/nearest.h"
#include "host/diagnose/source.h"
#include "port.h"

namespace zarn {
namespace {

std::string type_of_port(const tessel::port_t& port) {
    const char* name = port.type_name();
    return name != nullptr ? name : "";
}

std::string with_root(const std::string& path) {
    return path == "mainsys" || path.starts_with("mainsys.") ? path : "mainsys." + path;
}

}  // namespace

Explanation::Explanation(const std::filesystem::path& model, const check_options_t& options)
    : document_(std::make_unique<Document>(model)), analysis_(std::make_unique<analysis_t>()) {
    explain(*document_, options);
}

Explanation::Explanation(Document& document, const check_options_t& options)
    : analysis_(std::make_unique<analysis_t>()) {
    explain(document, options);
}

void Explanation::explain(Document& document, const check_options_t& options) {
    Report report(analysis_->graph);
    analyse(*analysis_, report, document, options);
    findings_ = report.take();
    if (has_errors(findings_)) return;
    std::vector<std::size_t> ranks(analysis_->graph.nodes.size(), none);
    for (std::size_t i = 0; i < analysis_->order().size(); ++i) ranks[analysis_->order()[i]] = i;
    const auto never = never_run(*analysis_);
    for (std::size_t i = 0; i < analysis_->order().size(); ++i) order_.push_back(describe(i, ranks, never[i]));
}

Explanation::~Explanation() = default;

stepped_t Explanation::describe(std::size_t rank, const std::vector<std::size_t>& ranks, bool never) const {
    const std::size_t position = analysis_->order()[rank];
    const node_t& node = analysis_->graph.nodes[position];
    stepped_t block;
    block.position = rank;
    block.id = node.id();
    block.path = node.path();
    block.block_class = node.class_name();
    block.zone = node.block->zone();
    block.tier = node.block->tier();
    block.never = never;
    if (const node_t* gate = analysis_->graph.find(analysis_->gate_of(position));
        gate != nullptr && analysis_->gate_of(position) != 0)
        block.gate = gate->path();
    for (std::size_t i = 0; i < node.inputs(); ++i) {
        reading_t reading;
        reading.type = type_of_port(*node.block->input(static_cast<std::int16_t>(i)));
        if (const feed_t& feed = analysis_->wiring.in_run(position)[i]; feed.source != none) {
            const node_t& source = analysis_->graph.nodes[feed.source];
            reading.source = source.path();
            reading.source_id = source.id();
            reading.source_port = feed.port;
            reading.late = is_late(*analysis_, ranks, feed, position);
        }
        block.inputs.push_back(std::move(reading));
    }
    for (std::size_t i = 0; i < node.outputs(); ++i)
        block.outputs.push_back(type_of_port(*node.block->output(static_cast<std::int16_t>(i))));
    note_raises(position, block);
    return block;
}

// Retells, input by input, how the block came to its zone.
void Explanation::note_raises(std::size_t node, stepped_t& block) const {
    std::int32_t zone = -1;
    for (std::size_t i = 0; i < analysis_->wiring.typed[node].size(); ++i) {
        const feed_t& feed = analysis_->wiring.typed[node][i];
        if (feed.source == none) continue;
        const node_t& source = analysis_->graph.nodes[feed.source];
        const std::int32_t lifted = tessel::lifted_zone(zone, block.tier, *source.block);
        const std::int32_t by = lifted != zone ? lifted - source.block->zone() : 0;
        block.raises.push_back({i, source.path(), source.block->zone(), by, lifted});
        zone = lifted;
    }
    block.fixed_zone = block.raises.empty() || analysis_->graph.nodes[node].row->traits().steps_first;
    if (block.fixed_zone) block.raises.clear();
}

std::vector<const stepped_t*> Explanation::at(const std::string& path) const {
    const std::string wanted = with_root(path);
    std::vector<const stepped_t*> found;
    for (const stepped_t& block : order_)
        if (block.path == wanted) found.push_back(&block);
    if (!found.empty()) return found;
    for (const stepped_t& block : order_)
        if (block.path.starts_with(wanted + ".")) found.push_back(&block);
    return found;
}

std::string Explanation::nearest_path(const std::string& path) const {
    std::vector<std::string> known;
    for (const stepped_t& block : order_) known.push_back(block.path);
    return nearest_name(with_root(path), known);
}

}  // namespace zarn
