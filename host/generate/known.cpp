#include "host/generate/known.h"

#include <algorithm>
#include <array>

#include "core/hash.h"
#include "port.h"

namespace zarn {
namespace {

using tessel::IMetaBlock;
using tessel::type_t;

constexpr language_t c = language_t::c;
constexpr language_t python = language_t::python;

// ---- to which blocks a row applies
bool always(const IMetaBlock&) { return true; }

bool is_float(type_t type) { return type == tessel::type_flt32 || type == tessel::type_flt64; }

type_t output_type(const IMetaBlock& block) {
    return block.output_count() != 0 ? block.output(0)->type() : tessel::type_unknown;
}

bool of_bool(const IMetaBlock& block) { return output_type(block) == tessel::type_bool; }
bool of_float(const IMetaBlock& block) { return is_float(output_type(block)); }
bool of_flt32(const IMetaBlock& block) { return output_type(block) == tessel::type_flt32; }
bool of_integer(const IMetaBlock& block) { return !of_float(block); }
bool of_three_floats(const IMetaBlock& block) { return block.input_count() > 2 && of_float(block); }
bool of_three(const IMetaBlock& block) { return block.input_count() > 2; }

bool any_float_variable(const IMetaBlock& block) {
    for (std::uint64_t i = 0; i < block.input_count(); ++i)
        if (is_float(variable_type(block, i))) return true;
    return false;
}
bool integers_from_floats(const IMetaBlock& block) { return of_integer(block) && any_float_variable(block); }

bool with_operands(const IMetaBlock& block) { return block.input_count() != 1; }
bool inside_subsystem(const IMetaBlock& block) { return block.parent_id() != 0; }

bool types_differ(const IMetaBlock& block) {
    for (std::uint64_t i = 1; i < block.input_count(); ++i)
        if (block.input(static_cast<std::int16_t>(i))->type() != block.input(0)->type()) return true;
    return false;
}

bool of_bool_input(const IMetaBlock& block) {
    return block.input_count() != 0 && block.input(0)->type() == tessel::type_bool;
}
bool of_wide_integer_input(const IMetaBlock& block) {
    const type_t type = variable_type(block, 0);
    return type == tessel::type_int64 || type == tessel::type_uint64;
}
bool of_mistaken_letter(const IMetaBlock& block) {
    return block.input_count() != 0 && is_float(variable_type(block, 0)) != is_float(block.input(0)->type());
}

bool selects_beyond_int8(const IMetaBlock& block) {
    const type_t type = variable_type(block, 0);
    return type != tessel::type_bool && type != tessel::type_int8;
}

/// A memory that reads from a block of its own zone, which may compute before it or behind it.
bool reads_zone_zero(const IMetaBlock& block) {
    const IMetaBlock* source = block.input_count() != 0 ? block.input(0)->source_block() : nullptr;
    return source != nullptr && source->zone() == 0 && source->class_hash() != tessel::class_hash_of("constant") &&
           source->class_hash() != tessel::class_hash_of("from_workspace");
}

// ---- sentences that several rows share
constexpr const char* domain = "outside its domain it ends the program with an exception; a run gives not-a-number";
constexpr const char* infinite = "an infinite argument ends the program with an exception; a run gives not-a-number";
constexpr const char* in_double = "it is computed in double and rounded; a run computes it in flt32";
constexpr const char* number_not_truth = "a bool holds the number, cut to a byte; a run holds whether it is 0";
constexpr const char* from_the_left =
    "it is computed from the left, a run computes from the right: rounding may differ";
constexpr const char* zero_faults = "a divisor of 0 ends the program; a run gives 0";
constexpr const char* zero_raises = "a divisor of 0 ends the program with an exception";
constexpr const char* no_code = "it writes no code: its output stays what it was at the start";
constexpr const char* one_line_if = "its condition is not followed by a colon";
constexpr const char* memory_order =
    "its source may come before it, as classes do not decide the order in a zone; then there is no delay";
constexpr const char* no_true = "its start value is spelt 'true', which C does not have";

constexpr std::array rows{
    known_t{"abs", c, not_compiled, &always, "its text calls std::abs, which C does not have"},
    known_t{"acc", c, differs, &of_bool, number_not_truth},
    known_t{"acc", python, not_parsed, &inside_subsystem, "its initialisation is indented by its tier"},
    known_t{"acos", c, differs, &of_flt32, in_double},
    known_t{"acos", python, differs, &always, domain},
    known_t{"add", c, differs, &of_bool, number_not_truth},
    known_t{"add", c, differs, &of_three_floats, from_the_left},
    known_t{"add", python, differs, &of_three_floats, from_the_left},
    known_t{"asin", c, differs, &of_flt32, in_double},
    known_t{"asin", python, differs, &always, domain},
    known_t{"atan", c, differs, &of_flt32, in_double},
    known_t{"clamp", c, differs, &types_differ,
            "value and bounds meet in C's common type; a run converts the bounds first"},
    known_t{"clamp", python, differs, &always,
            "a value above both bounds gives the lower one where that is above the "
            "upper, and not-a-number gives the lower bound"},
    known_t{"cos", c, differs, &of_flt32, in_double},
    known_t{"cos", python, differs, &always, infinite},
    known_t{"debounce", c, differs, &always, "the output falls without delay, and starts as whatever the memory holds"},
    known_t{"debounce", python, differs, &always, "the output falls without delay"},
    known_t{"delta", c, differs, &of_bool, number_not_truth},
    known_t{"delta", python, not_run, &always, "its class is defined as debounce_t and made as delta_t"},
    known_t{"display", c, differs, &of_wide_integer_input, "it prints the lower 32 bits"},
    known_t{"display", c, differs, &of_mistaken_letter,
            "the conversion letter is that of the input's type, which the "
            "variable does not have: what is printed is arbitrary"},
    known_t{"divide", c, differs, &of_integer, zero_faults},
    known_t{"divide", c, differs, &of_bool, number_not_truth},
    known_t{"divide", python, differs, &of_integer, "the quotient keeps its fraction; a run truncates it"},
    known_t{"divide", python, differs, &always, zero_raises},
    known_t{"from_workspace", c, differs, &always, no_code},
    known_t{"from_workspace", python, differs, &always, no_code},
    known_t{"hysteresis", c, differs, &of_bool_input,
            "input and thresholds are cut to a byte; a run takes every value "
            "but 0 as true"},
    known_t{"if", c, differs, &always, "it gives input 2 whatever the condition"},
    known_t{"if", python, differs, &always, "it gives input 2 whatever the condition"},
    known_t{"inport", c, not_compiled, &always,
            "its text uses the columns of the input file, which main.c alone "
            "declares, and returns a value from init"},
    known_t{"inport", c, differs, &inside_subsystem, "it reads the data file by its name; what feeds it is not used"},
    known_t{"inport", python, not_run, &always,
            "its text uses the columns of the input file, which main.py does not "
            "share with model.py"},
    known_t{"inport", python, differs, &inside_subsystem,
            "it reads the data file by its name; what feeds it is not used"},
    known_t{"lerp", c, differs, &always, "it is rounded more often than in a run, and not exact at the ends"},
    known_t{"lerp", python, differs, &always, "it is rounded more often than in a run, and not exact at the ends"},
    known_t{"log", c, differs, &of_flt32, in_double},
    known_t{"log", python, differs, &always, domain},
    known_t{"logical", python, not_parsed, &with_operands, "its operators stand directly behind the operands"},
    known_t{"lut2d", c, differs, &always, "inputs outside of the table extrapolate; a run clips them"},
    known_t{"max", c, not_compiled, &of_bool, no_true},
    known_t{"max", c, differs, &of_bool, "it starts at true and stays there"},
    known_t{"max", c, differs, &of_float, "it starts far below 0; a run starts at the smallest number above 0"},
    known_t{"max", python, not_parsed, &always, one_line_if},
    known_t{"memory", c, differs, &reads_zone_zero, memory_order},
    known_t{"memory", python, differs, &reads_zone_zero, memory_order},
    known_t{"min", c, not_compiled, &of_bool, no_true},
    known_t{"min", c, differs, &of_float, "it starts at 1e300, or 1e30 in flt32; a run starts at the largest number"},
    known_t{"min", python, not_parsed, &always, one_line_if},
    known_t{"mod", c, not_compiled, &integers_from_floats, "its text takes the integer remainder of a float"},
    known_t{"mod", c, differs, &of_integer, zero_faults},
    known_t{"mod", python, differs, &always, zero_raises},
    known_t{"multiply", c, differs, &of_bool, number_not_truth},
    known_t{"multiply", c, differs, &of_three_floats, from_the_left},
    known_t{"multiply", python, differs, &of_three_floats, from_the_left},
    known_t{"outport", c, not_compiled, &always,
            "its text uses the columns of the output file, which main.c alone "
            "declares"},
    known_t{"outport", c, differs, &always,
            "its own port is never assigned: what reads it gets what was there at the "
            "start"},
    known_t{"outport", python, not_run, &always,
            "its text uses the columns of the output file, which main.py does not "
            "share with model.py"},
    known_t{"pow", c, not_compiled, &always, "its text calls std::pow, which C does not have"},
    known_t{"pow", python, differs, &always,
            "outside its domain, and where the power is too large, it ends the program "
            "with an exception"},
    known_t{"random", c, differs, &always,
            "it divides by max - min, a run by max - min + 1; where that is below 1 the "
            "program ends"},
    known_t{"random", python, differs, &always,
            "it divides by max - min, a run by max - min + 1, and its state grows "
            "without bound"},
    known_t{"sin", c, differs, &of_flt32, in_double},
    known_t{"sin", python, differs, &always, infinite},
    known_t{"sinewave", c, differs, &always, "angular frequency and phase are written with six digits"},
    known_t{"sinewave", python, differs, &always, "angular frequency and phase are written with six digits"},
    known_t{"sqrt", c, not_compiled, &always, "its text calls std::sqrt, which C does not have"},
    known_t{"sqrt", python, differs, &always, domain},
    known_t{"squarewave", c, differs, &always, "init assigns neither its state nor its output"},
    known_t{"squarewave", python, differs, &always,
            "the output is 0 until its first change, and the first interval is "
            "counted from time 0"},
    known_t{"step", c, differs, &always, "the final value stands before the step time and the initial value behind it"},
    known_t{"step", python, differs, &always,
            "the final value stands before the step time and the initial value behind "
            "it"},
    known_t{"subtract", c, differs, &always, "it divides"},
    known_t{"subtract", python, differs, &of_three, "it gives u0 - u1 - u2, a run u0 - (u1 - u2)"},
    known_t{"switch", c, differs, &selects_beyond_int8, "the selector is cut to int; a run cuts it to int8"},
    known_t{"switch", python, differs, &selects_beyond_int8,
            "the selector is compared as it is; a run cuts it to int8"},
    known_t{"tan", c, differs, &of_flt32, in_double},
    known_t{"tan", python, differs, &always, infinite},
    known_t{"to_workspace", c, differs, &always, "it writes no code: nothing is recorded"},
    known_t{"to_workspace", python, differs, &always, "it writes no code: nothing is recorded"},
    known_t{"unpack", python, not_run, &any_float_variable, "its text takes the binary digits of a float"},
    known_t{"unpack", python, differs, &always,
            "a value below 0, or with fewer binary digits than msb + 1, ends the "
            "program with an exception or gives other bits"},
};
static_assert(std::ranges::is_sorted(rows, {}, &known_t::class_name));

constexpr std::array parameters{
    parameter_t{"constant", "expression", true, false},
    parameter_t{"debounce", "fall", true, true},
    parameter_t{"debounce", "rise", true, true},
    parameter_t{"hysteresis", "valueOff", true, true},
    parameter_t{"hysteresis", "valueOn", true, true},
    parameter_t{"lerp", "coeffA", false, true},
    parameter_t{"lerp", "coeffB", false, true},
    parameter_t{"lut1d", "bp1", true, true},
    parameter_t{"lut1d", "out", true, true},
    parameter_t{"lut2d", "bp1", true, true},
    parameter_t{"lut2d", "bp2", true, true},
    parameter_t{"lut2d", "out", true, true},
    parameter_t{"poly1st", "coeffA", false, true},
    parameter_t{"poly1st", "coeffB", false, true},
    parameter_t{"random", "max", true, true},
    parameter_t{"random", "min", true, true},
    parameter_t{"random", "seed", true, true},
    parameter_t{"squarewave", "timeOff", true, true},
    parameter_t{"squarewave", "timeOn", true, true},
    parameter_t{"squarewave", "valueOff", true, true},
    parameter_t{"squarewave", "valueOn", true, true},
    parameter_t{"step", "finalValue", true, true},
    parameter_t{"step", "initialValue", true, true},
    parameter_t{"step", "stepTime", true, true},
    parameter_t{"unpack", "coeffA", false, true},
    parameter_t{"unpack", "coeffB", false, true},
};
static_assert(std::ranges::is_sorted(parameters, {}, &parameter_t::class_name));

}  // namespace

std::span<const known_t> known_texts() noexcept { return rows; }

std::span<const parameter_t> parameters_of(std::string_view class_name) noexcept {
    // not equal_range: clang 14 does not compile the subrange that it gives
    return {std::ranges::lower_bound(parameters, class_name, {}, &parameter_t::class_name),
            std::ranges::upper_bound(parameters, class_name, {}, &parameter_t::class_name)};
}

type_t variable_type(const IMetaBlock& block, std::uint64_t index) {
    if (index >= block.input_count()) return tessel::type_unknown;
    const tessel::port_t* source = block.input(static_cast<std::int16_t>(index))->source_port();
    return source != nullptr ? source->type() : tessel::type_unknown;
}

bool loses_conversion(const IMetaBlock& block, std::uint64_t index, language_t language) {
    const std::string_view name = block.class_name();
    const type_t variable = variable_type(block, index);
    const type_t input = block.input(static_cast<std::int16_t>(index))->type();
    if (variable == tessel::type_unknown || input == tessel::type_unknown || variable == input) return false;
    if (name == "inport" || (name == "switch" && index == 0)) return false;         // these have rows of their own
    if (language == c && (name == "hysteresis" || name == "unpack")) return false;  // their text converts
    if (variable == tessel::type_bool) return name == "divide" && is_float(input);
    const bool tests_truth = name == "acc" || name == "debounce" || name == "if" || name == "logical" || name == "not";
    return !(input == tessel::type_bool && tests_truth);
}

}  // namespace zarn
