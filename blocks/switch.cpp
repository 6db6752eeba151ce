// switch: one of several signals, by an index.
//
//   y = u2, u3, ... u7         where u0 is 0, 1, ... 5, cut to int8, and such an input is there
//       u1                     elsewhere
//
// Inputs     0: u0   1: u1   2: u2   ... 7: u7   at least three; run in the type of y, the selector u0 too
// Output     0: y                                highest type among the inputs; bool does not run
// State      none
//
// Generated C takes the selector as int, not cut to int8.
#include "blocks/occasions.h"
#include "blocks/table.h"
#include "framework/entry.h"

namespace tessel {
namespace {

constexpr std::size_t most_inputs = 8;

// ---- what it computes, at run time
template <std::size_t N>
struct count_t {
    static constexpr std::size_t value = N;
};
using counts = type_list<count_t<3>, count_t<4>, count_t<5>, count_t<6>, count_t<7>, count_t<most_inputs>>;

template <class T, class Count>
struct Select {
    static constexpr std::size_t N = Count::value;
    static constexpr bool accepted = !std::is_same_v<T, bool>;
    using in = same_inputs<T, N>;
    using out = outputs<T>;
    static T eval(const std::array<const T*, N>& u) noexcept { return choose(u, int8(*u[0]), 2, 1); }
};

constexpr auto table = kernel_table<Select, value_types, counts>();
static_assert(table.size() == 60);

// ---- design level: runnable, generated text
class Switch final : public MetaBlock {
public:
    using MetaBlock::MetaBlock;
    std::uint32_t class_hash() const noexcept override { return class_hash_of("switch"); }
    const char* class_name() const noexcept override { return "switch"; }
    form_t form() override;
    result_t code_step_c(sys::File& file, const char* prefix) override;
    result_t code_step_py(sys::File& file, const char* prefix) override;

private:
    /// One past the last input that an index can choose.
    std::size_t last_choice() const noexcept { return std::min(inputs_.size(), most_inputs); }
};

// The object is told by the output's type and the number of inputs; the selector's own type does not matter.
form_t Switch::form() {
    const type_t type = outputs_[0].type();
    for (std::size_t i = 1; i < inputs_.size(); ++i) inputs_[i].set_type_if_unset(type);
    const auto row = std::ranges::find_if(table, [this, type](const signature_t& candidate) {
        return candidate.types[0] == type && candidate.inputs == inputs_.size();
    });
    return row != table.end() ? form_t{&*row} : form_t{};
}

result_t Switch::code_step_c(sys::File& file, const char* prefix) {
    const std::string y = own_port(prefix);
    write_step_c(file, 0, "switch((int) {})\n", in_value(prefix, 0));
    write_step_c(file, 0, "{{\n");
    for (std::size_t i = 2; i < last_choice(); ++i)
        write_step_c(file, 1, "case {}: {} = {}; break;\n", i - 2, y, in_value(prefix, i));
    write_step_c(file, 1, "default: {} = {}; break; \n", y, in_value(prefix, 1));
    write_step_c(file, 0, "}}\n");
    return result_ok;
}

result_t Switch::code_step_py(sys::File& file, const char* prefix) {
    const std::string y = own_port(prefix), selector = in_value(prefix, 0);
    for (std::size_t i = 2; i < last_choice(); ++i) {
        write_step_py(file, 0, "{} {} == {}:\n", i == 2 ? "if" : "elif", selector, i - 2);
        write_step_py(file, 1, "{} = {}\n", y, in_value(prefix, i));
    }
    write_step_py(file, 0, "else:\n");
    write_step_py(file, 1, "{} = {}\n", y, in_value(prefix, 1));
    return result_ok;
}

// ---- what others know of it
constexpr text_note_t notes[] = {
    {dialect_t::c, differs, &by_wide_selector, "the selector is cut to int; a run cuts it to int8"},
    {dialect_t::python, differs, &by_wide_selector, "the selector is compared as it is; a run cuts it to int8"},
};

constexpr block_traits_t traits{
    .family = family_t::logic,
    .input_count = at_least_3,
    .input_type = type_int8,
    .inputs = {{.name = "selector", .label = "sel", .told_apart = true},
               {.name = "otherwise", .label = "else"},
               {.name = "case 0", .label = "0"},
               {.name = "case 1", .label = "1"},
               {.name = "case 2", .label = "2"},
               {.name = "case 3", .label = "3"},
               {.name = "case 4", .label = "4"},
               {.name = "case 5", .label = "5"}},
    .icon = icon_t::choice,
    .everyday = {"multiport switch", "selector", "mux", "multiplexer", "case"},
    .text = {.notes = notes},
};

}  // namespace

extern const block_entry_t switch_entry{create_block<Switch>, table, traits};

}  // namespace tessel
