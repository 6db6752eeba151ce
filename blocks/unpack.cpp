// unpack: takes a bit field out of a value and scales it.
//
//   y = coeffA * (bits lsb to msb of u) + coeffB      u as a 32-bit integer
//
// With msb 31 the mask is 0, so y = coeffB.
//
// Inputs     0: u         any type
// Output     0: y         type of u to run; flt64 unless typed otherwise
// Parameters lsb          number of the lowest bit
//            msb          number of the highest bit
//            coeffA
//            coeffB
// State      none
#include "blocks/occasions.h"
#include "blocks/parameters.h"
#include "blocks/table.h"
#include "blocks/text.h"
#include "framework/entry.h"

namespace tessel {
namespace {

// ---- what it computes
struct field_t {
    double coeff_a = 0.0;
    double coeff_b = 0.0;
    std::int32_t lsb = 0;
    std::int32_t msb = 0;

    std::uint32_t mask() const noexcept { return (1u << ((static_cast<std::uint32_t>(msb) + 1u) % 32u)) - 1u; }
};

template <class T>
struct Unpack {
    using in = inputs<T>;
    using out = outputs<T>;

    with<T, std::uint32_t> mask = 0u, shift = 0u;
    with<T, double> a = 0.0, b = 0.0;

    void configure(const void* record) noexcept {
        const auto& field = *static_cast<const field_t*>(record);
        mask = field.mask();
        shift = static_cast<std::uint32_t>(field.lsb) % 32u;
        a = field.coeff_a;
        b = field.coeff_b;
    }
    T eval(with<T, double>, T, T u) const noexcept {
        const with<T, std::uint32_t> bits = (uint32(int32(u)) & mask) >> shift;
        return like(u, flt64(bits) * a + b);
    }
    void members(auto& visit) {
        visit.parameter("mask", mask);
        visit.parameter("shift", shift);
        visit.parameter("a", a);
        visit.parameter("b", b);
    }
};

// ---- run time
constexpr auto table = kernel_table<Unpack, value_types>();
static_assert(table.size() == 11);

// ---- parameters
constexpr parameter_traits_t parameters[] = {
    {
        .key = "lsb",
        .meaning = "number of the lowest bit",
        .value = "0",
        .scope = "_lsb",
        .limit = limit_t::lowest_bit,
        .everyday = {"low", "start", "first bit"},
    },
    {
        .key = "msb",
        .meaning = "number of the highest bit",
        .value = "0",
        .scope = "_msb",
        .limit = limit_t::highest_bit,
        .everyday = {"high", "end", "last bit"},
    },
    {
        .key = "coeffA",
        .meaning = "factor",
        .value = "1.0",
        .scope = "_coeff_a",
        .six_digits = true,
        .everyday = {"gain", "factor", "scale", "slope"},
    },
    {
        .key = "coeffB",
        .meaning = "offset",
        .value = "0.0",
        .scope = "_coeff_b",
        .six_digits = true,
        .everyday = {"offset", "bias"},
    },
};

// ---- design level: type rule, runnable, generated text
class UnpackBlock final : public ParameterBlock {
public:
    using ParameterBlock::ParameterBlock;
    std::uint32_t class_hash() const noexcept override { return class_hash_of("unpack"); }
    const char* class_name() const noexcept override { return "unpack"; }

    result_t calculate_type() override {
        const result_t result = read_each(
            {{parameters[2], &coeff_a_}, {parameters[3], &coeff_b_}, {parameters[0], &lsb_}, {parameters[1], &msb_}});
        if (result != result_ok) return result;
        outputs_[0].set_type_if_unset(type_flt64);
        return MetaBlock::calculate_type();
    }

    form_t form() override { return {row_in(table), field()}; }

    result_t code_struct_c(sys::File& file) override {
        write_struct_c(file, struct_name(),
                       {std::string(c_type(outputs_[0])) + " port0", "unsigned int mask", "unsigned int masked"});
        return result_ok;
    }

    result_t code_struct_py(sys::File& file) override {
        write_class_py(file, "unpack_t", {"port0 = 0", "start = 0", "end = 0", "binary = 0"});
        return result_ok;
    }

    result_t code_init_c(sys::File& file, const char* prefix) override {
        write_indented(1, file, "{}.mask = {};\n", own_state(prefix), field().mask());
        return result_ok;
    }

    result_t code_step_c(sys::File& file, const char* prefix) override {
        const std::string state = own_state(prefix);
        const field_t f = field();
        write_step_c(file, 0, "{}.masked = ((unsigned int) {}) & {}.mask;\n", state, in_value(prefix, 0), state);
        write_step_c(file, 0, "{} = ({}.masked >> {}) * {:g} + {:g};\n", own_port(prefix), state, f.lsb, f.coeff_a,
                     f.coeff_b);
        return result_ok;
    }

    // Works on the binary digits of a number that is not negative and has at least msb + 1 of them.
    result_t code_step_py(sys::File& file, const char* prefix) override {
        const std::string state = own_state(prefix);
        const field_t f = field();
        write_step_py(file, 0, "{}.binary = bin({})[2:]\n", state, in_value(prefix, 0));
        write_step_py(file, 0, "{}.end = len({}.binary) - {}\n", state, state, f.lsb);
        write_step_py(file, 0, "{}.start = len({}.binary) - {}\n", state, state, std::int64_t{f.msb} + 1);
        write_step_py(file, 0, "{} = int({}.binary[{}.start : {}.end], 2) * {:g} + {:g}\n", own_port(prefix), state,
                      state, state, f.coeff_a, f.coeff_b);
        return result_ok;
    }

private:
    field_t field() const noexcept { return {double(coeff_a_), double(coeff_b_), int(lsb_), int(msb_)}; }

    var_t coeff_a_;
    var_t coeff_b_;
    var_t lsb_;
    var_t msb_;
};

// ---- what others know of it
constexpr text_note_t notes[] = {
    {dialect_t::python, not_run, &behind_float, "its text takes the binary digits of a float"},
    {dialect_t::python, differs, nullptr,
     "a value below 0, or with fewer binary digits than msb + 1, ends the program with an exception or gives other "
     "bits"},
};

constexpr block_traits_t traits{
    .parameters = parameters,
    .typed_as = type_flt64,
    .asks_each_time = true,
    .caption = "[{msb}:{lsb}]",
    .everyday = {"bits", "bit field", "extract bits", "bit slice", "unpack bits"},
    .text = {.converts_in_c = true, .notes = notes},
};

}  // namespace

extern const block_entry_t unpack_entry{create_block<UnpackBlock>, table, traits};

}  // namespace tessel
