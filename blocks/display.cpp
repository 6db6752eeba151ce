// display: shows a value.
//
// Inputs     0: u            the host reads the value cell; generated code prints the value in each step
// Outputs    none
// State      none
#include "blocks/hold.h"
#include "framework/entries.h"

namespace tessel {
namespace {

// ---- run time
constexpr auto table = signature_table<HoldRule, value_types>();
static_assert(table.size() == 11);

// ---- design level: runnable, generated text
class Display final : public MetaBlock {
public:
    using MetaBlock::MetaBlock;
    std::uint32_t class_hash() const noexcept override { return class_hash_of("display"); }
    const char* class_name() const noexcept override { return "display"; }
    std::unique_ptr<ExecBlock> create_exec() override { return create_from(table, *this); }
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

}  // namespace

const block_entry_t display_entry{create_block<Display>, table};

}  // namespace tessel
