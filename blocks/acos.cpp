// acos: arc cosine of a signal.
//
//   y = acos(u)                y in radians, 0 to pi; not-a-number where u is outside -1 to 1
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
struct ArcCosine : Unary<T> {
    static T eval(T u) noexcept { return like(u, arc_cosine(real(u))); }
};

constexpr auto table = kernel_table<ArcCosine, value_types>();
static_assert(table.size() == 11);

// ---- design level: runnable, generated text
class Acos final : public MetaBlock {
public:
    using MetaBlock::MetaBlock;
    std::uint32_t class_hash() const noexcept override { return class_hash_of("acos"); }
    const char* class_name() const noexcept override { return "acos"; }
    form_t form() override { return {row_in(table)}; }
    result_t code_step_c(sys::File& file, const char* prefix) override {
        write_step_c(file, 0, "{:s} = acos({:s});\n", own_port(prefix), in_value(prefix, 0));
        return result_ok;
    }
    result_t code_step_py(sys::File& file, const char* prefix) override {
        write_step_py(file, 0, "{:s} = math.acos({:s})\n", own_port(prefix), in_value(prefix, 0));
        return result_ok;
    }
};

// ---- what others know of it
constexpr text_note_t notes[] = {
    {dialect_t::c, differs, &of_flt32, in_double},
    {dialect_t::python, differs, nullptr, domain_raises},
};

constexpr block_traits_t traits{
    .everyday = {"arccos", "arc cosine", "inverse cosine"},
    .text = {.notes = notes},
};

}  // namespace

extern const block_entry_t acos_entry{create_block<Acos>, table, traits};

}  // namespace tessel
