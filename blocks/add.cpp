// add: sum of two or three signals.
//
//   y = u0 + u1
//   y = u0 + (u1 + u2)         folded from the right
//
// Inputs     0: u0   1: u1   2: u2 (optional)    any types; each sum in the common type of its own two operands
// Output     0: y                                highest type among the inputs; narrow integers wrap, bool is "not 0"
// State      none
#include "blocks/arithmetic.h"
#include "blocks/occasions.h"
#include "framework/entry.h"

namespace tessel {
namespace {

// ---- what it computes
struct Sum {
    static auto of(auto a, auto b) noexcept { return sum(a, b); }
};

// ---- run time
template <class A, class B>
using Add2 = Fold2<Sum, A, B>;
template <class A, class B, class C>
using Add3 = Fold3<Sum, A, B, C>;

constexpr auto pairs = kernel_table<Add2, value_types, value_types>();
constexpr auto triples = kernel_table<Add3, value_types, value_types, value_types>();
constexpr auto table = join_tables(pairs, triples);
static_assert(pairs.size() == 121 && triples.size() == 1331);

// ---- design level: type rule, runnable, generated text
class Add final : public Arithmetic {
public:
    using Arithmetic::Arithmetic;
    std::uint32_t class_hash() const noexcept override { return class_hash_of("add"); }
    const char* class_name() const noexcept override { return "add"; }
    form_t form() override { return {row_in(table)}; }
    result_t code_step_c(sys::File& file, const char* prefix) override { return write_terms_c(file, prefix, " +"); }
    result_t code_step_py(sys::File& file, const char* prefix) override { return write_terms_py(file, prefix, " +"); }
};

// ---- what others know of it
constexpr text_note_t notes[] = {
    {dialect_t::c, differs, &of_bool, number_not_truth},
    {dialect_t::both, differs, &of_three_floats, from_the_left},
};

constexpr block_traits_t traits{
    .input_count = as_given,
    .inputs = {{.name = "u0", .label = "+"}, {.name = "u1", .label = "+"}, {.name = "u2", .label = "+"}},
    .outline = outline_t::sum,
    .caption = "\xCE\xA3",
    .large_caption = true,
    .everyday = {"sum", "plus", "adder", "addition", "summing junction"},
    .text = {.notes = notes},
};

}  // namespace

extern const block_entry_t add_entry{create_block<Add>, table, traits};

}  // namespace tessel
