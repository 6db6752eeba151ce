// acc: adds up a signal.
//
//   y = y + u          in the type of u; integers wrap, bool is "not 0"
//   y = reset value    where reset holds
//
// Inputs     0: u   1: reset value   2: reset      any type; 1 has the type of u, 2 is bool
// Output     0: y                                  type of u
// State      the output                            y as above; 0 at the head of a run
#include "blocks/occasions.h"
#include "blocks/table.h"
#include "framework/entry.h"

namespace tessel {
namespace {

// ---- what it computes
template <class T>
struct Accumulate {
    using in = inputs<T, T, with<T, bool>>;
    using out = outputs<T>;
    void start(with<T, double>, T& y) const noexcept { y = like(y, 0); }
    T eval(with<T, double>, T y, T u, T reset_value, with<T, bool> reset) const noexcept {
        return select(reset, reset_value, like(u, sum(y, u)));
    }
};

// ---- run time
constexpr auto table = kernel_table<Accumulate, value_types>();
static_assert(table.size() == 11);

// ---- design level: type rule, runnable, generated text
class Acc final : public MetaBlock {
public:
    using MetaBlock::MetaBlock;
    std::uint32_t class_hash() const noexcept override { return class_hash_of("acc"); }
    const char* class_name() const noexcept override { return "acc"; }

    result_t calculate_type() override {
        const result_t result = MetaBlock::calculate_type();
        inputs_[1].set_type(inputs_[0].type());
        inputs_[2].set_type(type_bool);
        outputs_[0].set_type(inputs_[0].type());
        return result;
    }

    form_t form() override { return {row_in(table)}; }

    // at the indent of step code, unlike other classes
    result_t code_init_c(sys::File& file, const char* prefix) override {
        write_step_c(file, 0, "{:s} = 0;\n", own_port(prefix));
        return result_ok;
    }

    result_t code_init_py(sys::File& file, const char* prefix) override {
        write_step_py(file, 0, "{:s} = 0\n", own_port(prefix));
        return result_ok;
    }

    result_t code_step_c(sys::File& file, const char* prefix) override {
        write_step_c(file, 0, "{:s} = {:s} ? {:s} : {:s} + {:s};\n", own_port(prefix), in_value(prefix, 2),
                     in_value(prefix, 1), in_value(prefix, 0), own_port(prefix));
        return result_ok;
    }

    result_t code_step_py(sys::File& file, const char* prefix) override {
        write_step_py(file, 0, "{:s} = {:s} if {:s} else {:s} + {:s}\n", own_port(prefix), in_value(prefix, 1),
                      in_value(prefix, 2), in_value(prefix, 0), own_port(prefix));
        return result_ok;
    }
};

// ---- what others know of it
constexpr text_note_t notes[] = {
    {dialect_t::c, differs, &of_bool, number_not_truth},
    {dialect_t::python, not_parsed, &inside_subsystem, "its initialisation is indented by its tier"},
};

constexpr block_traits_t traits{
    .family = family_t::state,
    .input_count = 3,
    .inputs = {{.name = "u", .label = "u"},
               {.name = "reset value", .label = "set"},
               {.name = "reset", .label = "reset"}},
    .caption = "\xCE\xA3",
    .large_caption = true,
    .everyday = {"accumulator", "running sum", "cumulative sum", "integrator", "counter"},
    .text = {.tests_truth = true, .notes = notes},
};

}  // namespace

extern const block_entry_t acc_entry{create_block<Acc>, table, traits};

}  // namespace tessel
