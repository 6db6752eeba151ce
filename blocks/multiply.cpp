// multiply: product of two or three signals.
//
//   y = u0 * u1
//   y = u0 * (u1 * u2)         folded from the right
//
// Inputs     0: u0   1: u1   2: u2 (optional)    any types; each product in the common type of its own two operands
// Output     0: y                                highest type among the inputs; narrow integers wrap, bool is "not 0"
// State      none
#include "blocks/arithmetic.h"
#include "framework/entries.h"

namespace tessel {
namespace {

// ---- what it computes
struct Product {
    template <class C>
    static C of(C a, C b) noexcept {
        return static_cast<C>(a * b);
    }
};

// ---- run time
template <class A, class B>
using Multiply2 = Fold2<Product, A, B>;
template <class A, class B, class C>
using Multiply3 = Fold3<Product, A, B, C>;

constexpr auto pairs = kernel_table<Multiply2, value_types, value_types>();
constexpr auto triples = kernel_table<Multiply3, value_types, value_types, value_types>();
constexpr auto table = join_tables(pairs, triples);
static_assert(pairs.size() == 121 && triples.size() == 1331);

// ---- design level: runnable, generated text
class Multiply final : public Arithmetic {
public:
    using Arithmetic::Arithmetic;
    std::uint32_t class_hash() const noexcept override { return class_hash_of("multiply"); }
    const char* class_name() const noexcept override { return "multiply"; }
    std::unique_ptr<ExecBlock> create_exec() override { return create_from(table, *this); }
    result_t code_step_c(sys::File& file, const char* prefix) override { return write_terms_c(file, prefix, " *"); }
    result_t code_step_py(sys::File& file, const char* prefix) override { return write_terms_py(file, prefix, " *"); }
};

}  // namespace

const block_entry_t multiply_entry{create_block<Multiply>, table};

}  // namespace tessel
