// relational: compares two signals.
//
//   y = u0 op u1               with not-a-number "ne" is true and all others are false
//
// Inputs     0: u0   1: u1                       one type for both
// Output     0: y                                bool
// Parameters operator: "eq", "ne", "lt", "le", "gt" or "ge"
// State      none
#include <functional>

#include "blocks/table.h"
#include "framework/entry.h"

namespace tessel {
namespace {

// ---- what it computes, at run time
template <class Op>
struct Compare {
    template <class T>
    struct kernel {
        using in = inputs<T, T>;
        using out = outputs<with<T, bool>>;
        static with<T, bool> eval(T a, T b) noexcept { return Op{}(a, b); }
    };
    static constexpr auto table = kernel_table<kernel, value_types>();
    static_assert(table.size() == 11);
};

// ---- the operators: their spelling in C and Python, their runnable objects
struct operator_t {
    std::uint32_t hash;
    const char* token;
    signatures_t table;
};
constexpr operator_t operators[] = {
    {class_hash_of("eq"), "==", Compare<std::equal_to<>>::table},
    {class_hash_of("ne"), "!=", Compare<std::not_equal_to<>>::table},
    {class_hash_of("lt"), "<", Compare<std::less<>>::table},
    {class_hash_of("le"), "<=", Compare<std::less_equal<>>::table},
    {class_hash_of("gt"), ">", Compare<std::greater<>>::table},
    {class_hash_of("ge"), ">=", Compare<std::greater_equal<>>::table},
};

// ---- parameters
constexpr parameter_traits_t parameters[] = {
    {
        .key = "operator",
        .meaning = "the comparison",
        .value = "eq",
        .content = content_t::word,
        .words = {{"eq", "="},
                  {"ne", "\xE2\x89\xA0"},
                  {"lt", "<"},
                  {"le", "\xE2\x89\xA4"},
                  {"gt", ">"},
                  {"ge", "\xE2\x89\xA5"}},
        .everyday = {"op", "comparison", "relation"},
    },
};

// ---- design level: type rule, runnable, generated text
class Relational final : public MetaBlock {
public:
    using MetaBlock::MetaBlock;
    std::uint32_t class_hash() const noexcept override { return class_hash_of("relational"); }
    const char* class_name() const noexcept override { return "relational"; }

    form_t form() override {
        const operator_t* op = chosen();
        return op != nullptr ? form_t{row_in(op->table)} : form_t{};
    }

    result_t calculate_type() override {
        if (chosen() == nullptr) {
            set_failed(true);
            return result_bad_parameter;
        }
        return MetaBlock::calculate_type();
    }

    result_t code_step_c(sys::File& file, const char* prefix) override {
        write_step_c(file, 0, "{} = {} {} {};\n", own_port(prefix), in_value(prefix, 0), token(), in_value(prefix, 1));
        return result_ok;
    }
    result_t code_step_py(sys::File& file, const char* prefix) override {
        write_step_py(file, 0, "{} = {} {} {}\n", own_port(prefix), in_value(prefix, 0), token(), in_value(prefix, 1));
        return result_ok;
    }

private:
    /// The operator of the parameter, null for a word that is none.
    const operator_t* chosen() {
        const auto found = std::ranges::find(operators, class_hash_of(param("operator").text()), &operator_t::hash);
        return found != std::ranges::end(operators) ? found : nullptr;
    }
    const char* token() {
        const operator_t* op = chosen();
        return op != nullptr ? op->token : "";
    }
};

// ---- what others know of it
constexpr block_traits_t traits{
    .family = family_t::logic,
    .input_count = as_given,
    .output_type = type_bool,
    .inputs = {{"u0"}, {"u1"}},
    .parameters = parameters,
    .caption = "{operator}",
    .large_caption = true,
    .everyday = {"compare", "comparison", "comparator", "less than", "greater than", "equal"},
};

}  // namespace

// every operator accepts the same types
extern const block_entry_t relational_entry{create_block<Relational>, operators[0].table, traits};

}  // namespace tessel
