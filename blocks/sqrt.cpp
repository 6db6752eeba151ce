// sqrt: square root of a signal.
//
//   y = sqrt(u)                not-a-number where u < 0
//
// Inputs     0: u                                any type; integers and bool are computed in double and cut back
// Output     0: y                                type of u
// State      none
#include "blocks/occasions.h"
#include "blocks/unary.h"
#include "framework/entry.h"

namespace tessel {
namespace {

// ---- what it computes, at run time
template <class T>
struct SquareRoot : Unary<T> {
    static T eval(T u) noexcept { return like(u, square_root(real(u))); }
};

constexpr auto table = kernel_table<SquareRoot, value_types>();
static_assert(table.size() == 11);

// ---- design level: runnable, generated text
class Sqrt final : public MetaBlock {
public:
    using MetaBlock::MetaBlock;
    std::uint32_t class_hash() const noexcept override { return class_hash_of("sqrt"); }
    const char* class_name() const noexcept override { return "sqrt"; }
    form_t form() override { return {row_in(table)}; }
    result_t code_step_c(sys::File& file, const char* prefix) override {
        write_step_c(file, 0, "{} = std::sqrt({});\n", own_port(prefix), in_value(prefix, 0));
        return result_ok;
    }
    result_t code_step_py(sys::File& file, const char* prefix) override {
        write_step_py(file, 0, "{} = math.sqrt({})\n", own_port(prefix), in_value(prefix, 0));
        return result_ok;
    }
};

// ---- what others know of it
constexpr text_note_t notes[] = {
    {dialect_t::c, not_compiled, nullptr, "its text calls std::sqrt, which C does not have"},
    {dialect_t::python, differs, nullptr, domain_raises},
};

constexpr block_traits_t traits{
    .caption = "\xE2\x88\x9Au",
    .everyday = {"root", "square root"},
    .text = {.notes = notes},
};

}  // namespace

extern const block_entry_t sqrt_entry{create_block<Sqrt>, table, traits};

}  // namespace tessel
