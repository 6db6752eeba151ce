#include "model/rules/types.h"

#include <algorithm>

#include "framework/classes.h"
#include "model/rules/agenda.h"
#include "port.h"

namespace tessel::rules {
namespace {

struct typed_t {
    std::uint64_t inputs = 0;
    std::uint64_t outputs = 0;
    bool operator==(const typed_t&) const = default;
};

typed_t count_typed(const IMetaBlock& block) {
    const auto has_type = [](const port_t* port) { return port != nullptr && port->has_type(); };
    typed_t typed;
    for (std::uint64_t i = 0; i < block.input_count(); ++i)
        if (has_type(block.input(static_cast<std::int16_t>(i)))) ++typed.inputs;
    for (std::uint64_t i = 0; i < block.output_count(); ++i)
        if (has_type(block.output(static_cast<std::int16_t>(i)))) ++typed.outputs;
    return typed;
}

/// Whether others can see how often a block is asked: its calculate_type asks the interpreter at each call, or is a
/// host's own.
bool is_seen_asking(const IMetaBlock& block) {
    return factory::traits_of(block).asks_each_time || factory::find_class(block.class_hash()) == nullptr;
}

class Sweeps {
public:
    Sweeps(lineup_t blocks, TypePolicy& policy) : blocks_(blocks), policy_(policy) {
        for (std::size_t i = 0; i < blocks.size(); ++i)
            if (blocks[i] != nullptr && !blocks[i]->has_all_types()) open_.push_back(i);
    }

    /// The first sweeps ask every incomplete block, which is quick for most diagrams.
    result_t run() {
        while (!open_.empty()) {
            const std::size_t before = open_.size();
            policy_.begin_sweep();
            for (const std::size_t i : open_) {
                if (blocks_[i]->has_all_types()) continue;
                if (const result_t result = visit(i); result != result_ok) return result;
            }
            std::erase_if(open_, [this](std::size_t i) { return is_closed(i); });
            if (open_.size() == before && !policy_.goes_on()) return result_types_unresolved;
            if (sweeps_are_slow(before, open_.size())) return run_by_agenda();
        }
        return result_ok;
    }

private:
    bool is_closed(std::size_t i) const { return blocks_[i]->has_all_types() || (!passed_.empty() && passed_[i]); }

    result_t visit(std::size_t i) {
        const result_t result = policy_.ask(i, *blocks_[i]);
        if (result == result_ok) return result_ok;
        if (!policy_.goes_past(i, result)) return result;
        passed_.resize(blocks_.size());
        passed_[i] = true;
        return result_ok;
    }

    /// Sweeps on when sweeps have become slow: asks only those whose ports or sources' ports have got a type since they
    /// were asked last, which are all that can find something that they did not find then.
    result_t run_by_agenda() {
        Agenda agenda(blocks_);
        std::vector<std::size_t> asking;
        for (const std::size_t i : open_) {
            agenda.add(i);
            if (is_seen_asking(*blocks_[i])) asking.push_back(i);
        }
        for (std::size_t left = open_.size(); left != 0;) {
            const std::size_t before = left;
            policy_.begin_sweep();
            std::erase_if(asking, [this](std::size_t i) { return is_closed(i); });
            for (const std::size_t i : asking) agenda.add(i);
            for (std::size_t i = agenda.next(); i != nowhere; i = agenda.next()) {
                if (is_closed(i)) continue;
                const typed_t had = count_typed(*blocks_[i]);
                if (const result_t result = visit(i); result != result_ok) return result;
                const typed_t has = count_typed(*blocks_[i]);
                if (has.outputs != had.outputs) agenda.add_consumers(i);
                if (is_closed(i)) --left;
                else if (has != had) agenda.add(i);
            }
            if (left == before && !policy_.goes_on()) return result_types_unresolved;
        }
        return result_ok;
    }

    lineup_t blocks_;
    TypePolicy& policy_;
    large_array<std::size_t> open_;
    std::vector<bool> passed_;  // blocks that have failed and are left
};

}  // namespace

TypePolicy::~TypePolicy() = default;
result_t TypePolicy::ask(std::size_t, IMetaBlock& block) { return block.calculate_type(); }
bool TypePolicy::goes_past(std::size_t, result_t) { return false; }
void TypePolicy::begin_sweep() {}
bool TypePolicy::goes_on() { return false; }

result_t sweep_types(lineup_t blocks, TypePolicy& policy) { return Sweeps(blocks, policy).run(); }

}  // namespace tessel::rules
