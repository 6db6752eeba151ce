// From a runnable model to the draft of a program.

#include <unordered_map>

#include "coder/exact/draft.h"
#include "core/format.h"
#include "framework/MetaBlock.h"

namespace tessel::exact {
namespace {

std::string shown(const IMetaBlock& block) {
    return block.path().empty() ? tessel::format("#{}", block.id()) : std::string(block.path());
}

formula_t formula_of(IMetaBlock& block) {
    auto formula = static_cast<MetaBlock&>(block).formula();
    if (!formula)
        throw Refusal(
            tessel::format("{}: the class {} tells nobody what it computes", shown(block), block.class_name()));
    if (formula->fault != nullptr) throw Refusal(tessel::format("{}: {}", shown(block), formula->fault));
    return std::move(*formula);
}

class Gathering {
public:
    Gathering(IMetaModel& model, const PropertiesModel& properties, IExecModel& exec)
        : model_(model), properties_(properties), exec_(exec) {}

    draft_t take() {
        add_nodes();
        wire();
        set_gates();
        return std::move(draft_);
    }

private:
    void add_nodes() {
        auto object = exec_.begin();
        for (const auto& block : model_) {
            ExecBlock* const own = object != exec_.end() ? (object++)->get() : nullptr;
            if (block == nullptr || own == nullptr) continue;
            const auto number = static_cast<node_number>(draft_.nodes.size());
            node_t& node = draft_.nodes.emplace_back();
            node.block = block.get();
            node.path = std::string(block->path());
            node.class_hash = block->class_hash();
            node.formula = formula_of(*block);
            objects_.push_back(own);
            by_id_.try_emplace(block->id(), number);
            if (const ExecPort* output = own->output(0); output != nullptr) owners_.emplace(output, number);
        }
        if (draft_.nodes.empty()) throw Refusal("the model has no block that runs");
    }

    // the wires are those of the runnable objects: what a run reads is what they are connected to
    void wire() {
        for (std::size_t i = 0; i < draft_.nodes.size(); ++i) {
            node_t& node = draft_.nodes[i];
            for (std::size_t n = 0; n < node.formula.inputs.size(); ++n) {
                const ExecPort* port = objects_[i]->input(static_cast<std::int16_t>(n));
                const ExecPort* source = port != nullptr ? port->source() : nullptr;
                const auto owner = owners_.find(source);
                if (source != nullptr && owner == owners_.end())
                    throw Refusal(tessel::format("{}: input {} reads what is no output of a block", node.path, n));
                node.sources.push_back(source != nullptr ? owner->second : no_node);
            }
        }
    }

    void set_gates() {
        for (node_t& node : draft_.nodes) {
            const std::uint64_t gate = properties_.enables_of(node.block->id()).second;
            const auto found = gate != 0 ? by_id_.find(gate) : by_id_.end();
            if (found == by_id_.end()) continue;
            const node_t& enable = draft_.at(found->second);
            if (enable.formula.inputs.empty() || enable.formula.inputs[0].type != type_bool)
                throw Refusal(tessel::format("{}: its flag is no bool", enable.path));
            node.gate = found->second;
        }
    }

    IMetaModel& model_;
    const PropertiesModel& properties_;
    IExecModel& exec_;
    draft_t draft_;
    std::vector<ExecBlock*> objects_;
    std::unordered_map<std::uint64_t, node_number> by_id_;  // of blocks with one id the first
    std::unordered_map<const ExecPort*, node_number> owners_;
};

}  // namespace

bool draft_t::runs(node_number i) const {
    for (node_number inner = i; at(inner).gate != no_node; inner = at(inner).gate)
        if (at(inner).gate >= inner) return false;
    return true;
}

draft_t gather(IMetaModel& model, const PropertiesModel& properties, IExecModel& exec) {
    return Gathering(model, properties, exec).take();
}

}  // namespace tessel::exact
