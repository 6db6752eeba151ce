// pow: power of two signals.
//
//   y = u0 ^ u1
//
// Inputs     0: u0   1: u1                       one type for both; integers and bool are computed in double and cut
//                                                back
// Output     0: y                                type of u0
// State      none
#include "blocks/table.h"
#include "framework/entry.h"

namespace tessel {
namespace {

// ---- what it computes, at run time
template <class T>
struct Power {
    using in = inputs<T, T>;
    using out = outputs<T>;
    static T eval(T base, T exponent) noexcept { return like(base, power(real(base), real(exponent))); }
};

constexpr auto table = kernel_table<Power, value_types>();
static_assert(table.size() == 11);

// ---- design level: runnable, generated text
class Pow final : public MetaBlock {
public:
    using MetaBlock::MetaBlock;
    std::uint32_t class_hash() const noexcept override { return class_hash_of("pow"); }
    const char* class_name() const noexcept override { return "pow"; }
    form_t form() override { return {row_in(table)}; }
    result_t code_step_c(sys::File& file, const char* prefix) override {
        write_step_c(file, 0, "{} = std::pow({}, {});\n", own_port(prefix), in_value(prefix, 0), in_value(prefix, 1));
        return result_ok;
    }
    result_t code_step_py(sys::File& file, const char* prefix) override {
        write_step_py(file, 0, "{} = math.pow({}, {})\n", own_port(prefix), in_value(prefix, 0), in_value(prefix, 1));
        return result_ok;
    }
};

// ---- what others know of it
constexpr text_note_t notes[] = {
    {dialect_t::c, not_compiled, nullptr, "its text calls std::pow, which C does not have"},
    {dialect_t::python, differs, nullptr,
     "outside its domain, and where the power is too large, it ends the program with an exception"},
};

constexpr block_traits_t traits{
    .input_count = 2,
    .inputs = {{.name = "u0", .label = "u"}, {.name = "u1", .label = "v"}},
    .caption = "u^v",
    .everyday = {"power", "exponent", "square"},
    .text = {.notes = notes},
};

}  // namespace

extern const block_entry_t pow_entry{create_block<Pow>, table, traits};

}  // namespace tessel
