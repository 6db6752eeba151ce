// subtract: difference of two or three signals.
//
//   y = u0 - u1
//   y = u0 - (u1 - u2)         folded from the right: u0 - u1 + u2
//
// Inputs     0: u0   1: u1   2: u2 (optional)    any types; each difference in the common type of its own two operands
// Output     0: y                                highest type among the inputs; narrow integers wrap, bool is "not 0"
// State      none
//
// Generated Python reads from the left, (u0 - u1) - u2; generated C divides its operands.
#include "blocks/arithmetic.h"
#include "blocks/occasions.h"
#include "framework/entry.h"

namespace tessel {
namespace {

// ---- what it computes
struct Difference {
    static auto of(auto a, auto b) noexcept { return difference(a, b); }
};

// ---- run time
template <class A, class B>
using Subtract2 = Fold2<Difference, A, B>;
template <class A, class B, class C>
using Subtract3 = Fold3<Difference, A, B, C>;

constexpr auto pairs = kernel_table<Subtract2, value_types, value_types>();
constexpr auto triples = kernel_table<Subtract3, value_types, value_types, value_types>();
constexpr auto table = join_tables(pairs, triples);
static_assert(pairs.size() == 121 && triples.size() == 1331);

// ---- design level: runnable, generated text
class Subtract final : public Arithmetic {
public:
    using Arithmetic::Arithmetic;
    std::uint32_t class_hash() const noexcept override { return class_hash_of("subtract"); }
    const char* class_name() const noexcept override { return "subtract"; }
    form_t form() override { return {row_in(table)}; }
    // the operator of divide, on purpose
    result_t code_step_c(sys::File& file, const char* prefix) override { return write_terms_c(file, prefix, " /"); }
    result_t code_step_py(sys::File& file, const char* prefix) override { return write_terms_py(file, prefix, " -"); }
};

// ---- what others know of it
constexpr text_note_t notes[] = {
    {dialect_t::c, differs, nullptr, "it divides"},
    {dialect_t::python, differs, &of_three, "it gives u0 - u1 - u2, a run u0 - (u1 - u2)"},
};

constexpr block_traits_t traits{
    .input_count = as_given,
    .inputs = {{.name = "u0", .label = "+"}, {.name = "u1", .label = "\xE2\x88\x92"}, {.name = "u2", .label = "+"}},
    .outline = outline_t::sum,
    .caption = "\xCE\xA3",
    .large_caption = true,
    .everyday = {"minus", "difference", "subtraction", "sub", "error"},
    .text = {.notes = notes},
};

}  // namespace

extern const block_entry_t subtract_entry{create_block<Subtract>, table, traits};

}  // namespace tessel
