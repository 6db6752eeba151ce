// What a class computes, asked of a block of it.
#include <algorithm>
#include <memory>
#include <nlohmann/json.hpp>

#include "factory.h"
#include "formula/words.h"
#include "framework/MetaBlock.h"
#include "host/reference/reference.h"
#include "port.h"

namespace zarn {
namespace {

using tessel::signature_t;

/// The combination that is shown: of those with the fewest inputs the one with the highest types, which is flt64
/// wherever that can be.
const signature_t* shown_combination(const class_row_t& row) {
    const auto& all = row.entry->accepted;
    const auto found = std::ranges::min_element(all, [](const signature_t& a, const signature_t& b) {
        return a.inputs != b.inputs ? a.inputs < b.inputs : a.types > b.types;
    });
    return found != all.end() ? &*found : nullptr;
}

}  // namespace

std::vector<std::string> formula_of(const class_row_t& row) {
    const signature_t* combination = shown_combination(row);
    const auto is_series = [](const auto& parameter) { return parameter.content == tessel::content_t::series; };
    if (combination == nullptr || std::ranges::any_of(row.traits().parameters, is_series)) return {};
    const auto block = tessel::factory::create(row.name);
    block->import_json({{"inportCount", combination->inputs}});
    std::vector<std::unique_ptr<tessel::IMetaBlock>> sources;
    for (std::int16_t i = 0; i < combination->inputs; ++i) {
        sources.push_back(tessel::factory::create("from"));
        sources.back()->output(0)->set_type(combination->types[static_cast<std::size_t>(i)]);
        block->input(i)->link(sources.back().get(), 0);
    }
    if (block->calculate_type() != tessel::result_ok || !block->has_all_types()) return {};
    const auto formula = static_cast<tessel::MetaBlock&>(*block).formula();
    return formula ? tessel::lines_of(*formula) : std::vector<std::string>();
}

}  // namespace zarn
