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
#include "blocks/stateful.h"
#include "blocks/text.h"
#include "framework/entries.h"

namespace tessel {
namespace {

// ---- what it computes
struct StepAt {
    using in = inputs<>;
    using out = outputs<double>;

    double before = 0.0;
    double after = 0.0;
    double time_s = 0.0;

    void configure(const void* record) noexcept { *this = *static_cast<const StepAt*>(record); }
    double eval(double t, double) const noexcept { return t > time_s ? after : before; }
};

// ---- run time
constexpr auto table = stateful_row<StepAt>();
static_assert(table.size() == 1);

// ---- design level: type rule, runnable, generated text
class Step final : public SourceBlock {
public:
    using SourceBlock::SourceBlock;
    std::uint32_t class_hash() const noexcept override { return class_hash_of("step"); }
    const char* class_name() const noexcept override { return "step"; }

    result_t calculate_type() override {
        const result_t result = read_alike({{"initialValue", "_initial", &value_init_},
                                            {"finalValue", "_final", &value_final_},
                                            {"stepTime", "_step", &step_time_}});
        return result != result_ok ? result : type_output(type_flt64);
    }

    std::unique_ptr<ExecBlock> create_exec() override {
        const StepAt record{double(value_init_), double(value_final_), double(step_time_)};
        return create_configured(table, *this, &record);
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

}  // namespace

const block_entry_t step_entry{create_block<Step>, table};

}  // namespace tessel
