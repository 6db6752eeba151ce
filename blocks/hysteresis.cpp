// hysteresis: a switch with two thresholds.
//
//   y = true      where u > valueOn
//       false     where u < valueOff, unless u > valueOn
//       as it was elsewhere
//
// Inputs     0: u           any type
// Output     0: y           bool
// Parameters valueOff       converted to the type of u
//            valueOn        likewise
// State      state          as above; y = state; false at creation, kept from run to run
#include "blocks/occasions.h"
#include "blocks/parameters.h"
#include "blocks/table.h"
#include "blocks/text.h"
#include "framework/entry.h"

namespace tessel {
namespace {

// ---- what it computes
struct thresholds_t {
    double off;
    double on;
};

template <class T>
struct Switch {
    using flag = with<T, bool>;
    using in = inputs<T>;
    using out = outputs<flag>;

    T off{0};
    T on{0};
    flag state = false;

    void configure(const void* record) noexcept {
        const auto& thresholds = *static_cast<const thresholds_t*>(record);
        off = like(off, thresholds.off);
        on = like(on, thresholds.on);
    }
    flag eval(with<T, double>, flag, T u) noexcept {
        state = select(u > on, true, u < off, false, state);
        return state;
    }
    void members(auto& visit) {
        visit.parameter("off", off);
        visit.parameter("on", on);
        visit.state("state", state);
    }
};

// ---- run time
constexpr auto table = kernel_table<Switch, value_types>();
static_assert(table.size() == 11);

// ---- parameters
constexpr parameter_traits_t parameters[] = {
    {
        .key = "valueOff",
        .meaning = "below this the output becomes false",
        .value = "0.0",
        .scope = "_off",
        .pasted = true,
        .six_digits = true,
        .everyday = {"off", "low", "lower", "off threshold"},
    },
    {
        .key = "valueOn",
        .meaning = "above this the output becomes true",
        .value = "1.0",
        .scope = "_on",
        .pasted = true,
        .six_digits = true,
        .everyday = {"on", "high", "upper", "on threshold"},
    },
};

// ---- design level: type rule, runnable, generated text
class Hysteresis final : public ParameterBlock {
public:
    using ParameterBlock::ParameterBlock;
    std::uint32_t class_hash() const noexcept override { return class_hash_of("hysteresis"); }
    const char* class_name() const noexcept override { return "hysteresis"; }

    result_t calculate_type() override {
        const result_t result = read_alike({{parameters[0], &value_off_}, {parameters[1], &value_on_}});
        return result != result_ok ? result : MetaBlock::calculate_type();
    }

    form_t form() override { return {row_in(table), thresholds_t{double(value_off_), double(value_on_)}}; }

    // The thresholds are of the input's type, so that type is part of the name.
    std::string struct_name() const override {
        const auto name_of = [](const port_t& port) { return port.has_type() ? port.type_name() : "(null)"; };
        return tessel::format("hysteresis_{}_{}_t", name_of(inputs_[0]), name_of(outputs_[0]));
    }

    result_t code_struct_c(sys::File& file) override {
        const std::string type = c_type(inputs_[0]);
        write_struct_c(file, struct_name(),
                       {std::string(c_type(outputs_[0])) + " port0", type + " on", type + " off", "int state"});
        return result_ok;
    }

    result_t code_struct_py(sys::File& file) override {
        write_class_py(file, "hysteresis_t", {"port0 = 0", "on = 0", "off = 0", "state = False"});
        return result_ok;
    }

    result_t code_init_c(sys::File& file, const char* prefix) override {
        const std::string state = own_state(prefix);
        write_indented(1, file, "{:s}.on = {:g};\n", state, double(value_on_));
        write_indented(1, file, "{:s}.off = {:g};\n", state, double(value_off_));
        write_indented(1, file, "{:s}.state = 0;\n", state);
        return result_ok;
    }

    result_t code_init_py(sys::File& file, const char* prefix) override {
        const std::string state = own_state(prefix);
        write_indented(2, file, "{:s}.on = {:s}\n", state, param_text("valueOn"));
        write_indented(2, file, "{:s}.off = {:s}\n", state, param_text("valueOff"));
        write_indented(2, file, "{:s}.state = False\n", state);
        return result_ok;
    }

    result_t code_step_c(sys::File& file, const char* prefix) override {
        const std::string state = own_state(prefix), u = in_value(prefix, 0);
        const char* type = c_type(inputs_[0]);
        write_step_c(file, 0, "if ((({:s}){:s}) > {:s}.on)\n", type, u, state);
        write_step_c(file, 0, "{{\n");
        write_step_c(file, 1, "{:s}.state = 1;\n", state);
        write_step_c(file, 0, "}}\n");
        write_step_c(file, 0, "else if ((({:s}){:s}) < {:s}.off)\n", type, u, state);
        write_step_c(file, 0, "{{\n");
        write_step_c(file, 1, "{:s}.state = 0;\n", state);
        write_step_c(file, 0, "}}\n");
        write_step_c(file, 0, "{:s} = {:s}.state;\n", own_port(prefix), state);
        return result_ok;
    }

    result_t code_step_py(sys::File& file, const char* prefix) override {
        const std::string state = own_state(prefix), u = in_value(prefix, 0);
        write_step_py(file, 0, "if {:s} > {:s}.on:\n", u, state);
        write_step_py(file, 1, "{:s}.state = True\n", state);
        write_step_py(file, 0, "elif {:s} < {:s}.off:\n", u, state);
        write_step_py(file, 1, "{:s}.state = False\n", state);
        write_step_py(file, 0, "{:s} = {:s}.state\n", own_port(prefix), state);
        return result_ok;
    }

private:
    var_t value_off_;
    var_t value_on_;
};

// ---- what others know of it
constexpr text_note_t notes[] = {
    {dialect_t::c, differs, &of_bool_input,
     "input and thresholds are cut to a byte; a run takes every value but 0 as true"},
};

constexpr block_traits_t traits{
    .family = family_t::state,
    .output_type = type_bool,
    .parameters = parameters,
    .first_decides = true,
    .asks_each_time = true,
    .icon = icon_t::thresholds,
    .everyday = {"relay", "schmitt trigger", "two point controller", "bang bang"},
    .text = {.converts_in_c = true, .notes = notes},
};

}  // namespace

extern const block_entry_t hysteresis_entry{create_block<Hysteresis>, table, traits};

}  // namespace tessel
