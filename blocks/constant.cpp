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

// ---- what it computes, at run time: the value is put into the output cell, a step has nothing to do
template <class T>
struct Value {
    using in = inputs<>;
    using out = outputs<T>;
    static constexpr bool holds = true;

    T value{0};

    void configure(const void* record) noexcept { value = loaded_like(value, record); }
    T eval(with<T, double>, T) const noexcept { return value; }
    void members(auto& visit) { visit.parameter("value", value); }
};

constexpr auto table = kernel_table<Value, value_types>();
static_assert(table.size() == 11);

/// The value in the port's type; bool goes the way of int8, so that 256 is false.
template <class T>
T value_as(const var_t& value) noexcept {
    if constexpr (std::is_same_v<T, bool>) return static_cast<signed char>(value) != 0;
    else return static_cast<T>(value);
}

/// The bytes of the value in a port's type.
std::uint64_t bytes_as(type_t type, const var_t& value) noexcept {
    std::uint64_t bytes = 0;
    with_type(type, [&]<class T>(T) { bytes = bits_of(value_as<T>(value)); });
    return bytes;
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

    form_t form() override { return {row_in(table), bytes_as(outputs_[0].type(), value_)}; }

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
