// display: shows a value.
//
// Inputs     0: u            the host reads the value cell; generated code prints the value in each step
// Outputs    none
// State      none
#include "blocks/hold.h"
#include "blocks/occasions.h"
#include "framework/entry.h"

namespace tessel {
namespace {

// ---- run time
constexpr auto table = kernel_table<Hold, value_types>();
static_assert(table.size() == 11);

// ---- design level: runnable, generated text
class Display final : public MetaBlock {
public:
    using MetaBlock::MetaBlock;
    std::uint32_t class_hash() const noexcept override { return class_hash_of("display"); }
    const char* class_name() const noexcept override { return "display"; }
    form_t form() override { return {row_in(table)}; }
    result_t code_step_c(sys::File& file, const char* prefix) override;
    result_t code_step_py(sys::File& file, const char* prefix) override;
};

/// The letter with which C prints a value of the type.
char conversion_letter(type_t type) {
    switch (type) {
        case type_flt32:
        case type_flt64: return 'g';
        case type_uint8:
        case type_uint16:
        case type_uint32:
        case type_uint64: return 'u';
        case type_cstr: return 's';
        default: return 'd';
    }
}

result_t Display::code_step_c(sys::File& file, const char* prefix) {
    write_step_c(file, 0, "printf(\"{} = %{}\\n\", {});\n", name(), conversion_letter(inputs_[0].type()),
                 in_value(prefix, 0));
    return result_ok;
}

result_t Display::code_step_py(sys::File& file, const char* prefix) {
    write_step_py(file, 0, "print(\"{} = \", {})\n", name(), in_value(prefix, 0));
    return result_ok;
}

// ---- what others know of it
constexpr text_note_t notes[] = {
    {dialect_t::c, differs, &behind_wide_integer, "it prints the lower 32 bits"},
    {dialect_t::c, differs, &behind_float_cast,
     "the conversion letter is that of the input's type, which the variable does not have: what is printed is "
     "arbitrary"},
};

constexpr block_traits_t traits{
    .family = family_t::sink,
    .output_count = 0,
    .outputs = {},
    .outline = outline_t::screen,
    .caption = "",
    .everyday = {"scope", "show", "print", "indicator", "gauge"},
    .text = {.quotes_name = true, .prints_name = true, .notes = notes},
};

}  // namespace

extern const block_entry_t display_entry{create_block<Display>, table, traits};

}  // namespace tessel
