// All that is known of a model once it is checked.
#pragma once

#include <algorithm>
#include <cstdint>
#include <optional>
#include <unordered_map>
#include <vector>

#include "EnableMap.h"
#include "host/diagnose/loops.h"
#include "host/diagnose/tree.h"
#include "host/diagnose/typing.h"

namespace zarn {

/// A model that the checks have loaded for themselves.
struct own_model_t {
    std::shared_ptr<tessel::PropertiesModel> properties;
    std::shared_ptr<tessel::IMetaModel> model;
    tessel::result_t result = tessel::result_failure;

    own_model_t() = default;
    explicit own_model_t(Document& document);
};

struct analysis_t {
    own_model_t own;  // whose blocks the graph may have adopted
    graph_t graph;
    wiring_t wiring;
    typing_t typing;
    tessel::EnableMap enables;         // empty where no block is gated
    std::vector<std::size_t> waiting;  // blocks without a zone
    bool complete = false;             // whether every input has its source and every block its zone

    /// The blocks with a zone, in the order in which a run steps them. Sorted when it is first asked for, when all is
    /// known: most models give no reason to.
    const std::vector<std::size_t>& order() const { return stepping().order; }
    /// Id of the enable block that gates the block at a position, 0 for none.
    std::uint64_t gate_of(std::size_t position) const {
        const auto found = enables.find(graph.nodes[position].id());
        return found != enables.end() ? found->second.second : 0;
    }
    /// The place in the order of the first block with the id of a gate, `none` where that has no zone.
    std::size_t rank_of_gate(std::uint64_t id) const {
        const auto found = stepping().gate_ranks.find(id);
        return found != stepping().gate_ranks.end() ? found->second : none;
    }
    bool has_gates() const {
        return std::ranges::any_of(enables, [](const auto& entry) { return entry.second.second != 0; });
    }

private:
    struct stepping_t {
        std::vector<std::size_t> order;
        std::unordered_map<std::uint64_t, std::size_t> gate_ranks;  // by id, the places in `order` of blocks that gate
    };
    const stepping_t& stepping() const;
    mutable std::optional<stepping_t> stepping_;
};

/// Runs every check. The document must outlive the analysis.
void analyse(analysis_t& analysis, Report& report, Document& document, const check_options_t& options);

// ---- the checks, one source each

/// Parents that are none, models without links, overfull blocks.
void check_tree(const graph_t& graph, const wiring_t& wiring, Report& report);
/// Ids that two blocks share.
void check_ids(const graph_t& graph, const wiring_t& wiring, Report& report);
/// Start, end and step of the time.
void check_settings(const graph_t& graph, Report& report);
/// What will not run, or not as drawn: gates, and divisions that the processor refuses.
void check_behaviour(const analysis_t& analysis, Report& report);
/// What the system does on purpose and people do not expect.
void check_surprises(const analysis_t& analysis, Report& report);
/// Names: what they become in the workspace and in generated code.
void check_names(const analysis_t& analysis, Report& report);

/// Whether an input of a block reads what its source computed in the step before. `ranks`: of each block its position
/// in `order`.
bool is_late(const analysis_t& analysis, const std::vector<std::size_t>& ranks, const feed_t& feed, std::size_t block);

/// For each position in the order whether the block is never stepped, since its gate opens behind it or never.
std::vector<bool> never_run(const analysis_t& analysis);

}  // namespace zarn
