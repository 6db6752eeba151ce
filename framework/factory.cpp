#include "factory.h"

#include <algorithm>
#include <array>

#include "core/hash.h"
#include "framework/MetaBlock.h"
#include "framework/classes.h"
#include "framework/entries.h"

namespace tessel {
namespace {

// ---- parameters with unit and default, one table for each class that has any
const parameters_t cast_defaults{{"type", {"", "flt64"}}};
const parameters_t constant_defaults{{"expression", {"", "1.0"}}};
const parameters_t debounce_defaults{{"fall", {" [sec]", "1"}}, {"rise", {" [sec]", "1"}}};
const parameters_t from_defaults{{"target", {"", ""}}};
const parameters_t from_workspace_defaults{{"expression", {"", ""}}};
const parameters_t goto_defaults{{"target", {"", ""}}};
const parameters_t hysteresis_defaults{{"valueOff", {"", "0.0"}}, {"valueOn", {"", "1.0"}}};
const parameters_t inport_defaults{{"portNumber", {"", 2047}}};
const parameters_t lerp_defaults{{"coeffA", {"", "0.0"}}, {"coeffB", {"", "2.0"}}};
const parameters_t logical_defaults{{"operator", {"", "and"}}};
const parameters_t lut1d_defaults{{"bp1", {"", "[0.0, 1.0, 2.0]"}}, {"out", {"", "[0.0, 1.0, 2.0]"}}};
const parameters_t lut2d_defaults{
    {"bp1", {"", "[0.0, 1.0]"}}, {"bp2", {"", "[0.0, 1.0, 2.0]"}}, {"out", {"", "[[0.0, 1.0, 2.0],[0.0, 1.0, 2.0]]"}}};
const parameters_t outport_defaults{{"portNumber", {"", 2047}}};
const parameters_t poly1st_defaults{{"coeffA", {"", "1.0"}}, {"coeffB", {"", "1.0"}}};
const parameters_t random_defaults{{"max", {"", "1.0"}}, {"min", {"", "0.0"}}, {"seed", {"", "12345"}}};
const parameters_t refsys_defaults{{"path", {"", ""}}};
const parameters_t relational_defaults{{"operator", {"", "eq"}}};
const parameters_t sinewave_defaults{{"frequency", {" [hz]", "10.0"}}, {"phase", {" [deg]", "0.0"}}};
const parameters_t squarewave_defaults{{"timeOff", {" [sec]", "1.0"}},
                                       {"timeOn", {" [sec]", "2.0"}},
                                       {"valueOff", {"", "-1.0"}},
                                       {"valueOn", {"", "1.0"}}};
const parameters_t step_defaults{
    {"initialValue", {"", "0.0"}}, {"finalValue", {"", "1.0"}}, {"stepTime", {" [sec]", "2.0"}}};
const parameters_t unpack_defaults{
    {"lsb", {"", "0"}}, {"msb", {"", "0"}}, {"coeffA", {"", "1.0"}}, {"coeffB", {"", "0.0"}}};

// ---- the classes, sorted by name: port counts that the factory forces, port types that it presets (input 0,
// output 0), default parameters. "subsystem" is another word for "subsys".
constexpr std::array classes{
    class_row_t{"abs", &abs_entry, 1, 1, type_unknown, type_unknown, nullptr},
    class_row_t{"acc", &acc_entry, 3, 1, type_unknown, type_unknown, nullptr},
    class_row_t{"acos", &acos_entry, 1, 1, type_unknown, type_unknown, nullptr},
    class_row_t{"add", &add_entry, as_given, 1, type_unknown, type_unknown, nullptr},
    class_row_t{"asin", &asin_entry, 1, 1, type_unknown, type_unknown, nullptr},
    class_row_t{"atan", &atan_entry, 1, 1, type_unknown, type_unknown, nullptr},
    class_row_t{"cast", &cast_entry, 1, 1, type_unknown, type_unknown, &cast_defaults},
    class_row_t{"clamp", &clamp_entry, 3, 1, type_unknown, type_unknown, nullptr},
    class_row_t{"constant", &constant_entry, 0, 1, type_unknown, type_unknown, &constant_defaults},
    class_row_t{"cos", &cos_entry, 1, 1, type_unknown, type_unknown, nullptr},
    class_row_t{"debounce", &debounce_entry, 1, 1, type_unknown, type_bool, &debounce_defaults},
    class_row_t{"delta", &delta_entry, 1, 1, type_unknown, type_unknown, nullptr},
    class_row_t{"display", &display_entry, 1, 0, type_unknown, type_unknown, nullptr},
    class_row_t{"divide", &divide_entry, 2, 1, type_unknown, type_unknown, nullptr},
    class_row_t{"enable", &enable_entry, 1, as_given, type_unknown, type_unknown, nullptr},
    class_row_t{"from", &from_entry, 0, 1, type_unknown, type_unknown, &from_defaults},
    class_row_t{"from_workspace", &from_workspace_entry, 0, 1, type_unknown, type_unknown, &from_workspace_defaults},
    class_row_t{"goto", &goto_entry, 1, 0, type_unknown, type_unknown, &goto_defaults},
    class_row_t{"hysteresis", &hysteresis_entry, 1, 1, type_unknown, type_bool, &hysteresis_defaults},
    class_row_t{"if", &if_entry, 3, 1, type_bool, type_unknown, nullptr},
    class_row_t{"inport", &inport_entry, 1, 1, type_unknown, type_unknown, &inport_defaults},
    class_row_t{"lerp", &lerp_entry, 1, 1, type_unknown, type_unknown, &lerp_defaults},
    class_row_t{"log", &log_entry, 1, 1, type_unknown, type_unknown, nullptr},
    class_row_t{"logical", &logical_entry, as_given, 1, type_unknown, type_bool, &logical_defaults},
    class_row_t{"lut1d", &lut1d_entry, 1, 1, type_unknown, type_unknown, &lut1d_defaults},
    class_row_t{"lut2d", &lut2d_entry, 2, 1, type_unknown, type_unknown, &lut2d_defaults},
    class_row_t{"max", &max_entry, 1, 1, type_unknown, type_unknown, nullptr},
    class_row_t{"memory", &memory_entry, 1, 1, type_unknown, type_unknown, nullptr},
    class_row_t{"min", &min_entry, 1, 1, type_unknown, type_unknown, nullptr},
    class_row_t{"mod", &mod_entry, 2, 1, type_unknown, type_unknown, nullptr},
    class_row_t{"multiply", &multiply_entry, as_given, 1, type_unknown, type_unknown, nullptr},
    class_row_t{"not", &not_entry, 1, 1, type_bool, type_bool, nullptr},
    class_row_t{"outport", &outport_entry, 1, 1, type_unknown, type_unknown, &outport_defaults},
    class_row_t{"poly1st", &poly1st_entry, 1, 1, type_unknown, type_unknown, &poly1st_defaults},
    class_row_t{"pow", &pow_entry, 2, 1, type_unknown, type_unknown, nullptr},
    class_row_t{"random", &random_entry, 0, 1, type_unknown, type_unknown, &random_defaults},
    class_row_t{"refsys", &refsys_entry, as_given, as_given, type_unknown, type_unknown, &refsys_defaults},
    class_row_t{"relational", &relational_entry, as_given, 1, type_unknown, type_bool, &relational_defaults},
    class_row_t{"sin", &sin_entry, 1, 1, type_unknown, type_unknown, nullptr},
    class_row_t{"sinewave", &sinewave_entry, 0, 1, type_unknown, type_unknown, &sinewave_defaults},
    class_row_t{"sqrt", &sqrt_entry, 1, 1, type_unknown, type_unknown, nullptr},
    class_row_t{"squarewave", &squarewave_entry, 0, 1, type_unknown, type_unknown, &squarewave_defaults},
    class_row_t{"step", &step_entry, 0, 1, type_unknown, type_unknown, &step_defaults},
    class_row_t{"subsys", &subsys_entry, as_given, as_given, type_unknown, type_unknown, nullptr},
    class_row_t{"subsystem", &subsys_entry, as_given, as_given, type_unknown, type_unknown, nullptr},
    class_row_t{"subtract", &subtract_entry, as_given, 1, type_unknown, type_unknown, nullptr},
    class_row_t{"switch", &switch_entry, at_least_3, 1, type_int8, type_unknown, nullptr},
    class_row_t{"tan", &tan_entry, 1, 1, type_unknown, type_unknown, nullptr},
    class_row_t{"time", &time_entry, 0, 1, type_unknown, type_unknown, nullptr},
    class_row_t{"to_workspace", &to_workspace_entry, 1, 0, type_unknown, type_unknown, nullptr},
    class_row_t{"unpack", &unpack_entry, 1, 1, type_unknown, type_unknown, &unpack_defaults},
};

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

const parameters_t* factory::defaults_of(std::string_view class_name) noexcept {
    const class_row_t* row = find_class(class_hash_of(class_name));
    return row != nullptr ? row->defaults : nullptr;
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

    auto block = row->entry->create(properties);
    if (row->defaults != nullptr && properties->parameters.empty()) properties->parameters = *row->defaults;

    auto& ports = static_cast<MetaBlock&>(*block);
    const bool raise = row->inputs == at_least_3 && block->input_count() < 3;
    ports.resize_ports(raise ? 3 : row->inputs, row->outputs);
    if (row->input_type != type_unknown && block->input_count() > 0) block->input(0)->set_type(row->input_type);
    if (row->output_type != type_unknown) block->output(0)->set_type(row->output_type);
    return block;
}

}  // namespace tessel
