// divide: quotient of two signals.
//
//   y = u0 / u1                integers truncate toward zero
//   y = 0                      where u1 = 0, integers only: floats give an infinity or not-a-number
//
// Inputs     0: u0   1: u1                       any types; computed in their common type
// Output     0: y                                higher type of the two; narrow integers wrap, bool is "not 0"
// State      none
//
// The lowest int32 or int64 over -1 is the processor's divide fault and ends the process.
#include "blocks/arithmetic.h"
#include "blocks/occasions.h"
#include "framework/entry.h"

namespace tessel {
namespace {

// ---- what it computes, at run time
struct Quotient {
    static auto of(auto a, auto b) noexcept { return quotient(a, b); }
};
template <class A, class B>
using Divide2 = Fold2<Quotient, A, B>;

constexpr auto table = kernel_table<Divide2, value_types, value_types>();
static_assert(table.size() == 121);

// ---- design level: runnable, generated text
class Divide final : public Arithmetic {
public:
    using Arithmetic::Arithmetic;
    std::uint32_t class_hash() const noexcept override { return class_hash_of("divide"); }
    const char* class_name() const noexcept override { return "divide"; }
    form_t form() override { return {row_in(table)}; }
    result_t code_step_c(sys::File& file, const char* prefix) override { return write_terms_c(file, prefix, " /"); }
    result_t code_step_py(sys::File& file, const char* prefix) override { return write_terms_py(file, prefix, " /"); }
};

// ---- what others know of it
constexpr text_note_t notes[] = {
    {dialect_t::c, differs, &of_integers, zero_faults},
    {dialect_t::c, differs, &of_bool, number_not_truth},
    {dialect_t::python, differs, &of_integers, "the quotient keeps its fraction; a run truncates it"},
    {dialect_t::python, differs, nullptr, zero_raises},
};

constexpr block_traits_t traits{
    .input_count = 2,
    .inputs = {{.name = "u0", .label = "\xC3\x97"}, {.name = "u1", .label = "\xC3\xB7"}},
    .fault = fault_t::lowest_by_minus_1,
    .caption = "\xC3\xB7",
    .large_caption = true,
    .everyday = {"division", "quotient", "ratio", "over"},
    .text = {.integer_quotient = true, .notes = notes},
};

}  // namespace

extern const block_entry_t divide_entry{create_block<Divide>, table, traits};

}  // namespace tessel
