// debounce: passes a condition on when it has held for some time.
//
//   y = true     at the first step at which u has been counted true for rise
//       false    likewise false for fall
//
// A step tests the time counted so far and then adds its own. Generated C and Python let the falling edge pass at once.
//
// Inputs     0: u            any type; 0 is false, anything else true
// Output     0: y            bool
// Parameters fall [sec]      0 passes the falling edge at once
//            rise [sec]      likewise
// State      count, last     dt = t - last, last = t; the time that u has been true counts up from 0, the time that it
//                            has been false down; y = as above; count 0 and y false at creation, last the current
//                            time at the head of a run
#include "blocks/parameters.h"
#include "blocks/table.h"
#include "blocks/text.h"
#include "framework/entry.h"

namespace tessel {
namespace {

// ---- what it computes: one machine for each set of edges that are delayed
struct delays_t {
    double fall_s;  // below 0 for a delay
    double rise_s;
};

enum class edges { rise, fall, both };

template <class T, edges Delayed>
struct Delay {
    using flag = with<T, bool>;
    using seconds = with<T, double>;
    using in = inputs<T>;
    using out = outputs<flag>;

    seconds fall = 0.0, rise = 0.0;
    seconds count = 0.0, last = 0.0;

    void configure(const void* record) noexcept {
        fall = static_cast<const delays_t*>(record)->fall_s;
        rise = static_cast<const delays_t*>(record)->rise_s;
    }
    void start(seconds t, flag&) noexcept { last = t; }
    flag eval(seconds t, flag y, T u) noexcept {
        const seconds dt = named("dt", t - last);
        const flag on = named("on", truth(u));
        last = t;
        if constexpr (Delayed == edges::rise) {
            const flag done = named("done", count >= rise);
            count = select(!on, 0.0, done, count, count + dt);
            return on && (done || y);
        } else if constexpr (Delayed == edges::fall) {
            const flag done = named("done", fall >= count);
            count = select(on, 0.0, done, count, count - dt);
            return on || (!done && y);
        } else {
            const flag turned = named("turned", select(on, count<0.0, count> 0.0));
            const seconds held = named("held", select(turned, 0.0, count));
            const flag done = named("done", select(on, held >= rise, fall >= held));
            count = select(done, held, on, held + dt, held - dt);
            return select(done, on, y);
        }
    }
    void members(auto& visit) {
        visit.parameter("fall", fall);
        visit.parameter("rise", rise);
        visit.state("count", count);
        visit.state("last", last);
    }
};
template <class T>
using DelayRise = Delay<T, edges::rise>;
template <class T>
using DelayFall = Delay<T, edges::fall>;
template <class T>
using DelayBoth = Delay<T, edges::both>;

// ---- run time
constexpr auto rise_table = kernel_table<DelayRise, value_types>();
constexpr auto fall_table = kernel_table<DelayFall, value_types>();
constexpr auto both_table = kernel_table<DelayBoth, value_types>();
static_assert(rise_table.size() == 11 && fall_table.size() == 11 && both_table.size() == 11);

// ---- parameters
constexpr parameter_traits_t parameters[] = {
    {
        .key = "fall",
        .meaning = "time for which the input must be false before the output falls",
        .value = "1",
        .scope = "_fall",
        .unit = seconds,
        .pasted = true,
        .six_digits = true,
        .everyday = {"off delay", "fall time", "fall delay", "off"},
    },
    {
        .key = "rise",
        .meaning = "time for which the input must be true before the output rises",
        .value = "1",
        .scope = "_rise",
        .unit = seconds,
        .pasted = true,
        .six_digits = true,
        .everyday = {"on delay", "rise time", "rise delay", "on", "delay"},
    },
};

// ---- design level: type rule, runnable, generated text
class Debounce final : public ParameterBlock {
public:
    using ParameterBlock::ParameterBlock;
    std::uint32_t class_hash() const noexcept override { return class_hash_of("debounce"); }
    const char* class_name() const noexcept override { return "debounce"; }

    result_t calculate_type() override {
        const result_t result = read_alike({{parameters[0], &fall_}, {parameters[1], &rise_}});
        return result != result_ok ? result : MetaBlock::calculate_type();
    }

    form_t form() override {
        const double fall = double(fall_), rise = double(rise_);
        const signatures_t table = fall == 0.0 ? rise_table : rise != 0.0 ? both_table : fall_table;
        return {row_in(table), delays_t{-fall, rise}};
    }

    result_t code_struct_c(sys::File& file) override {
        write_struct_c(file, struct_name(),
                       {std::string(c_type(outputs_[0])) + " port0", "double fall", "double rise", "double count"});
        return result_ok;
    }

    result_t code_struct_py(sys::File& file) override {
        write_class_py(file, "debounce_t", {"port0 = 0", "fall = 0.0", "rise = 0.0", "count = 0.0"});
        return result_ok;
    }

    result_t code_init_c(sys::File& file, const char* prefix) override {
        const std::string state = own_state(prefix);
        write_indented(1, file, "{}.fall = {:g};\n", state, double(fall_));
        write_indented(1, file, "{}.rise = {:g};\n", state, double(rise_));
        write_indented(1, file, "{}.count = 0.0;\n", state);
        return result_ok;
    }

    result_t code_init_py(sys::File& file, const char* prefix) override {
        const std::string state = own_state(prefix);
        write_indented(2, file, "{}.fall = {}\n", state, param_text("fall"));
        write_indented(2, file, "{}.rise = {}\n", state, param_text("rise"));
        write_indented(2, file, "{}.count = 0.0\n", state);
        return result_ok;
    }

    // The lines between the two branches stand one unit deeper than their nesting: a fixed text, kept as it is.
    result_t code_step_c(sys::File& file, const char* prefix) override {
        write_step_c(file, 0, "if ({})\n", in_value(prefix, 0));
        write_step_c(file, 0, "{{\n");
        write_branch_c(file, prefix, edge_t{"< 0.0", ">=", "rise", '1', '+'});
        write_step_c(file, 1, "}}\n");
        write_step_c(file, 1, "else\n");
        write_step_c(file, 1, "{{\n");
        write_branch_c(file, prefix, edge_t{"> 0.0", "<=", "fall", '0', '-'});
        write_step_c(file, 0, "}}\n");
        return result_ok;
    }

    result_t code_step_py(sys::File& file, const char* prefix) override {
        write_step_py(file, 0, "if {}:\n", in_value(prefix, 0));
        write_branch_py(file, prefix, edge_t{"< 0.0", ">=", "rise", '1', '+'});
        write_step_py(file, 0, "else:\n");
        write_branch_py(file, prefix, edge_t{"> 0.0", "<=", "fall", '0', '-'});
        return result_ok;
    }

private:
    /// One edge in generated text: when the count starts over, when the delay has passed, the output then, and the
    /// direction of counting.
    struct edge_t {
        const char* restart;
        const char* reaches;
        const char* delay;
        char output;
        char direction;
    };

    void write_branch_c(sys::File& file, const char* prefix, const edge_t& edge) const {
        const std::string state = own_state(prefix);
        write_step_c(file, 1, "if ({}.count {})\n", state, edge.restart);
        write_step_c(file, 1, "{{\n");
        write_step_c(file, 2, "{}.count = 0.0;\n", state);
        write_step_c(file, 1, "}}\n");
        write_step_c(file, 1, "if ({}.count {} {}.{})\n", state, edge.reaches, state, edge.delay);
        write_step_c(file, 1, "{{\n");
        write_step_c(file, 2, "{} = {};\n", own_port(prefix), edge.output);
        write_step_c(file, 1, "}}\n");
        write_step_c(file, 1, "else\n");
        write_step_c(file, 1, "{{\n");
        write_step_c(file, 2, "{}.count {}= {};\n", state, edge.direction, step_value_c);
        write_step_c(file, 1, "}}\n");
    }

    void write_branch_py(sys::File& file, const char* prefix, const edge_t& edge) const {
        const std::string state = own_state(prefix);
        write_step_py(file, 1, "if {}.count {}:\n", state, edge.restart);
        write_step_py(file, 2, "{}.count = 0.0\n", state);
        write_step_py(file, 1, "if {}.count {} {}.{}:\n", state, edge.reaches, state, edge.delay);
        write_step_py(file, 2, "{} = {}\n", own_port(prefix), edge.output);
        write_step_py(file, 1, "else:\n");
        write_step_py(file, 2, "{}.count {}= {}\n", state, edge.direction, step_value_py);
    }

    var_t fall_;
    var_t rise_;
};

// ---- what others know of it
constexpr text_note_t notes[] = {
    {dialect_t::c, differs, nullptr, "the output falls without delay, and starts as whatever the memory holds"},
    {dialect_t::python, differs, nullptr, "the output falls without delay"},
};

constexpr block_traits_t traits{
    .family = family_t::state,
    .output_type = type_bool,
    .parameters = parameters,
    .first_decides = true,
    .asks_each_time = true,
    .icon = icon_t::delays,
    .everyday = {"on delay", "off delay", "timer", "delay timer", "switch filter"},
    .text = {.tests_truth = true, .notes = notes},
};

}  // namespace

extern const block_entry_t debounce_entry{create_block<Debounce>, rise_table, traits};

}  // namespace tessel
