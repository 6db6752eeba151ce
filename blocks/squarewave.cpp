// squarewave: alternates between two values.
//
//   y = valueOff for timeOff, then valueOn for timeOn, and so on
//
// A change comes at the first step at or past its time, and the next interval counts from that step.
//
// Inputs     none
// Output     0: y                flt64
// Parameters timeOff [sec]       not below 0 when written as an expression
//            timeOn [sec]        likewise
//            valueOff
//            valueOn
// State      on, last change     where t >= last change + time of the state: state turns, last change = t;
//                                y = value of the state; off, the current time and valueOff at the head of a run
#include "blocks/parameters.h"
#include "blocks/table.h"
#include "blocks/text.h"
#include "framework/entry.h"

namespace tessel {
namespace {

// ---- what it computes
struct square_t {
    double time_off_s;
    double time_on_s;
    double value_off;
    double value_on;
};

template <class T>
struct SquareWave {
    using flag = with<T, bool>;
    using in = inputs<>;
    using out = outputs<T>;

    T time_off = 0.0, time_on = 0.0;
    T value_off = 0.0, value_on = 0.0;
    T last_change = 0.0;
    flag on = false;

    void configure(const void* record) noexcept {
        const auto& square = *static_cast<const square_t*>(record);
        time_off = square.time_off_s;
        time_on = square.time_on_s;
        value_off = square.value_off;
        value_on = square.value_on;
    }
    void start(T t, T& y) noexcept {
        last_change = t;
        on = false;
        y = value_off;
    }
    T eval(T t, T y) noexcept {
        const flag turns = named("turns", t >= last_change + select(on, time_on, time_off));
        last_change = select(turns, t, last_change);
        on = on != turns;
        return select(turns, select(on, value_on, value_off), y);
    }
    void members(auto& visit) {
        visit.parameter("time_off", time_off);
        visit.parameter("time_on", time_on);
        visit.parameter("value_off", value_off);
        visit.parameter("value_on", value_on);
        visit.state("last_change", last_change);
        visit.state("on", on);
    }
};

// ---- run time
constexpr auto table = kernel_table<SquareWave, type_list<double>>();
static_assert(table.size() == 1);

// ---- parameters
constexpr parameter_traits_t parameters[] = {
    {
        .key = "timeOff",
        .meaning = "how long the value is valueOff",
        .value = "1.0",
        .scope = "_time_off",
        .unit = seconds,
        .limit = limit_t::not_below_0,
        .pasted = true,
        .six_digits = true,
        .everyday = {"off time", "low time"},
    },
    {
        .key = "timeOn",
        .meaning = "how long the value is valueOn",
        .value = "2.0",
        .scope = "_time_on",
        .unit = seconds,
        .limit = limit_t::not_below_0,
        .pasted = true,
        .six_digits = true,
        .everyday = {"on time", "high time", "width"},
    },
    {
        .key = "valueOff",
        .meaning = "the value at first",
        .value = "-1.0",
        .scope = "_value_off",
        .pasted = true,
        .six_digits = true,
        .everyday = {"off value", "low"},
    },
    {
        .key = "valueOn",
        .meaning = "the other value",
        .value = "1.0",
        .scope = "_value_on",
        .pasted = true,
        .six_digits = true,
        .everyday = {"on value", "high", "amplitude"},
    },
};

// ---- design level: type rule, runnable, generated text
class Squarewave final : public SourceBlock {
public:
    using SourceBlock::SourceBlock;
    std::uint32_t class_hash() const noexcept override { return class_hash_of("squarewave"); }
    const char* class_name() const noexcept override { return "squarewave"; }

    result_t calculate_type() override {
        const result_t result = read_alike({{parameters[0], &time_off_},
                                            {parameters[1], &time_on_},
                                            {parameters[2], &value_off_},
                                            {parameters[3], &value_on_}});
        if (result != result_ok) return result;
        if (is_text("timeOff") && (double(time_off_) < 0.0 || double(time_on_) < 0.0))
            return fail(result_bad_parameter);
        return type_output(type_flt64);
    }

    form_t form() override {
        return {row_in(table), square_t{double(time_off_), double(time_on_), double(value_off_), double(value_on_)}};
    }

    result_t code_struct_c(sys::File& file) override {
        const std::string type = c_type(outputs_[0]);
        write_struct_c(file, struct_name(),
                       {type + " port0", "double time_on", "double time_off", type + " value_on", type + " value_off",
                        "double state_change", "bool state_value"});
        return result_ok;
    }

    result_t code_struct_py(sys::File& file) override {
        write_class_py(file, "squarewave_t",
                       {"port0 = 0", "time_on = 0", "time_off = 0", "value_on = 0", "value_off = 0", "state_change = 0",
                        "state_value = 0"});
        return result_ok;
    }

    result_t code_init_c(sys::File& file, const char* prefix) override {
        const std::string state = own_state(prefix);
        write_indented(1, file, "{}.time_on = {:g};\n", state, double(time_on_));
        write_indented(1, file, "{}.time_off = {:g};\n", state, double(time_off_));
        write_indented(1, file, "{}.value_on = {:g};\n", state, double(value_on_));
        write_indented(1, file, "{}.value_off = {:g};\n", state, double(value_off_));
        return result_ok;
    }

    result_t code_init_py(sys::File& file, const char* prefix) override {
        const std::string state = own_state(prefix);
        write_indented(2, file, "{}.time_on = {}\n", state, param_text("timeOn"));
        write_indented(2, file, "{}.time_off = {}\n", state, param_text("timeOff"));
        write_indented(2, file, "{}.value_on = {}\n", state, param_text("valueOn"));
        write_indented(2, file, "{}.value_off = {}\n", state, param_text("valueOff"));
        return result_ok;
    }

    result_t code_step_c(sys::File& file, const char* prefix) override {
        write_step_c(file, 0, "if ({}.state_value)\n", own_state(prefix));
        write_branch_c(file, prefix, "time_on", '0', "value_off");
        write_step_c(file, 0, "else\n");
        write_branch_c(file, prefix, "time_off", '1', "value_on");
        return result_ok;
    }

    result_t code_step_py(sys::File& file, const char* prefix) override {
        write_step_py(file, 0, "if {}.state_value:\n", own_state(prefix));
        write_branch_py(file, prefix, "time_on", '0', "value_off");
        write_step_py(file, 0, "else:\n");
        write_branch_py(file, prefix, "time_off", '1', "value_on");
        return result_ok;
    }

private:
    /// One state's text: when `time` has passed, the next state and its value.
    void write_branch_c(sys::File& file, const char* prefix, const char* time, char next, const char* value) const {
        const std::string state = own_state(prefix);
        write_step_c(file, 0, "{{\n");
        write_step_c(file, 1, "if ({} >= {}.state_change + {}.{})\n", now_value_c, state, state, time);
        write_step_c(file, 1, "{{\n");
        write_step_c(file, 2, "{}.state_value = {};\n", state, next);
        write_step_c(file, 2, "{}.state_change = {};\n", state, now_value_c);
        write_step_c(file, 2, "{} = {}.{};\n", own_port(prefix), state, value);
        write_step_c(file, 1, "}}\n");
        write_step_c(file, 0, "}}\n");
    }
    void write_branch_py(sys::File& file, const char* prefix, const char* time, char next, const char* value) const {
        const std::string state = own_state(prefix);
        write_step_py(file, 1, "if {} >= {}.state_change + {}.{}:\n", now_value_py, state, state, time);
        write_step_py(file, 2, "{}.state_value = {}\n", state, next);
        write_step_py(file, 2, "{}.state_change = {}\n", state, now_value_py);
        write_step_py(file, 2, "{} = {}.{}\n", own_port(prefix), state, value);
    }

    var_t time_off_;
    var_t time_on_;
    var_t value_off_;
    var_t value_on_;
};

// ---- what others know of it
constexpr text_note_t notes[] = {
    {dialect_t::c, differs, nullptr, "init assigns neither its state nor its output"},
    {dialect_t::python, differs, nullptr,
     "the output is 0 until its first change, and the first interval is counted from time 0"},
};

constexpr block_traits_t traits{
    .family = family_t::source,
    .input_count = 0,
    .inputs = {},
    .parameters = parameters,
    .first_decides = true,
    .typed_as = type_flt64,
    .steps_first = true,
    .icon = icon_t::square,
    .everyday = {"pulse", "pulse generator", "square wave", "rectangle", "pwm"},
    .text = {.notes = notes},
};

}  // namespace

extern const block_entry_t squarewave_entry{create_block<Squarewave>, table, traits};

}  // namespace tessel
