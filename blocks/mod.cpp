// mod: remainder of a division, with the sign of the dividend.
//
//   y = u0 - u1 * trunc(u0 / u1)
//   y = 0                      where u1 = 0, integers only: floats give not-a-number
//
// Inputs     0: u0   1: u1                       any types, bool is taken as uint8; computed in their common type
// Output     0: y                                higher type of the two; integers pass through double, which rounds
//                                                remainders beyond 2^53
// State      none
//
// The lowest int32 or int64 modulo -1 is the processor's divide fault and ends the process.
#include <type_traits>

#include "blocks/occasions.h"
#include "blocks/table.h"
#include "framework/entry.h"

namespace tessel {
namespace {

// ---- what it computes, at run time
template <class A, class B>
struct Mod2 {
    using in = inputs<A, B>;
    using out = outputs<highest<A, B>>;
    static constexpr bool accepted = !std::is_same_v<A, bool> && !std::is_same_v<B, bool>;
    static highest<A, B> eval(A a, B b) noexcept { return like(highest_of(a, b), real(remainder(a, b))); }
};

constexpr auto table = kernel_table<Mod2, value_types, value_types>();
static_assert(table.size() == 100);

// ---- design level: type rule, runnable, generated text
void bool_to_uint8(port_t& port) {
    if (port.type() == type_bool) port.set_type(type_uint8);
}

class Mod final : public MetaBlock {
public:
    using MetaBlock::MetaBlock;
    std::uint32_t class_hash() const noexcept override { return class_hash_of("mod"); }
    const char* class_name() const noexcept override { return "mod"; }
    form_t form() override { return {row_in(table)}; }

    result_t calculate_type() override {
        const result_t result = MetaBlock::calculate_type();
        bool_to_uint8(inputs_[0]);
        bool_to_uint8(inputs_[1]);
        bool_to_uint8(outputs_[0]);
        return result;
    }

    result_t code_step_c(sys::File& file, const char* prefix) override {
        const std::string y = own_port(prefix), u0 = in_value(prefix, 0), u1 = in_value(prefix, 1);
        switch (outputs_[0].type()) {
            case type_flt32: write_step_c(file, 0, "{:s} = fmodf({:s}, {:s});\n", y, u0, u1); break;
            case type_flt64: write_step_c(file, 0, "{:s} = fmod({:s}, {:s});\n", y, u0, u1); break;
            default: write_step_c(file, 0, "{:s} = {:s} % {:s};\n", y, u0, u1); break;
        }
        return result_ok;
    }

    result_t code_step_py(sys::File& file, const char* prefix) override {
        write_step_py(file, 0, "{:s} = math.fmod({:s}, {:s})\n", own_port(prefix), in_value(prefix, 0),
                      in_value(prefix, 1));
        return result_ok;
    }
};

// ---- what others know of it
constexpr text_note_t notes[] = {
    {dialect_t::c, not_compiled, &integers_of_floats, "its text takes the integer remainder of a float"},
    {dialect_t::c, differs, &of_integers, zero_faults},
    {dialect_t::python, differs, nullptr, zero_raises},
};

constexpr block_traits_t traits{
    .input_count = 2,
    .inputs = {{.name = "u0", .label = "u"}, {.name = "u1", .label = "v"}},
    .fault = fault_t::lowest_by_minus_1,
    .everyday = {"modulo", "remainder", "rem", "fmod"},
    .text = {.notes = notes},
};

}  // namespace

extern const block_entry_t mod_entry{create_block<Mod>, table, traits};

}  // namespace tessel
