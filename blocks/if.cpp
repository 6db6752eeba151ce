// if: one of two signals, by a condition.
//
//   y = u1  where u0
//       u2  elsewhere
//
// Inputs     0: u0 (bool)   1: u1   2: u2        u1 and u2 of one type
// Output     0: y                                type of u1
// State      none
//
// Generated code names u2 for both choices.
#include "blocks/table.h"
#include "framework/entry.h"

namespace tessel {
namespace {

// ---- what it computes, at run time
template <class T>
struct Choice {
    using in = inputs<with<T, bool>, T, T>;
    using out = outputs<T>;
    static T eval(with<T, bool> condition, T first, T second) noexcept { return select(condition, first, second); }
};

constexpr auto table = kernel_table<Choice, value_types>();
static_assert(table.size() == 11);

// ---- design level: runnable, generated text
class If final : public MetaBlock {
public:
    using MetaBlock::MetaBlock;
    std::uint32_t class_hash() const noexcept override { return class_hash_of("if"); }
    const char* class_name() const noexcept override { return "if"; }
    form_t form() override { return {row_in(table)}; }
    result_t code_step_c(sys::File& file, const char* prefix) override {
        const std::string condition = in_value(prefix, 0), second = in_value(prefix, 2);
        write_step_c(file, 0, "{} = {} ? {} : {};\n", own_port(prefix), condition, second, second);
        return result_ok;
    }
    result_t code_step_py(sys::File& file, const char* prefix) override {
        const std::string condition = in_value(prefix, 0), second = in_value(prefix, 2);
        write_step_py(file, 0, "{} = {} if {} else {}\n", own_port(prefix), second, condition, second);
        return result_ok;
    }
};

// ---- what others know of it
constexpr text_note_t notes[] = {
    {dialect_t::both, differs, nullptr, "it gives input 2 whatever the condition"},
};

constexpr block_traits_t traits{
    .family = family_t::logic,
    .input_count = 3,
    .input_type = type_bool,
    .inputs = {{.name = "condition", .label = "if"},
               {.name = "then", .label = "then"},
               {.name = "else", .label = "else"}},
    .icon = icon_t::choice,
    .everyday = {"if else", "ternary", "select", "conditional"},
    .text = {.tests_truth = true, .notes = notes},
};

}  // namespace

extern const block_entry_t if_entry{create_block<If>, table, traits};

}  // namespace tessel
