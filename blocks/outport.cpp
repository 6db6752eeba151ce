// outport: where a signal leaves a model or a subsystem.
//
//   y = u
//
// Inputs     0: u
// Output     0: y            type of u; at the top level the host reads it
// Parameters portNumber      the output of the enclosing subsystem that this block stands for
// State      none
//
// Generated code adds a column with the block's name to the output file, for every outport of the model. In C the
// value goes to that column only: whoever reads the block's own port reads what it held at the start.
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
        .meaning = "the output of the enclosing subsystem that this block stands for",
        .value = nullptr,
        .content = content_t::port,
        .everyday = {"port", "number", "index"},
    },
};

// ---- design level: runnable, generated text
class Outport final : public MetaBlock {
public:
    using MetaBlock::MetaBlock;
    std::uint32_t class_hash() const noexcept override { return class_hash_of("outport"); }
    const char* class_name() const noexcept override { return "outport"; }
    form_t form() override { return {row_in(table)}; }
    result_t code_struct_c(sys::File& file) override;
    result_t code_struct_py(sys::File& file) override;
    result_t code_init_c(sys::File& file, const char* prefix) override;
    result_t code_init_py(sys::File& file, const char* prefix) override;
    result_t code_step_c(sys::File& file, const char* prefix) override;
    result_t code_step_py(sys::File& file, const char* prefix) override;
};

result_t Outport::code_struct_c(sys::File& file) {
    file.print("typedef struct\n{{\n");
    write_indented(1, file, "{} port0;\n", c_type(outputs_[0]));
    write_indented(1, file, "unsigned int index;\n");
    write_indented(1, file, "const char *name;\n");
    file.print("}} {};\n\n", struct_name());
    return result_ok;
}

result_t Outport::code_struct_py(sys::File& file) {
    file.print("class outport_t:\n");
    write_indented(1, file, "def __init__(self):\n");
    write_indented(2, file, "self.port0 = 0\n");
    write_indented(2, file, "self.index = 0\n");
    write_indented(2, file, "self.name = 0\n\n");
    return result_ok;
}

result_t Outport::code_init_c(sys::File& file, const char* prefix) {
    const std::string own = own_state(prefix);
    write_indented(1, file, "{}.name = \"{}\";\n", own, name());
    write_indented(1, file, "{}.index = push_token(FILE_OUTPUT_NAMES, \"{}\");\n", own, name());
    return result_ok;
}

result_t Outport::code_init_py(sys::File& file, const char* prefix) {
    const std::string own = own_state(prefix);
    write_indented(2, file, "{}.name = \"{}\"\n", own, name());
    write_indented(2, file, "{}.index = len(header_output)\n", own);
    write_indented(2, file, "header_output.append(\"{}\")\n", name());
    write_indented(2, file, "buffer_output.append(0)\n");
    return result_ok;
}

result_t Outport::code_step_c(sys::File& file, const char* prefix) {
    write_step_c(file, 0, "FILE_OUTPUT_VALUES[{}.index] = {};\n", own_state(prefix), in_value(prefix, 0));
    return result_ok;
}

result_t Outport::code_step_py(sys::File& file, const char* prefix) {
    const std::string u = in_value(prefix, 0);
    write_step_py(file, 0, "{} = {}\n", own_port(prefix), u);
    write_step_py(file, 0, "buffer_output[{}.index] = str({})\n", own_state(prefix), u);
    return result_ok;
}

// ---- what others know of it
constexpr text_note_t notes[] = {
    {dialect_t::c, not_compiled, nullptr, "its text uses the columns of the output file, which main.c alone declares"},
    {dialect_t::c, differs, nullptr, "its own port is never assigned: what reads it gets what was there at the start"},
    {dialect_t::python, not_run, nullptr,
     "its text uses the columns of the output file, which main.py does not share with model.py"},
};

constexpr block_traits_t traits{
    .family = family_t::structure,
    .parameters = parameters,
    .outline = outline_t::pill,
    .caption = "{portNumber}",
    .everyday = {"output", "out", "out port"},
    .text = {.quotes_name = true, .notes = notes},
};

}  // namespace

extern const block_entry_t outport_entry{create_block<Outport>, table, traits};

}  // namespace tessel
