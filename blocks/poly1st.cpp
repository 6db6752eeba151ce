// poly1st: polynomial of first order.
//
//   y = coeffA * u + coeffB
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
struct Line : Coefficients<T> {
    T eval(with<T, double>, T, T u) const noexcept { return like(u, this->a * flt64(u) + this->b); }
};

// ---- run time
constexpr auto table = kernel_table<Line, value_types>();
static_assert(table.size() == 11);

// ---- parameters
constexpr parameter_traits_t parameters[] = {
    {
        .key = "coeffA",
        .meaning = "factor",
        .value = "1.0",
        .scope = "_coeff_a",
        .six_digits = true,
        .everyday = {"gain", "slope", "factor", "scale", "k", "a"},
    },
    {
        .key = "coeffB",
        .meaning = "offset",
        .value = "1.0",
        .scope = "_coeff_b",
        .six_digits = true,
        .everyday = {"offset", "bias", "intercept", "b"},
    },
};

// ---- design level: runnable, generated text
class Poly1st final : public CoefficientBlock {
public:
    using CoefficientBlock::CoefficientBlock;
    std::uint32_t class_hash() const noexcept override { return class_hash_of("poly1st"); }
    const char* class_name() const noexcept override { return "poly1st"; }
    result_t calculate_type() override { return type_by(parameters); }

    form_t form() override { return {row_in(table), coefficients()}; }

    result_t code_step_c(sys::File& file, const char* prefix) override {
        const auto [a, b] = coefficients();
        write_step_c(file, 0, "{:s} = {:g} * {:s} + {:g};\n", own_port(prefix), a, in_value(prefix, 0), b);
        return result_ok;
    }

    result_t code_step_py(sys::File& file, const char* prefix) override {
        const auto [a, b] = coefficients();
        write_step_py(file, 0, "{:s} = {:g} * {:s} + {:g}\n", own_port(prefix), a, in_value(prefix, 0), b);
        return result_ok;
    }
};

// ---- what others know of it
constexpr block_traits_t traits{
    .parameters = parameters,
    .typed_as = type_flt64,
    .asks_each_time = true,
    .caption = "{coeffA}\xC2\xB7u + {coeffB}",
    .everyday = {"gain", "linear", "affine", "offset", "scale", "first order polynomial"},
};

}  // namespace

extern const block_entry_t poly1st_entry{create_block<Poly1st>, table, traits};

}  // namespace tessel
