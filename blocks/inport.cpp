// inport: where a signal enters a model or a subsystem.
//
//   y = u
//
// Inputs     0: u            fed through the subsystem; at the top level by the host, which writes the value cell
// Output     0: y            type of u; flt64 where nothing feeds u
// Parameters portNumber      the input of the enclosing subsystem that this block stands for
// State      none
//
// Generated code reads the column of the data file that has the block's name, inside a subsystem too: what feeds the
// block there is not used.
#include "blocks/occasions.h"
#include "blocks/pass_through.h"
#include "framework/entry.h"

namespace tessel {
namespace {

// ---- run time
constexpr auto table = kernel_table<PassThrough, value_types>();
static_assert(table.size() == 11);

// ---- parameters
constexpr parameter_traits_t parameters[] = {
    {
        .key = "portNumber",
        .meaning = "the input of the enclosing subsystem that this block stands for",
        .value = nullptr,
        .content = content_t::port,
        .everyday = {"port", "number", "index"},
    },
};

// ---- design level: type rule, runnable, generated text
class Inport final : public MetaBlock {
public:
    using MetaBlock::MetaBlock;
    std::uint32_t class_hash() const noexcept override { return class_hash_of("inport"); }
    const char* class_name() const noexcept override { return "inport"; }
    bool has_all_sources() const noexcept override { return parent_id() == 0 || is_fed(); }
    result_t calculate_type() override;
    std::int8_t calculate_zone() noexcept override;
    form_t form() override { return {row_in(table)}; }
    result_t code_struct_c(sys::File& file) override;
    result_t code_struct_py(sys::File& file) override;
    result_t code_init_c(sys::File& file, const char* prefix) override;
    result_t code_init_py(sys::File& file, const char* prefix) override;
    result_t code_step_c(sys::File& file, const char* prefix) override;
    result_t code_step_py(sys::File& file, const char* prefix) override;

private:
    bool is_fed() const noexcept { return inputs_[0].source_block() != nullptr; }
};

result_t Inport::calculate_type() {
    if (is_fed()) return MetaBlock::calculate_type();
    inputs_[0].set_type_if_unset(type_flt64);
    outputs_[0].set_type_if_unset(type_flt64);
    return result_ok;
}

std::int8_t Inport::calculate_zone() noexcept {
    if (is_fed()) return MetaBlock::calculate_zone();
    zone_ = 0;
    return 0;
}

result_t Inport::code_struct_c(sys::File& file) {
    file.print("typedef struct\n{{\n");
    write_indented(1, file, "{} port0;\n", c_type(outputs_[0]));
    write_indented(1, file, "unsigned int index;\n");
    file.print("}} {};\n\n", struct_name());
    return result_ok;
}

result_t Inport::code_struct_py(sys::File& file) {
    file.print("class inport_t:\n");
    write_indented(1, file, "def __init__(self):\n");
    write_indented(2, file, "self.port0 = 0\n");
    write_indented(2, file, "self.index = 0\n\n");
    return result_ok;
}

result_t Inport::code_init_c(sys::File& file, const char* prefix) {
    const std::string own = own_state(prefix);
    write_indented(1, file, "{}.index = find_token(FILE_INPUT_TOKENS, \"{}\");\n", own, name());
    write_indented(1, file, "if ({}.index == 0)\n", own);
    write_indented(1, file, "{{\n");
    write_indented(2, file, "return -1;\n");
    write_indented(1, file, "}}\n");
    return result_ok;
}

result_t Inport::code_init_py(sys::File& file, const char* prefix) {
    const std::string own = own_state(prefix);
    write_indented(2, file, "try:\n");
    write_indented(3, file, "{}.index = header_input.index(\"{}\")\n", own, name());
    write_indented(2, file, "except:\n");
    write_indented(3, file, "{}.index = 0\n", own);
    return result_ok;
}

result_t Inport::code_step_c(sys::File& file, const char* prefix) {
    const std::string own = own_state(prefix);
    write_step_c(file, 0, "{}.port0 = strtod(FILE_INPUT_TOKENS[{}.index], NULL);\n", own, own);
    return result_ok;
}

result_t Inport::code_step_py(sys::File& file, const char* prefix) {
    const std::string own = own_state(prefix);
    write_step_py(file, 0, "{}.port0 = float(buffer_input[{}.index])\n", own, own);
    return result_ok;
}

// ---- what others know of it
constexpr text_note_t notes[] = {
    {dialect_t::c, not_compiled, nullptr,
     "its text uses the columns of the input file, which main.c alone declares, and returns a value from init"},
    {dialect_t::python, not_run, nullptr,
     "its text uses the columns of the input file, which main.py does not share with model.py"},
    {dialect_t::both, differs, &inside_subsystem, reads_by_name},
};

constexpr block_traits_t traits{
    .family = family_t::structure,
    .inputs = {{.name = "u", .told_apart = true}},
    .parameters = parameters,
    .outline = outline_t::pill,
    .caption = "{portNumber}",
    .everyday = {"input", "in", "in port"},
    .text = {.quotes_name = true, .notes = notes},
};

}  // namespace

extern const block_entry_t inport_entry{create_block<Inport>, table, traits};

}  // namespace tessel
