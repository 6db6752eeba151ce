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
#include "blocks/stateful.h"
#include "core/convert.h"
#include "framework/entries.h"

namespace tessel {
namespace {

// ---- what it computes
template <class T>
struct Line {
    using in = inputs<T>;
    using out = outputs<T>;

    coefficients_t coefficients;

    void configure(const void* record) noexcept { coefficients = *static_cast<const coefficients_t*>(record); }
    T eval(double, T, T u) const noexcept { return convert<T>(coefficients.a * convert<double>(u) + coefficients.b); }
};

// ---- run time
constexpr auto table = kernel_table<Line, value_types>();
static_assert(table.size() == 11);

// ---- design level: runnable, generated text
class Poly1st final : public CoefficientBlock {
public:
    using CoefficientBlock::CoefficientBlock;
    std::uint32_t class_hash() const noexcept override { return class_hash_of("poly1st"); }
    const char* class_name() const noexcept override { return "poly1st"; }

    std::unique_ptr<ExecBlock> create_exec() override {
        const coefficients_t record = coefficients();
        return create_configured(table, *this, &record);
    }

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

}  // namespace

const block_entry_t poly1st_entry{create_block<Poly1st>, table};

}  // namespace tessel
