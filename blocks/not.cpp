// not: logical negation of a signal.
//
//   y = 1   where u = 0
//       0   elsewhere          (not-a-number is not 0)
//
// Inputs     0: u                                bool as created; runs with any type
// Output     0: y                                type of u
// State      none
#include "blocks/table.h"
#include "framework/entry.h"

namespace tessel {
namespace {

// ---- what it computes, at run time
template <class T>
struct Negation {
    using in = inputs<T>;
    using out = outputs<T>;
    static T eval(T u) noexcept { return select(u == like(u, 0), like(u, 1), like(u, 0)); }
};

constexpr auto table = kernel_table<Negation, value_types>();
static_assert(table.size() == 11);

// ---- design level: runnable, generated text
class Not final : public MetaBlock {
public:
    using MetaBlock::MetaBlock;
    std::uint32_t class_hash() const noexcept override { return class_hash_of("not"); }
    const char* class_name() const noexcept override { return "not"; }
    form_t form() override { return {row_in(table)}; }
    result_t code_step_c(sys::File& file, const char* prefix) override {
        write_step_c(file, 0, "{} = !{};\n", own_port(prefix), in_value(prefix, 0));
        return result_ok;
    }
    result_t code_step_py(sys::File& file, const char* prefix) override {
        write_step_py(file, 0, "{} = not {}\n", own_port(prefix), in_value(prefix, 0));
        return result_ok;
    }
};

// ---- what others know of it
constexpr block_traits_t traits{
    .family = family_t::logic,
    .input_type = type_bool,
    .output_type = type_bool,
    .caption = "NOT",
    .everyday = {"negation", "invert", "inverter", "logical not"},
    .text = {.tests_truth = true},
};

}  // namespace

extern const block_entry_t not_entry{create_block<Not>, table, traits};

}  // namespace tessel
