// The order of stepping as text and as JSON.

#include <algorithm>
#include <array>
#include <nlohmann/json.hpp>
#include <ostream>

#include "core/format.h"
#include "formula/words.h"
#include "framework/MetaBlock.h"
#include "host/diagnose/analysis.h"
#include "host/diagnose/computation.h"
#include "host/diagnose/explain.h"
#include "host/diagnose/source.h"

namespace zarn {
namespace {

std::string types_text(const stepped_t& block) {
    std::string text;
    for (const reading_t& input : block.inputs) text += (text.empty() ? "" : ", ") + input.type;
    std::string outputs;
    for (const std::string& type : block.outputs) outputs += (outputs.empty() ? "" : ", ") + type;
    if (outputs.empty()) return text;
    return (text.empty() ? "" : text + " ") + "-> " + outputs;
}

/// Why the zone is what it is, in one line.
std::string reason(const stepped_t& block) {
    if (block.fixed_zone) return block.inputs.empty() ? "no input" : "fixed: it does not wait for its input";
    // the raise that gave the final zone is the last
    const auto last = std::ranges::find_if(block.raises.rbegin(), block.raises.rend(),
                                           [](const raise_t& raise) { return raise.by != 0; });
    if (last == block.raises.rend()) return "";
    return tessel::format("{} has zone {}, +{}", last->source, last->source_zone, last->by);
}

void print_rows(const std::vector<std::array<std::string, 8>>& rows, std::ostream& out) {
    std::array<std::size_t, 8> width{};
    for (const auto& row : rows)
        for (std::size_t i = 0; i < row.size(); ++i)
            width[i] = std::max(width[i], std::min(row[i].size(), widest_column));
    constexpr std::array<bool, 8> right{true, true, true, false, false, false, false, false};
    for (const auto& row : rows) {
        std::string line;
        for (std::size_t i = 0; i < row.size(); ++i) {
            const std::string blanks(width[i] - std::min(row[i].size(), width[i]), ' ');
            line += right[i] ? blanks + row[i] : row[i] + blanks;
            line += "  ";
        }
        line.erase(line.find_last_not_of(' ') + 1);
        out << line << '\n';
    }
}

/// What a late input means, by the kind of block.
std::string late_text(const stepped_t& block, const reading_t& input) {
    if (block.block_class == "memory") return "a memory reads what its source left in the step before";
    if (input.source == block.path) return "it feeds itself";
    return "it is stepped before its source";
}

nlohmann::json to_json(const stepped_t& block) {
    nlohmann::json inputs = nlohmann::json::array(), raises = nlohmann::json::array();
    for (const reading_t& input : block.inputs)
        inputs.push_back({{"type", input.type},
                          {"source", input.source.empty() ? nlohmann::json() : nlohmann::json(input.source)},
                          {"sourceId", input.source.empty() ? nlohmann::json() : nlohmann::json(input.source_id)},
                          {"sourcePort", input.source_port},
                          {"late", input.late}});
    for (const raise_t& raise : block.raises)
        raises.push_back({{"input", raise.input},
                          {"source", raise.source},
                          {"sourceZone", raise.source_zone},
                          {"by", raise.by},
                          {"zone", raise.zone}});
    return {{"position", block.position},
            {"id", block.id},
            {"path", block.path},
            {"class", block.block_class},
            {"zone", block.zone},
            {"tier", block.tier},
            {"gate", block.gate.empty() ? nlohmann::json() : nlohmann::json(block.gate)},
            {"neverRuns", block.never},
            {"fixedZone", block.fixed_zone},
            {"inputs", std::move(inputs)},
            {"outputs", block.outputs},
            {"raisedBy", std::move(raises)}};
}

/// What the block computes, and with which parameters.
void print_formula(tessel::IMetaBlock& block, std::ostream& out) {
    const auto formula = static_cast<tessel::MetaBlock&>(block).formula();
    if (!formula) return;
    const auto print = [&out](const char* title, const std::vector<std::string>& lines) {
        for (const std::string& line : lines) {
            out << tessel::format("  {:<9} {}\n", title, line);
            title = "";
        }
    };
    print("formula", tessel::lines_of(*formula));
    print("with", tessel::parameters_of(*formula));
}

}  // namespace

void Explanation::print_table(std::ostream& out) const {
    std::vector<std::array<std::string, 8>> rows{{"#", "zone", "tier", "block", "class", "types", "gate", "because"}};
    for (const stepped_t& block : order_)
        rows.push_back({std::to_string(block.position), std::to_string(block.zone), std::to_string(block.tier),
                        block.path, block.block_class, types_text(block),
                        block.gate + (block.never && block.block_class != "constant" ? " (never runs)" : ""),
                        reason(block)});
    print_rows(rows, out);
    std::size_t late = 0;
    for (const stepped_t& block : order_) {
        for (std::size_t i = 0; i < block.inputs.size(); ++i) {
            const reading_t& input = block.inputs[i];
            if (!input.late) continue;
            if (late++ == 0) out << "\none step late:\n";
            out << tessel::format("  input {} of {} ({}) from {}: {}\n", i, block.path, block.block_class, input.source,
                                  late_text(block, input));
        }
    }
    if (late == 0) out << "\nno value is a step late\n";
    for (const stepped_t& block : order_)
        if (block.block_class == "memory" && !block.inputs.empty() && !block.inputs[0].late)
            out << tessel::format("{} (memory) delays nothing: {} is stepped before it\n", block.path,
                                  block.inputs[0].source.empty() ? "nothing" : block.inputs[0].source);
}

void Explanation::print_block(const stepped_t& block, std::ostream& out) const {
    out << tessel::format("{} ({}), id {}\n", block.path, block.block_class, block.id);
    out << tessel::format("  position  {} of {}\n", block.position, order_.size());
    out << tessel::format("  tier      {}\n", block.tier);
    out << tessel::format("  zone      {}{}\n", block.zone, block.fixed_zone ? ", " + reason(block) : "");
    for (const raise_t& raise : block.raises) {
        if (raise.by == 0)
            out << tessel::format("            input {}: {} has zone {}, below {}: no change\n", raise.input,
                                  raise.source, raise.source_zone, raise.zone);
        else
            out << tessel::format("            input {}: {} has zone {}, +1{}: {}\n", raise.input, raise.source,
                                  raise.source_zone, raise.by > 1 ? ", +1000 from another tier" : "", raise.zone);
    }
    out << tessel::format("  gate      {}{}\n", block.gate.empty() ? "none" : block.gate,
                          !block.never                      ? ""
                          : block.block_class == "constant" ? ", which opens only behind it; a constant needs no step"
                                                            : ", which opens only behind it: the block never runs");
    for (std::size_t i = 0; i < block.inputs.size(); ++i) {
        const reading_t& input = block.inputs[i];
        out << tessel::format(
            "  input {}   {} from {}\n", i, input.type,
            input.source.empty() ? "nothing" : tessel::format("output {} of {}", input.source_port, input.source));
        if (input.late) out << "            one step late: " << late_text(block, input) << '\n';
    }
    for (std::size_t i = 0; i < block.outputs.size(); ++i)
        out << tessel::format("  output {}  {}\n", i, block.outputs[i]);
    print_formula(*analysis_->graph.nodes[analysis_->order()[block.position]].block, out);
    for (const stepped_t& other : order_)
        for (std::size_t i = 0; i < other.inputs.size(); ++i)
            if (other.inputs[i].source_id == block.id && !other.inputs[i].source.empty())
                out << tessel::format("  read by   input {} of {} ({}), at position {}{}\n", i, other.path,
                                      other.block_class, other.position, other.inputs[i].late ? ", one step late" : "");
    out << "  within a zone blocks stand in the order of the hashes of their classes, then of the file\n";
}

std::string Explanation::json(const std::string& model, const std::vector<const stepped_t*>& blocks) const {
    nlohmann::json order = nlohmann::json::array(), late = nlohmann::json::array();
    for (const stepped_t* block : blocks) {
        nlohmann::json described = to_json(*block);
        add_computation(described, *analysis_->graph.nodes[analysis_->order()[block->position]].block);
        order.push_back(std::move(described));
        for (std::size_t i = 0; i < block->inputs.size(); ++i)
            if (block->inputs[i].late)
                late.push_back({{"path", block->path},
                                {"input", i},
                                {"source", block->inputs[i].source},
                                {"because", late_text(*block, block->inputs[i])}});
    }
    const nlohmann::json whole = {{"schema", json_schema},
                                  {"result", 0},
                                  {"model", model},
                                  {"order", std::move(order)},
                                  {"late", std::move(late)}};
    return whole.dump(2, ' ', false, nlohmann::json::error_handler_t::replace) + "\n";
}

}  // namespace zarn
