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
#include "blocks/parameters.h"
#include "blocks/stateful.h"
#include "blocks/text.h"
#include "core/convert.h"
#include "framework/entries.h"

namespace tessel {
namespace {

// ---- what it computes
struct field_t {
    double coeff_a = 0.0;
    double coeff_b = 0.0;
    std::int32_t lsb = 0;
    std::int32_t msb = 0;

    std::uint32_t mask() const noexcept { return (1u << ((static_cast<std::uint32_t>(msb) + 1u) % 32u)) - 1u; }
    double of(std::int32_t v) const noexcept {
        const auto masked = static_cast<std::int32_t>(static_cast<std::uint32_t>(v) & mask());
        const std::int32_t bits = masked >> (static_cast<std::uint32_t>(lsb) % 32u);
        return static_cast<double>(bits) * coeff_a + coeff_b;
    }
};

template <class T>
struct Unpack {
    using in = inputs<T>;
    using out = outputs<T>;

    field_t field;

    void configure(const void* record) noexcept { field = *static_cast<const field_t*>(record); }
    T eval(double, T, T u) const noexcept { return convert<T>(field.of(convert<std::int32_t>(u))); }
};

// ---- run time
constexpr auto table = kernel_table<Unpack, value_types>();
static_assert(table.size() == 11);

// ---- design level: type rule, runnable, generated text
class UnpackBlock final : public ParameterBlock {
public:
    using ParameterBlock::ParameterBlock;
    std::uint32_t class_hash() const noexcept override { return class_hash_of("unpack"); }
    const char* class_name() const noexcept override { return "unpack"; }

    result_t calculate_type() override {
        const result_t result = read_each({{"coeffA", "_coeff_a", &coeff_a_},
                                           {"coeffB", "_coeff_b", &coeff_b_},
                                           {"lsb", "_lsb", &lsb_},
                                           {"msb", "_msb", &msb_}});
        if (result != result_ok) return result;
        outputs_[0].set_type_if_unset(type_flt64);
        return MetaBlock::calculate_type();
    }

    std::unique_ptr<ExecBlock> create_exec() override {
        const field_t record = field();
        return create_configured(table, *this, &record);
    }

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

}  // namespace

const block_entry_t unpack_entry{create_block<UnpackBlock>, table};

}  // namespace tessel
