// clamp: limits a signal to a range.
//
//   y = hi  where u > hi
//       lo  where lo > u
//       u   elsewhere          (not-a-number passes; lo above hi is not checked)
//
// Inputs     0: u   1: lo   2: hi                u of any type; bounds of any type not ranked above it, converted to it
// Output     0: y                                type of u
// State      none
#include "blocks/occasions.h"
#include "blocks/table.h"
#include "framework/entry.h"

namespace tessel {
namespace {

// ---- what it computes, at run time
template <class T, class Lo, class Hi>
struct Limit {
    using in = inputs<T, Lo, Hi>;
    using out = outputs<T>;
    static constexpr bool accepted = type_of<Lo> <= type_of<T> && type_of<Hi> <= type_of<T>;
    static T eval(T u, Lo lo, Hi hi) noexcept {
        const T low = like(u, lo), high = like(u, hi);
        return select(u > high, high, low > u, low, u);
    }
};

constexpr auto table = kernel_table<Limit, value_types, value_types, value_types>();
static_assert(table.size() == 506);

// ---- design level: type rule, runnable, generated text
class Clamp final : public MetaBlock {
public:
    using MetaBlock::MetaBlock;
    std::uint32_t class_hash() const noexcept override { return class_hash_of("clamp"); }
    const char* class_name() const noexcept override { return "clamp"; }
    form_t form() override { return {row_in(table)}; }

    result_t calculate_type() override {
        const result_t result = MetaBlock::calculate_type();
        outputs_[0].set_type(inputs_[0].type());
        return result;
    }

    result_t code_step_c(sys::File& file, const char* prefix) override {
        const std::string u = in_value(prefix, 0), lo = in_value(prefix, 1), hi = in_value(prefix, 2);
        write_step_c(file, 0, "{:s} = {:s} > {:s} ? {:s} : ({:s} < {:s} ? {:s} : {:s});\n", own_port(prefix), u, hi, hi,
                     u, lo, lo, u);
        return result_ok;
    }
    result_t code_step_py(sys::File& file, const char* prefix) override {
        write_step_py(file, 0, "{:s} = max({:s}, min({:s}, {:s}))\n", own_port(prefix), in_value(prefix, 1),
                      in_value(prefix, 0), in_value(prefix, 2));
        return result_ok;
    }
};

// ---- what others know of it
constexpr text_note_t notes[] = {
    {dialect_t::c, differs, &of_mixed_types,
     "value and bounds meet in C's common type; a run converts the bounds first"},
    {dialect_t::python, differs, nullptr,
     "a value above both bounds gives the lower one where that is above the upper, and not-a-number gives the lower "
     "bound"},
};

constexpr block_traits_t traits{
    .family = family_t::table,
    .input_count = 3,
    .inputs = {{.name = "u", .label = "u"}, {.name = "lo", .label = "lo"}, {.name = "hi", .label = "hi"}},
    .icon = icon_t::limits,
    .everyday = {"saturation", "saturate", "limit", "limiter", "bound"},
    .text = {.notes = notes},
};

}  // namespace

extern const block_entry_t clamp_entry{create_block<Clamp>, table, traits};

}  // namespace tessel
