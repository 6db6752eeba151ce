// sqrt: square root of a signal.
//
//   y = sqrt(u)                not-a-number where u < 0
//
// Inputs     0: u                                any type; integers and bool are computed in double and cut back
// Output     0: y                                type of u
// State      none
#include <cmath>

#include "blocks/occasions.h"
#include "blocks/unary.h"
#include "framework/entry.h"

namespace tessel {
namespace {

// ---- what it computes
struct SquareRoot {
    static double of(double u) noexcept { return std::sqrt(u); }
    static float of(float u) noexcept { return std::sqrt(u); }
};

// ---- run time
template <class T>
using SqrtOf = Unary<SquareRoot, T>;

constexpr auto table = kernel_table<SqrtOf, value_types>();
static_assert(table.size() == 11);

// ---- design level: runnable, generated text
class Sqrt final : public MetaBlock {
public:
    using MetaBlock::MetaBlock;
    std::uint32_t class_hash() const noexcept override { return class_hash_of("sqrt"); }
    const char* class_name() const noexcept override { return "sqrt"; }
    std::unique_ptr<ExecBlock> create_exec() override { return create_from(table, *this); }
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
