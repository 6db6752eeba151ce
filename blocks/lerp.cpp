// lerp: goes from one value to another.
//
//   y = coeffA + u * (coeffB - coeffA)
//
// Exact at the ends: coeffA at 0, coeffB at 1, and never past coeffB short of 1. Generated C and Python are the plain
// formula. Not-a-number gives not-a-number.
//
// Inputs     0: u         any type; computed in flt64
// Output     0: y         type of u to run; flt64 unless typed otherwise
// Parameters coeffA
//            coeffB
// State      none
#include "blocks/coefficients.h"
#include "framework/entry.h"

namespace tessel {
namespace {

// ---- what it computes
template <class T>
struct Between : Coefficients<T> {
    T eval(with<T, double>, T, T u) const noexcept { return like(u, between(this->a, this->b, flt64(u))); }
};

// ---- run time
constexpr auto table = kernel_table<Between, value_types>();
static_assert(table.size() == 11);

// ---- parameters
constexpr parameter_traits_t parameters[] = {
    {
        .key = "coeffA",
        .meaning = "output at 0",
        .value = "0.0",
        .scope = "_coeff_a",
        .six_digits = true,
        .everyday = {"from", "start", "a"},
    },
    {
        .key = "coeffB",
        .meaning = "output at 1",
        .value = "2.0",
        .scope = "_coeff_b",
        .six_digits = true,
        .everyday = {"to", "end", "b"},
    },
};

// ---- design level: runnable, generated text
class Lerp final : public CoefficientBlock {
public:
    using CoefficientBlock::CoefficientBlock;
    std::uint32_t class_hash() const noexcept override { return class_hash_of("lerp"); }
    const char* class_name() const noexcept override { return "lerp"; }
    result_t calculate_type() override { return type_by(parameters); }

    form_t form() override { return {row_in(table), coefficients()}; }

    result_t code_step_c(sys::File& file, const char* prefix) override {
        const auto [a, b] = coefficients();
        write_step_c(file, 0, "{:s} = {:g} + {:s} * ({:g} - {:g});\n", own_port(prefix), a, in_value(prefix, 0), b, a);
        return result_ok;
    }

    result_t code_step_py(sys::File& file, const char* prefix) override {
        const auto [a, b] = coefficients();
        write_step_py(file, 0, "{:s} = {:g} + {:s} * ({:g} - {:g})\n", own_port(prefix), a, in_value(prefix, 0), b, a);
        return result_ok;
    }
};

// ---- what others know of it
constexpr text_note_t notes[] = {
    {dialect_t::both, differs, nullptr, "it is rounded more often than in a run, and not exact at the ends"},
};

constexpr block_traits_t traits{
    .family = family_t::table,
    .parameters = parameters,
    .typed_as = type_flt64,
    .asks_each_time = true,
    .caption = "lerp {coeffA}\xE2\x80\xA6{coeffB}",
    .everyday = {"linear interpolation", "interpolate", "blend", "mix"},
    .text = {.notes = notes},
};

}  // namespace

extern const block_entry_t lerp_entry{create_block<Lerp>, table, traits};

}  // namespace tessel
