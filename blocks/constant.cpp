// constant: a fixed value.
//
//   y = value
//
// Inputs     none
// Output     0: y                type of the value
// Parameters expression          number, or expression of the workspace
// State      none; y is set once, when the runnable object is made
#include <type_traits>

#include "blocks/parameters.h"
#include "blocks/table.h"
#include "core/python.h"
#include "framework/entry.h"

namespace tessel {
namespace {

// ---- run time: the value is put into the output cell, a step has nothing to do
template <class T>
class ConstantExec final : public Ports<inputs<>, outputs<T>> {
public:
    void configure(const void* record) noexcept override { this->out0.value = *static_cast<const T*>(record); }
    void step() noexcept override {}
    const lowering_t* lowering() const noexcept override { return &lowered; }

private:
    static constexpr lowering_t lowered{nullptr, 0, false, true};
};

template <class T>
struct ConstantRule {
    static constexpr bool accepted = true;
    static constexpr signature_t row() { return detail::row_of<ConstantExec<T>, inputs<>, outputs<T>>(); }
};

constexpr auto table = signature_table<ConstantRule, value_types>();
static_assert(table.size() == 11);

/// The value in the port's type; bool goes the way of int8, so that 256 is false.
template <class T>
T value_as(const var_t& value) noexcept {
    if constexpr (std::is_same_v<T, bool>) return static_cast<signed char>(value) != 0;
    else return static_cast<T>(value);
}

template <class T>
bool configure_as(ExecBlock& exec, const var_t& value) noexcept {
    const T converted = value_as<T>(value);
    exec.configure(&converted);
    return true;
}

template <class... T>
void configure_typed(ExecBlock& exec, type_t type, const var_t& value, type_list<T...>) noexcept {
    static_cast<void>(((type == type_of<T> && configure_as<T>(exec, value)) || ...));
}

// ---- parameters
constexpr parameter_traits_t parameters[] = {
    {
        .key = "expression",
        .meaning = "the value",
        .value = "1.0",
        .pasted = true,
        .everyday = {"value", "constant", "number"},
    },
};

// ---- design level: type rule, runnable, generated text
class Constant final : public SourceBlock {
public:
    using SourceBlock::SourceBlock;
    std::uint32_t class_hash() const noexcept override { return class_hash_of("constant"); }
    const char* class_name() const noexcept override { return "constant"; }

    result_t calculate_type() override {
        const result_t result = read_alike({{parameters[0], &value_}});
        type_output(value_.type());
        return result;
    }

    std::unique_ptr<ExecBlock> create_exec() override {
        auto exec = create_from(table, *this);
        if (exec != nullptr) configure_typed(*exec, outputs_[0].type(), value_, value_types{});
        return exec;
    }

    result_t code_init_c(sys::File& file, const char* prefix) override {
        write_indented(1, file, "{} = {};\n", own_port(prefix), value_.to_string());
        return result_ok;
    }

    result_t code_init_py(sys::File& file, const char* prefix) override {
        write_indented(2, file, "{} = {}\n", own_port(prefix), param_text("expression"));
        return result_ok;
    }

private:
    var_t value_;
};

// ---- what others know of it
constexpr block_traits_t traits{
    .family = family_t::source,
    .input_count = 0,
    .inputs = {},
    .parameters = parameters,
    .first_decides = true,
    .asks_each_time = true,
    .steps_first = true,
    .caption = "{expression}",
    .everyday = {"const", "value", "number", "literal"},
    .text = {.silent = true},
};

}  // namespace

extern const block_entry_t constant_entry{create_block<Constant>, table, traits};

}  // namespace tessel
