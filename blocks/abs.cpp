// abs: absolute value of a signal.
//
//   y = |u|
//
// Inputs     0: u                                any type; integers and bool are computed in double and cut back,
//                                                integers beyond 2^53 are rounded on the way
// Output     0: y                                type of u
// State      none
#include "blocks/unary.h"
#include "framework/entry.h"

namespace tessel {
namespace {

// ---- what it computes, at run time
template <class T>
struct Magnitude : Unary<T> {
    static T eval(T u) noexcept { return like(u, absolute(real(u))); }
};

constexpr auto table = kernel_table<Magnitude, value_types>();
static_assert(table.size() == 11);

// ---- design level: runnable, generated text
class Abs final : public MetaBlock {
public:
    using MetaBlock::MetaBlock;
    std::uint32_t class_hash() const noexcept override { return class_hash_of("abs"); }
    const char* class_name() const noexcept override { return "abs"; }
    form_t form() override { return {row_in(table)}; }
    result_t code_step_c(sys::File& file, const char* prefix) override {
        write_step_c(file, 0, "{:s} = std::abs({:s});\n", own_port(prefix), in_value(prefix, 0));
        return result_ok;
    }
    result_t code_step_py(sys::File& file, const char* prefix) override {
        write_step_py(file, 0, "{:s} = abs({:s})\n", own_port(prefix), in_value(prefix, 0));
        return result_ok;
    }
};

// ---- what others know of it
constexpr text_note_t notes[] = {
    {dialect_t::c, not_compiled, nullptr, "its text calls std::abs, which C does not have"},
};

constexpr block_traits_t traits{
    .caption = "|u|",
    .everyday = {"absolute value", "magnitude", "fabs"},
    .text = {.notes = notes},
};

}  // namespace

extern const block_entry_t abs_entry{create_block<Abs>, table, traits};

}  // namespace tessel
