// step: one value up to a time, another after it.
//
//   y = finalValue      where t > stepTime
//       initialValue    elsewhere
//
// Generated C and Python have the two values the other way round.
//
// Inputs     none
// Output     0: y                flt64
// Parameters initialValue
//            finalValue
//            stepTime [sec]
// State      none
#include "blocks/parameters.h"
#include "blocks/table.h"
#include "blocks/text.h"
#include "framework/entry.h"

namespace tessel {
namespace {

// ---- what it computes
struct step_t {
    double before;
    double after;
    double time_s;
};

template <class T>
struct StepAt {
    using in = inputs<>;
    using out = outputs<T>;

    T before = 0.0, after = 0.0, time = 0.0;

    void configure(const void* record) noexcept {
        const auto& step = *static_cast<const step_t*>(record);
        before = step.before;
        after = step.after;
        time = step.time_s;
    }
    T eval(T t, T) const noexcept { return select(t > time, after, before); }
    void members(auto& visit) {
        visit.parameter("before", before);
        visit.parameter("after", after);
        visit.parameter("time", time);
    }
};

// ---- run time
constexpr auto table = kernel_table<StepAt, type_list<double>>();
static_assert(table.size() == 1);

// ---- parameters
constexpr parameter_traits_t parameters[] = {
    {
        .key = "initialValue",
        .meaning = "value up to the step time",
        .value = "0.0",
        .scope = "_initial",
        .pasted = true,
        .six_digits = true,
        .everyday = {"initial", "before", "from"},
    },
    {
        .key = "finalValue",
        .meaning = "value after it",
        .value = "1.0",
        .scope = "_final",
        .pasted = true,
        .six_digits = true,
        .everyday = {"final", "after", "to", "amplitude"},
    },
    {
        .key = "stepTime",
        .meaning = "the time after which the value changes",
        .value = "2.0",
        .scope = "_step",
        .unit = seconds,
        .pasted = true,
        .six_digits = true,
        .everyday = {"time", "at", "delay"},
    },
};

// ---- design level: type rule, runnable, generated text
class Step final : public SourceBlock {
public:
    using SourceBlock::SourceBlock;
    std::uint32_t class_hash() const noexcept override { return class_hash_of("step"); }
    const char* class_name() const noexcept override { return "step"; }

    result_t calculate_type() override {
        const result_t result =
            read_alike({{parameters[0], &value_init_}, {parameters[1], &value_final_}, {parameters[2], &step_time_}});
        return result != result_ok ? result : type_output(type_flt64);
    }

    form_t form() override {
        return {row_in(table), step_t{double(value_init_), double(value_final_), double(step_time_)}};
    }

    result_t code_struct_c(sys::File& file) override {
        const std::string type = c_type(outputs_[0]);
        write_struct_c(file, struct_name(),
                       {type + " port0", "double step_time", type + " value_init", type + " value_final"});
        return result_ok;
    }

    result_t code_struct_py(sys::File& file) override {
        write_class_py(file, "step_t", {"port0 = 0", "step_time = 0", "value_init = 0", "value_final = 0"});
        return result_ok;
    }

    result_t code_init_c(sys::File& file, const char* prefix) override {
        const std::string state = own_state(prefix);
        write_indented(1, file, "{}.value_init = {:g};\n", state, double(value_init_));
        write_indented(1, file, "{}.value_final = {:g};\n", state, double(value_final_));
        write_indented(1, file, "{}.step_time = {:g};\n", state, double(step_time_));
        return result_ok;
    }

    result_t code_init_py(sys::File& file, const char* prefix) override {
        const std::string state = own_state(prefix);
        write_indented(2, file, "{}.value_init = {};\n", state, param_text("initialValue"));
        write_indented(2, file, "{}.value_final = {};\n", state, param_text("finalValue"));
        write_indented(2, file, "{}.step_time = {};\n", state, param_text("stepTime"));
        return result_ok;
    }

    result_t code_step_c(sys::File& file, const char* prefix) override {
        const std::string state = own_state(prefix);
        write_step_c(file, 0, "{} = ({} > {}.step_time) ? {}.value_init : {}.value_final;\n", own_port(prefix),
                     now_value_c, state, state, state);
        return result_ok;
    }

    result_t code_step_py(sys::File& file, const char* prefix) override {
        const std::string state = own_state(prefix);
        write_step_py(file, 0, "{} = {}.value_init if {} > {}.step_time else {}.value_final\n", own_port(prefix), state,
                      now_value_py, state, state);
        return result_ok;
    }

private:
    var_t value_init_;
    var_t value_final_;
    var_t step_time_;
};

// ---- what others know of it
constexpr text_note_t notes[] = {
    {dialect_t::both, differs, nullptr, "the final value stands before the step time and the initial value behind it"},
};

constexpr block_traits_t traits{
    .family = family_t::source,
    .input_count = 0,
    .inputs = {},
    .parameters = parameters,
    .first_decides = true,
    .typed_as = type_flt64,
    .steps_first = true,
    .icon = icon_t::step,
    .everyday = {"step input", "jump", "heaviside"},
    .text = {.notes = notes},
};

}  // namespace

extern const block_entry_t step_entry{create_block<Step>, table, traits};

}  // namespace tessel
