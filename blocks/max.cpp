// max: largest value that a signal has had.
//
//   y = u   where u > y        (not-a-number leaves y)
//
// Inputs     0: u                                any type
// Output     0: y                                type of u
// State      y: starts at the lowest value of an integer type, at the smallest positive normal number of a float type,
//            and is never reset
//
// A float signal that stays negative leaves y at that tiny positive number. Generated code starts lower.
#include "blocks/occasions.h"
#include "blocks/table.h"
#include "framework/entry.h"

namespace tessel {
namespace {

// ---- what it computes, at run time
template <class T>
struct Largest {
    using in = inputs<T>;
    using out = outputs<T>;
    T initial(T y) const noexcept { return smallest_like(y); }
    T eval(with<T, double>, T y, T u) const noexcept { return select(u > y, u, y); }
};

constexpr auto table = kernel_table<Largest, value_types>();
static_assert(table.size() == 11);

// ---- design level: runnable, generated text
const char* start_value_c(type_t type) noexcept {
    switch (type) {
        case type_bool: return "true";
        case type_int8: return "0x80";
        case type_int16: return "0x8000";
        case type_int32: return "0x80000000";
        case type_int64: return "0x8000000000000000";
        case type_uint8:
        case type_uint16:
        case type_uint32:
        case type_uint64: return "0";
        case type_flt32: return "-1e30";
        case type_flt64: return "-1e300";
        default: return nullptr;
    }
}

class Max final : public MetaBlock {
public:
    using MetaBlock::MetaBlock;
    std::uint32_t class_hash() const noexcept override { return class_hash_of("max"); }
    const char* class_name() const noexcept override { return "max"; }
    form_t form() override { return {row_in(table)}; }

    result_t code_init_c(sys::File& file, const char* prefix) override {
        const char* start = start_value_c(outputs_[0].type());
        if (start != nullptr) write_indented(1, file, "{}.port0 = {};\n", own_state(prefix), start);
        return result_ok;
    }
    result_t code_init_py(sys::File& file, const char* prefix) override {
        write_indented(2, file, "{}.port0 = -sys.maxint - 1\n", own_state(prefix));
        return result_ok;
    }
    result_t code_step_c(sys::File& file, const char* prefix) override {
        const std::string u = in_value(prefix, 0), y = own_port(prefix);
        write_step_c(file, 0, "if ({} > {}) {} = {};\n", u, y, y, u);
        return result_ok;
    }
    result_t code_step_py(sys::File& file, const char* prefix) override {
        const std::string u = in_value(prefix, 0), y = own_port(prefix);
        write_step_py(file, 0, "if ({} > {}) {} = {}\n", u, y, y, u);
        return result_ok;
    }
};

// ---- what others know of it
constexpr text_note_t notes[] = {
    {dialect_t::c, not_compiled, &of_bool, no_true},
    {dialect_t::c, differs, &of_bool, "it starts at true and stays there"},
    {dialect_t::c, differs, &of_float, "it starts far below 0; a run starts at the smallest number above 0"},
    {dialect_t::python, not_parsed, nullptr, no_colon},
};

constexpr block_traits_t traits{
    .family = family_t::state,
    .everyday = {"maximum", "running maximum", "peak", "peak hold"},
    .text = {.notes = notes},
};

}  // namespace

extern const block_entry_t max_entry{create_block<Max>, table, traits};

}  // namespace tessel
