#include "blocks/occasions.h"

#include "framework/classes.h"

namespace tessel {
namespace {

type_t output_type(const IMetaBlock& block) {
    return block.output_count() != 0 ? block.output(0)->type() : type_unknown;
}
type_t input_type(const IMetaBlock& block) { return block.input_count() != 0 ? block.input(0)->type() : type_unknown; }

bool has_float(const IMetaBlock& block) { return is_float_type(output_type(block)); }
bool has_integer(const IMetaBlock& block) { return !has_float(block); }
bool has_bool(const IMetaBlock& block) { return output_type(block) == type_bool; }
bool has_flt32(const IMetaBlock& block) { return output_type(block) == type_flt32; }
bool has_three(const IMetaBlock& block) { return block.input_count() > 2; }
bool has_three_floats(const IMetaBlock& block) { return has_three(block) && has_float(block); }
bool has_two_or_more(const IMetaBlock& block) { return block.input_count() != 1; }
bool has_bool_input(const IMetaBlock& block) { return input_type(block) == type_bool; }
bool is_inside(const IMetaBlock& block) { return block.parent_id() != 0; }

bool has_mixed_types(const IMetaBlock& block) {
    for (std::uint64_t i = 1; i < block.input_count(); ++i)
        if (block.input(static_cast<std::int16_t>(i))->type() != block.input(0)->type()) return true;
    return false;
}
bool reads_float(const IMetaBlock& block) {
    for (std::uint64_t i = 0; i < block.input_count(); ++i)
        if (is_float_type(variable_type(block, i))) return true;
    return false;
}
bool makes_integers_of_floats(const IMetaBlock& block) { return has_integer(block) && reads_float(block); }
bool reads_wide_integer(const IMetaBlock& block) {
    const type_t type = variable_type(block, 0);
    return type == type_int64 || type == type_uint64;
}
bool mistakes_kind(const IMetaBlock& block) {
    return block.input_count() != 0 && is_float_type(variable_type(block, 0)) != is_float_type(input_type(block));
}
bool selects_beyond_int8(const IMetaBlock& block) {
    const type_t type = variable_type(block, 0);
    return type != type_bool && type != type_int8;
}

/// The source computes in the block's own zone, before the block or behind it.
bool reads_zone_0(const IMetaBlock& block) {
    const IMetaBlock* source = block.input_count() != 0 ? block.input(0)->source_block() : nullptr;
    return source != nullptr && source->zone() == 0 && !factory::traits_of(*source).text.silent;
}

}  // namespace

const occasion_t of_bool{has_bool, "of bool"};
const occasion_t of_float{has_float, "of flt32 or flt64"};
const occasion_t of_flt32{has_flt32, "of flt32"};
const occasion_t of_integers{has_integer, "of integers or bool"};
const occasion_t of_three{has_three, "of three inputs"};
const occasion_t of_three_floats{has_three_floats, "of three inputs of flt32 or flt64"};
const occasion_t of_mixed_types{has_mixed_types, "of inputs of different types"};
const occasion_t of_bool_input{has_bool_input, "of a bool input"};
const occasion_t behind_float{reads_float, "behind a source of flt32 or flt64"};
const occasion_t integers_of_floats{makes_integers_of_floats, "of integers that a cast made of floats"};
const occasion_t behind_wide_integer{reads_wide_integer, "of int64 or uint64"};
const occasion_t behind_float_cast{mistakes_kind, "behind a cast between floats and integers"};
const occasion_t by_wide_selector{selects_beyond_int8, "of a selector that is neither bool nor int8"};
const occasion_t of_two_or_more{has_two_or_more, "of two or more inputs"};
const occasion_t inside_subsystem{is_inside, "inside of a subsystem"};
const occasion_t behind_zone_0{reads_zone_0, "behind a source that computes in zone 0"};

}  // namespace tessel
