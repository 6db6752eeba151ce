// delta: change of a signal since the last step.
//
//   y(t) = u(t) - u(t - ts)      in the type of u; integers wrap, bool is "differs"
//
// Inputs     0: u      any type
// Output     0: y      type of u
// State      last      y = u - last, then last = u; 0 at creation, kept from run to run
#include "blocks/occasions.h"
#include "blocks/table.h"
#include "blocks/text.h"
#include "framework/entry.h"

namespace tessel {
namespace {

// ---- what it computes
template <class T>
struct Delta {
    using in = inputs<T>;
    using out = outputs<T>;

    T last{0};

    T eval(with<T, double>, T, T u) noexcept {
        const T y = like(u, difference(u, last));
        last = u;
        return y;
    }
    void members(auto& visit) { visit.state("last", last); }
};

// ---- run time
constexpr auto table = kernel_table<Delta, value_types>();
static_assert(table.size() == 11);

// ---- design level: runnable, generated text
class DeltaBlock final : public MetaBlock {
public:
    using MetaBlock::MetaBlock;
    std::uint32_t class_hash() const noexcept override { return class_hash_of("delta"); }
    const char* class_name() const noexcept override { return "delta"; }
    form_t form() override { return {row_in(table)}; }

    result_t code_struct_c(sys::File& file) override {
        const std::string type = c_type(outputs_[0]);
        write_struct_c(file, struct_name(), {type + " port0", type + " last"});
        return result_ok;
    }

    // The class goes by the name of another block, and no empty line follows: a fixed text, kept as it is.
    result_t code_struct_py(sys::File& file) override {
        file.print("class debounce_t:\n");
        write_indented(1, file, "def __init__(self):\n");
        write_indented(2, file, "self.port0 = 0\n");
        write_indented(2, file, "self.last = 0.0\n");
        return result_ok;
    }

    result_t code_init_c(sys::File& file, const char* prefix) override {
        write_indented(1, file, "{:s}.last = 0;\n", own_state(prefix));
        return result_ok;
    }

    result_t code_init_py(sys::File& file, const char* prefix) override {
        write_indented(2, file, "{:s}.last = 0\n", own_state(prefix));
        return result_ok;
    }

    result_t code_step_c(sys::File& file, const char* prefix) override {
        write_step_c(file, 0, "{:s} = {:s} - {:s}.last;\n", own_port(prefix), in_value(prefix, 0), own_state(prefix));
        write_step_c(file, 0, "{:s}.last = {:s};\n", own_state(prefix), in_value(prefix, 0));
        return result_ok;
    }

    result_t code_step_py(sys::File& file, const char* prefix) override {
        write_step_py(file, 0, "{:s} = {:s} - {:s}.last\n", own_port(prefix), in_value(prefix, 0), own_state(prefix));
        write_step_py(file, 0, "{:s}.last = {:s}\n", own_state(prefix), in_value(prefix, 0));
        return result_ok;
    }
};

// ---- what others know of it
constexpr text_note_t notes[] = {
    {dialect_t::c, differs, &of_bool, number_not_truth},
    {dialect_t::python, not_run, nullptr, "its class is defined as debounce_t and made as delta_t"},
};

constexpr block_traits_t traits{
    .family = family_t::state,
    .caption = "\xCE\x94",
    .large_caption = true,
    .everyday = {"difference", "backward difference", "diff", "change", "derivative"},
    .text = {.notes = notes},
};

}  // namespace

extern const block_entry_t delta_entry{create_block<DeltaBlock>, table, traits};

}  // namespace tessel
