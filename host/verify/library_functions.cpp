#include "host/verify/library_functions.h"

#include <algorithm>
#include <unordered_map>
#include <vector>

#include "formula/formula.h"
#include "framework/MetaBlock.h"
#include "framework/classes.h"
#include "port.h"

namespace zarn::verify {
namespace {

bool is_library_op(tessel::op_t op) {
    using enum tessel::op_t;
    switch (op) {
        case sine:
        case cosine:
        case tangent:
        case arc_sine:
        case arc_cosine:
        case arc_tangent:
        case logarithm:
        case power: return true;
        default: return false;
    }
}

}  // namespace

bool calls_library(tessel::IMetaBlock& block) {
    if (tessel::factory::find_class(block.class_hash()) == nullptr) return false;
    const auto formula = static_cast<tessel::MetaBlock&>(block).formula();
    return formula && std::ranges::any_of(formula->values, is_library_op, &tessel::value_t::op);
}

std::unordered_set<std::uint64_t> depends_on_library(tessel::IMetaModel& model,
                                                     const tessel::PropertiesModel& properties) {
    std::unordered_map<std::uint64_t, std::vector<std::uint64_t>> readers;  // and what is gated
    std::unordered_set<std::uint64_t> found;
    std::vector<std::uint64_t> open;
    for (const auto& block : model) {
        if (block == nullptr) continue;
        for (std::uint64_t i = 0; i < block->input_count(); ++i)
            if (const auto* source = block->input(static_cast<std::int16_t>(i))->source_block())
                readers[source->id()].push_back(block->id());
        const auto gate = properties.enable_map.find(block->id());
        if (gate != properties.enable_map.end() && gate->second.second != 0)
            readers[gate->second.second].push_back(block->id());
        if (calls_library(*block) && found.insert(block->id()).second) open.push_back(block->id());
    }
    while (!open.empty()) {
        const std::uint64_t id = open.back();
        open.pop_back();
        for (const std::uint64_t reader : readers[id])
            if (found.insert(reader).second) open.push_back(reader);
    }
    return found;
}

}  // namespace zarn::verify
