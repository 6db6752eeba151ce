// logical: combines two to eight conditions.
//
//   y = u0 and u1 and ...      "and";  "nand" is its negation
//   y = u0 or u1 or ...        "or";   "nor" is its negation
//
// Inputs     0: u0   1: u1   ... 7: u7           bool
// Output     0: y                                bool
// Parameters operator: "and", "or", "nand" or "nor"
// State      none
#include "blocks/occasions.h"
#include "blocks/table.h"
#include "framework/entry.h"

namespace tessel {
namespace {

// ---- what it computes
struct And {
    static auto of(auto a, auto b) noexcept { return a && b; }
};
struct Or {
    static auto of(auto a, auto b) noexcept { return a || b; }
};

// ---- run time: one instance per number of inputs
template <std::size_t N>
struct count_t {
    static constexpr std::size_t value = N;
};
using counts = type_list<count_t<2>, count_t<3>, count_t<4>, count_t<5>, count_t<6>, count_t<7>, count_t<8>>;

template <class Op, bool negated>
struct Combine {
    template <class T, class Count>
    struct kernel {
        using in = same_inputs<T, Count::value>;
        using out = outputs<T>;
        static T eval(const std::array<const T*, Count::value>& u) noexcept {
            T all = *u[0];
            for (std::size_t i = 1; i < Count::value; ++i) all = Op::of(all, *u[i]);
            if constexpr (negated) return !all;
            else return all;
        }
    };
    static constexpr auto table = kernel_table<kernel, type_list<bool>, counts>();
    static_assert(table.size() == 7);
};

// ---- the operators: their spelling in C and Python, their runnable objects
struct operator_t {
    std::uint32_t hash;
    const char* token_c;
    const char* token_py;
    bool negated;
    signatures_t table;
};
constexpr operator_t operators[] = {
    {class_hash_of("and"), "&&", "and", false, Combine<And, false>::table},
    {class_hash_of("or"), "||", "or", false, Combine<Or, false>::table},
    {class_hash_of("nand"), "&&", "and", true, Combine<And, true>::table},
    {class_hash_of("nor"), "||", "or", true, Combine<Or, true>::table},
};

// ---- parameters
constexpr parameter_traits_t parameters[] = {
    {
        .key = "operator",
        .meaning = "how the conditions are combined",
        .value = "and",
        .content = content_t::word,
        .words = {{"and", "AND"}, {"or", "OR"}, {"nand", "NAND"}, {"nor", "NOR"}},
        .everyday = {"op", "function", "gate"},
    },
};

// ---- design level: type rule, runnable, generated text
class Logical final : public MetaBlock {
public:
    using MetaBlock::MetaBlock;
    std::uint32_t class_hash() const noexcept override { return class_hash_of("logical"); }
    const char* class_name() const noexcept override { return "logical"; }
    form_t form() override;
    result_t calculate_type() override;
    result_t code_step_c(sys::File& file, const char* prefix) override;
    result_t code_step_py(sys::File& file, const char* prefix) override;

private:
    /// The operator of the parameter, null for a word that is none.
    const operator_t* chosen();
};

const operator_t* Logical::chosen() {
    const auto found = std::ranges::find(operators, class_hash_of(param("operator").text()), &operator_t::hash);
    return found != std::ranges::end(operators) ? found : nullptr;
}

form_t Logical::form() {
    const operator_t* op = chosen();
    return op != nullptr ? form_t{row_in(op->table)} : form_t{};
}

result_t Logical::calculate_type() {
    if (chosen() == nullptr) {
        set_failed(true);
        return result_bad_parameter;
    }
    for (port_t& port : inputs_) port.set_type(type_bool);
    return result_ok;
}

result_t Logical::code_step_c(sys::File& file, const char* prefix) {
    const operator_t* op = chosen();
    if (op == nullptr) return result_failure;
    write_step_c(file, 0, "{} = {}\n", own_port(prefix), op->negated ? "!(" : "");
    const char* end = op->negated ? ");" : ";";
    for (std::size_t i = 0; i < inputs_.size(); ++i)
        write_step_c(file, 1, "{}{}\n", in_value(prefix, i), i + 1 < inputs_.size() ? op->token_c : end);
    return result_ok;
}

// All on one line. Operands of the plain operators are indented like lines of their own, and a blank stands behind
// every suffix, the line end too.
result_t Logical::code_step_py(sys::File& file, const char* prefix) {
    const operator_t* op = chosen();
    if (op == nullptr) return result_failure;
    write_step_py(file, 0, "{} = {}", own_port(prefix), op->negated ? "not (" : "");
    const char* end = op->negated ? ")\n" : "\n";
    for (std::size_t i = 0; i < inputs_.size(); ++i) {
        const char* suffix = i + 1 < inputs_.size() ? op->token_py : end;
        if (op->negated) file.print("{}{} ", in_value(prefix, i), suffix);
        else write_step_py(file, 1, "{}{} ", in_value(prefix, i), suffix);
    }
    return result_ok;
}

// ---- what others know of it
constexpr text_note_t notes[] = {
    {dialect_t::python, not_parsed, &of_two_or_more, "its operators stand directly behind the operands"},
};

constexpr block_traits_t traits{
    .family = family_t::logic,
    .input_count = as_given,
    .output_type = type_bool,
    .inputs = {{"u0"}, {"u1"}, {"u2"}, {"u3"}, {"u4"}, {"u5"}, {"u6"}, {"u7"}},
    .parameters = parameters,
    .caption = "{operator}",
    .everyday = {"and", "or", "nand", "nor", "logic gate", "boolean"},
    .text = {.tests_truth = true, .notes = notes},
};

}  // namespace

// every operator accepts the same counts
extern const block_entry_t logical_entry{create_block<Logical>, operators[0].table, traits};

}  // namespace tessel
