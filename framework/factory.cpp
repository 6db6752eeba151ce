#include "factory.h"

#include <algorithm>
#include <array>

#include "core/hash.h"
#include "framework/MetaBlock.h"
#include "framework/classes.h"
#include "framework/entries.h"

namespace tessel {
namespace {

// ---- the classes, sorted by name
#define BLOCKS_ROW(name) class_row_t{#name, &name##_entry},
#define BLOCKS_OTHER_ROW(name, other) class_row_t{#other, &name##_entry},
constexpr auto classes = std::to_array<class_row_t>({BLOCKS_CLASSES(BLOCKS_ROW, BLOCKS_OTHER_ROW)});
#undef BLOCKS_ROW
#undef BLOCKS_OTHER_ROW
static_assert(std::ranges::is_sorted(classes, {}, [](const class_row_t& row) { return std::string_view(row.name); }));

// ---- parameters with unit and default of each class
parameters_t make_defaults(const class_row_t& row) {
    parameters_t defaults;
    for (const parameter_traits_t& parameter : row.traits().parameters)
        defaults[parameter.key] = {parameter.unit.suffix,
                                   parameter.value != nullptr ? var_t(parameter.value) : var_t(no_port_number)};
    return defaults;
}

// made when the library loads, in the order of the classes: whoever makes a block copies one, on any thread
const std::array default_tables = [] {
    std::array<parameters_t, classes.size()> tables;
    std::ranges::transform(classes, tables.begin(), make_defaults);
    return tables;
}();

/// The default parameters of a class, null for one that has none.
const parameters_t* defaults_of_row(const class_row_t& row) noexcept {
    return row.traits().parameters.empty() ? nullptr : &default_tables[static_cast<std::size_t>(&row - classes.data())];
}

// ---- dispatch: a binary search over the class hashes
struct dispatch_t {
    std::uint32_t hash;
    const class_row_t* row;
};

consteval auto dispatch_table() {
    std::array<dispatch_t, classes.size()> table{};
    for (std::size_t i = 0; i < classes.size(); ++i) table[i] = {class_hash_of(classes[i].name), &classes[i]};
    std::ranges::sort(table, {}, &dispatch_t::hash);
    if (std::ranges::adjacent_find(table, {}, &dispatch_t::hash) != table.end()) throw "two classes share a hash";
    return table;
}
constexpr auto dispatch = dispatch_table();

}  // namespace

std::span<const class_row_t> factory::class_rows() noexcept { return classes; }

const class_row_t* factory::find_class(std::uint32_t hash) noexcept {
    const auto found = std::ranges::lower_bound(dispatch, hash, {}, &dispatch_t::hash);
    return found != dispatch.end() && found->hash == hash ? found->row : nullptr;
}

const block_traits_t& factory::traits_of(const IMetaBlock& block) noexcept {
    static constexpr block_traits_t unknown;
    const class_row_t* row = find_class(block.class_hash());
    return row != nullptr ? row->traits() : unknown;
}

const parameters_t* factory::defaults_of(std::string_view class_name) noexcept {
    const class_row_t* row = find_class(class_hash_of(class_name));
    return row != nullptr ? defaults_of_row(*row) : nullptr;
}

std::unique_ptr<IMetaBlock> factory::create(std::string_view class_name) {
    return create(class_name, std::make_shared<PropertiesBlock>());
}

// NOLINTNEXTLINE(performance-unnecessary-value-param): the exported signature
std::unique_ptr<IMetaBlock> factory::create(std::string_view class_name, std::shared_ptr<PropertiesBlock> properties) {
    // callers pass views over zero-terminated text; the view's length is not looked at
    const char* text = class_name.data();
    if (text == nullptr || *text == 0) return nullptr;
    const class_row_t* row = find_class(class_hash_of(text));
    if (row == nullptr) return nullptr;

    const block_traits_t& traits = row->traits();
    auto block = row->entry->create(properties);
    if (const parameters_t* defaults = defaults_of_row(*row); defaults != nullptr && properties->parameters.empty())
        properties->parameters = *defaults;

    auto& ports = static_cast<MetaBlock&>(*block);
    const bool raise = traits.input_count == at_least_3 && block->input_count() < 3;
    ports.resize_ports(raise ? 3 : traits.input_count, traits.output_count);
    if (traits.input_type != type_unknown && block->input_count() > 0) block->input(0)->set_type(traits.input_type);
    if (traits.output_type != type_unknown) block->output(0)->set_type(traits.output_type);
    return block;
}

}  // namespace tessel
