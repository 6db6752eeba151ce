// random: whole steps above a lowest value, from a generator of 64 bits.
//
//   y = s mod range + min      range = whole part of max - min + 1; a range of 0 is a division by zero
//
// Generated C and Python divide by max - min.
//
// Inputs     none
// Output     0: y                flt64
// Parameters max
//            min
//            seed                0 stays 0
// State      s                   s ^= s << 13, s ^= s >> 17, s ^= s << 5; then y; the seed at creation, kept from
//                                run to run
#include "blocks/parameters.h"
#include "blocks/table.h"
#include "blocks/text.h"
#include "framework/entry.h"

namespace tessel {
namespace {

// ---- what it computes
struct random_t {
    double max;
    double min;
    double seed;
};

template <class T>
struct RandomSteps {
    using word = with<T, std::uint64_t>;
    using in = inputs<>;
    using out = outputs<T>;

    word range = std::uint64_t{1};
    T offset = 0.0;
    word state = std::uint64_t{0};

    void configure(const void* record) noexcept {
        const auto& random = *static_cast<const random_t*>(record);
        range = static_cast<std::uint64_t>(truncate64(random.max - random.min + 1.0));
        offset = random.min;
        state = to_uint64(random.seed);
    }
    T eval(T, T) noexcept {
        const word a = named("a", state ^ (state << 13));
        const word b = named("b", a ^ (a >> 17));
        state = b ^ (b << 5);
        return flt64(state % range) + offset;
    }
    void members(auto& visit) {
        visit.parameter("range", range);
        visit.parameter("offset", offset);
        visit.state("state", state);
    }
};

// ---- run time
constexpr auto table = kernel_table<RandomSteps, type_list<double>>();
static_assert(table.size() == 1);

// ---- parameters
constexpr parameter_traits_t parameters[] = {
    {
        .key = "max",
        .meaning = "highest value",
        .value = "1.0",
        .scope = "_max",
        .limit = limit_t::upper_end,
        .pasted = true,
        .six_digits = true,
        .everyday = {"maximum", "upper", "high"},
    },
    {
        .key = "min",
        .meaning = "lowest value",
        .value = "0.0",
        .scope = "_min",
        .limit = limit_t::lower_end,
        .pasted = true,
        .six_digits = true,
        .everyday = {"minimum", "lower", "low"},
    },
    {
        .key = "seed",
        .meaning = "start of the generator",
        .value = "12345",
        .scope = "_seed",
        .limit = limit_t::not_0,
        .pasted = true,
        .six_digits = true,
        .everyday = {"initial seed", "start"},
    },
};

// ---- design level: type rule, runnable, generated text
class Random final : public SourceBlock {
public:
    using SourceBlock::SourceBlock;
    std::uint32_t class_hash() const noexcept override { return class_hash_of("random"); }
    const char* class_name() const noexcept override { return "random"; }

    result_t calculate_type() override {
        const result_t result = read_alike({{parameters[0], &max_}, {parameters[1], &min_}, {parameters[2], &seed_}});
        return result != result_ok ? result : type_output(type_flt64);
    }

    form_t form() override { return {row_in(table), random_t{double(max_), double(min_), double(seed_)}}; }

    result_t code_struct_c(sys::File& file) override {
        const std::string type = c_type(outputs_[0]);
        write_struct_c(file, struct_name(),
                       {type + " port0", type + " value_max", type + " value_min", "unsigned long int seed"});
        return result_ok;
    }

    result_t code_struct_py(sys::File& file) override {
        write_class_py(file, "random_t", {"port0 = 0", "value_max = 0", "value_min = 0", "seed = 0"});
        return result_ok;
    }

    result_t code_init_c(sys::File& file, const char* prefix) override {
        const std::string state = own_state(prefix);
        write_indented(1, file, "{}.value_max = {:g};\n", state, double(max_));
        write_indented(1, file, "{}.value_min = {:g};\n", state, double(min_));
        write_indented(1, file, "{}.seed = {:g};\n", state, double(seed_));
        return result_ok;
    }

    result_t code_init_py(sys::File& file, const char* prefix) override {
        const std::string state = own_state(prefix);
        write_indented(2, file, "{}.value_max = {}\n", state, param_text("max"));
        write_indented(2, file, "{}.value_min = {}\n", state, param_text("min"));
        write_indented(2, file, "{}.seed = {}\n", state, param_text("seed"));
        return result_ok;
    }

    result_t code_step_c(sys::File& file, const char* prefix) override {
        const std::string state = own_state(prefix);
        write_step_c(file, 0, "{}.seed ^= {}.seed << 13;\n", state, state);
        write_step_c(file, 0, "{}.seed ^= {}.seed >> 17;\n", state, state);
        write_step_c(file, 0, "{}.seed ^= {}.seed << 5;\n", state, state);
        write_step_c(file, 0, "{} = {}.seed % ((unsigned long int)({}.value_max - {}.value_min)) + {}.value_min;\n",
                     own_port(prefix), state, state, state, state);
        return result_ok;
    }

    result_t code_step_py(sys::File& file, const char* prefix) override {
        const std::string state = own_state(prefix);
        write_step_py(file, 0, "{}.seed ^= {}.seed << 13\n", state, state);
        write_step_py(file, 0, "{}.seed ^= {}.seed >> 17\n", state, state);
        write_step_py(file, 0, "{}.seed ^= {}.seed << 5\n", state, state);
        write_step_py(file, 0, "{} = {}.seed % ({}.value_max - {}.value_min) + {}.value_min\n", own_port(prefix), state,
                      state, state, state);
        return result_ok;
    }

private:
    var_t max_;
    var_t min_;
    var_t seed_;
};

// ---- what others know of it
constexpr text_note_t notes[] = {
    {dialect_t::c, differs, nullptr,
     "it divides by max - min, a run by max - min + 1; where that is below 1 the program ends"},
    {dialect_t::python, differs, nullptr,
     "it divides by max - min, a run by max - min + 1, and its state grows without bound"},
};

constexpr block_traits_t traits{
    .family = family_t::source,
    .input_count = 0,
    .inputs = {},
    .parameters = parameters,
    .first_decides = true,
    .typed_as = type_flt64,
    .steps_first = true,
    .fault = fault_t::empty_range,
    .icon = icon_t::noise,
    .everyday = {"noise", "random number", "rand", "uniform"},
    .text = {.notes = notes},
};

}  // namespace

extern const block_entry_t random_entry{create_block<Random>, table, traits};

}  // namespace tessel
