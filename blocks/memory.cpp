// memory: delays a signal by one step.
//
//   y(t) = u(t - ts)
//
// Inputs     0: u      any type
// Output     0: y      type of u
// State      the input cell: the block runs ahead of its source, so what it reads is the source's value of the last
//            step; y = u; 0 before the first step
#include "blocks/occasions.h"
#include "blocks/pass_through.h"
#include "framework/entry.h"

namespace tessel {
namespace {

// ---- run time
constexpr auto table = kernel_table<PassThrough, value_types>();
static_assert(table.size() == 11);

// ---- design level: zone, runnable, generated text
class Memory final : public MetaBlock {
public:
    using MetaBlock::MetaBlock;
    std::uint32_t class_hash() const noexcept override { return class_hash_of("memory"); }
    const char* class_name() const noexcept override { return "memory"; }

    // Ahead of its source whatever that is: this is the whole delay, and it lets the block close a loop.
    std::int8_t calculate_zone() noexcept override {
        zone_ = 0;
        return 0;
    }

    form_t form() override { return {row_in(table)}; }

    result_t code_init_c(sys::File& file, const char* prefix) override {
        write_indented(1, file, "{} = 0;\n", own_port(prefix));
        return result_ok;
    }

    result_t code_init_py(sys::File& file, const char* prefix) override {
        write_indented(2, file, "{} = 0\n", own_port(prefix));
        return result_ok;
    }

    result_t code_step_c(sys::File& file, const char* prefix) override {
        write_step_c(file, 0, "{} = {};\n", own_port(prefix), in_value(prefix, 0));
        return result_ok;
    }

    result_t code_step_py(sys::File& file, const char* prefix) override {
        write_step_py(file, 0, "{} = {}\n", own_port(prefix), in_value(prefix, 0));
        return result_ok;
    }
};

// ---- what others know of it
constexpr text_note_t notes[] = {
    {dialect_t::both, differs, &behind_zone_0,
     "its source may come before it, as classes do not decide the order in a zone; then there is no delay"},
};

constexpr block_traits_t traits{
    .family = family_t::state,
    .inputs = {{.name = "u", .direct = false}},
    .steps_first = true,
    .caption =
        "z^\xE2\x88\x92"
        "1",
    .everyday = {"delay", "unit delay", "previous value", "last value", "register", "1/z"},
    .text = {.notes = notes},
};

}  // namespace

extern const block_entry_t memory_entry{create_block<Memory>, table, traits};

}  // namespace tessel
