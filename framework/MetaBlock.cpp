#include "framework/MetaBlock.h"

#include <algorithm>
#include <new>
#include <nlohmann/json.hpp>

#include "ExecBlock.h"
#include "formula/formula.h"
#include "framework/classes.h"
#include "framework/entry.h"
#include "framework/signature.h"
#include "framework/zone.h"

namespace tessel {
namespace {

// Far above any drawn block, and above every count that 16 bits can tell apart. A damaged file can ask for 2^31 ports
// (64 GiB), which a machine that hands out memory on credit would grant and then die of.
constexpr std::uint64_t most_ports = 1u << 20;

class too_many_ports final : public std::bad_alloc {
public:
    const char* what() const noexcept override { return "a block cannot have more than 1048576 inputs or outputs"; }
};

void resize(PortList& ports, std::uint64_t count) {
    if (count > most_ports) throw too_many_ports();
    ports.resize(static_cast<std::size_t>(count));
}

}  // namespace

MetaBlock::MetaBlock(std::shared_ptr<PropertiesBlock> properties) : properties_(std::move(properties)) {
    resize(inputs_, properties_->inportCount);
    resize(outputs_, properties_->outportCount);
}

bool MetaBlock::has_all_types() const noexcept {
    const auto typed = [](const port_t& port) { return port.has_type(); };
    return std::ranges::all_of(inputs_, typed) && std::ranges::all_of(outputs_, typed);
}

bool MetaBlock::has_all_sources() const noexcept {
    return std::ranges::all_of(inputs_, [](const port_t& port) { return port.source_block() != nullptr; });
}

// Hashed as it is spelt: the text itself is needed nowhere, so a block may have any number of ports.
std::uint32_t MetaBlock::signature() const noexcept {
    std::uint32_t h = hash_seed;
    const auto append = [&h](const char* head, const PortList& ports) {
        h = hash_more(h, head);
        for (std::size_t i = 0; i < ports.size(); ++i) {
            if (i != 0) h = hash_step(h, ';');
            const char* name = ports[i].type_name();
            h = hash_more(h, name != nullptr ? name : "(null)");
        }
    };
    if (!inputs_.empty()) append("in=", inputs_);
    if (!outputs_.empty()) append(inputs_.empty() ? "out=" : "|out=", outputs_);
    return h;
}

const port_t* MetaBlock::input(std::int16_t index) const noexcept { return const_cast<MetaBlock*>(this)->input(index); }
port_t* MetaBlock::input(std::int16_t index) noexcept { return &inputs_[static_cast<std::uint16_t>(index)]; }
const port_t* MetaBlock::output(std::int16_t index) const noexcept {
    return const_cast<MetaBlock*>(this)->output(index);
}
port_t* MetaBlock::output(std::int16_t index) noexcept { return &outputs_[static_cast<std::uint16_t>(index)]; }

var_t& MetaBlock::param(const char* key) { return properties_->parameters[key].value; }

void MetaBlock::set_colors(const float* colors) noexcept {
    float* own = &properties_->red;
    for (int i = 0; i < 3; ++i)
        if (colors[i] >= 0.0f && colors[i] <= 1.0f) own[i] = colors[i];
}

void MetaBlock::set_geometry(const float* geometry) noexcept {
    float* own = &properties_->x;
    for (int i = 0; i < 2; ++i)
        if (geometry[i] >= 0.0f && geometry[i] <= 10000.0f) own[i] = geometry[i];
    for (int i = 2; i < 4; ++i)
        if (geometry[i] >= 1.0f && geometry[i] <= 1000.0f) own[i] = geometry[i];
}

// A number as index makes an array of class_hash() + 1 elements, nulls but for the last: a shape that the loader does
// not read. Hosts that write model files use PropertiesBlock::export_json.
void MetaBlock::export_json(nlohmann::json& out) {
    nlohmann::json block;
    properties_->export_json(block);
    nlohmann::json indexed;
    indexed[class_hash()] = std::move(block);
    out.push_back(std::move(indexed));
}

void MetaBlock::import_json(const nlohmann::json& in) {
    properties_->import_json(in);
    grow_inputs();
}

void MetaBlock::grow_inputs() {
    if (inputs_.size() < properties_->inportCount) resize(inputs_, properties_->inportCount);
}

result_t MetaBlock::calculate_type() {
    bool missing = false;
    for (port_t& port : inputs_) {
        if (!port.has_type() && port.source_port() != nullptr) port.set_type_if_unset(port.source_port()->type());
        missing = missing || !port.has_type();
    }
    if (missing || outputs_.empty() || outputs_[0].has_type()) return result_ok;
    type_t highest = type_unknown;
    for (const port_t& port : inputs_) highest = std::max(highest, port.type());
    outputs_[0].set_type_if_unset(highest);
    return result_ok;
}

std::int8_t MetaBlock::calculate_zone() noexcept {
    for (const port_t& port : inputs_) {
        const IMetaBlock* source = port.source_block();
        if (source == nullptr) continue;
        if (source->zone() == -1) {
            zone_ = -1;
            return -1;
        }
        zone_ = lifted_zone(zone_, tier_, *source);
    }
    return 0;
}

void MetaBlock::resize_ports(int inputs, int outputs) {
    if (inputs >= 0) inputs_.resize(static_cast<std::size_t>(inputs));
    if (outputs >= 0) outputs_.resize(static_cast<std::size_t>(outputs));
}

void MetaBlock::write_blanks(sys::File& file, std::int64_t count) {
    if (count > 0) file.write(std::string(static_cast<std::size_t>(count), ' '));
}

result_t MetaBlock::code_comment_c(sys::File& file, std::uint64_t indent) {
    write_indented(indent, file, "/*\n");
    write_indented(indent, file, " * path: {:s}\n", properties_->path);
    write_indented(indent, file, " * class: {:s}\n", class_name());
    write_indented(indent, file, " * id: {:d}, parent: {:d}, tier: {:d}, zone: {:d}\n", id(), parent_id(), tier(),
                   zone());
    write_indented(indent, file, " */\n");
    return result_ok;
}

result_t MetaBlock::code_comment_py(sys::File& file, std::uint64_t indent) {
    write_indented(indent, file, "# path: {:s}\n", properties_->path);
    write_indented(indent, file, "# class: {:s}\n", class_name());
    write_indented(indent, file, "# id: {:d}, parent: {:d}, tier: {:d}, zone: {:d}\n", id(), parent_id(), tier(),
                   zone());
    return result_ok;
}

result_t MetaBlock::code_struct_c(sys::File& file) {
    file.print("typedef struct\n{{\n");
    for (std::size_t i = 0; i < outputs_.size(); ++i)
        write_indented(1, file, "{:s} port{:d};\n", c_type(outputs_[i]), i);
    file.print("}} {:s};\n\n", struct_name());
    return result_ok;
}

result_t MetaBlock::code_struct_py(sys::File& file) {
    file.print("class {:s}_t():\n", class_name());
    write_indented(1, file, "def __init__(self):\n");
    for (std::size_t i = 0; i < outputs_.size(); ++i) write_indented(2, file, "self.port{:d} = 0\n", i);
    file.print("\n");
    return result_ok;
}

result_t MetaBlock::code_init_c(sys::File& file, const char*) {
    write_indented(1, file, "// no initialization is required\n");
    return result_ok;
}

result_t MetaBlock::code_init_py(sys::File& file, const char*) {
    write_indented(2, file, "# no initialization is required\n");
    return result_ok;
}

result_t MetaBlock::code_step_c(sys::File& file, const char*) {
    write_step_c(file, 0, "// no code generated\n");
    return result_ok;
}

result_t MetaBlock::code_step_py(sys::File& file, const char*) {
    write_step_py(file, 0, "# no code generated\n");
    return result_ok;
}

std::string MetaBlock::struct_name() const {
    std::string name = class_name();
    if (!outputs_.empty()) name += '_';
    for (const port_t& port : outputs_) {
        const char* type = port.type_name();
        name += type != nullptr ? type : "(null)";
    }
    return name + "_t";
}

std::string MetaBlock::struct_name_py() const { return std::string(class_name()) + "_t"; }

std::string MetaBlock::own_state(const char* prefix) const {
    return tessel::format("{}{}_{}", prefix, properties_->name, properties_->id);
}

std::string MetaBlock::own_port(const char* prefix, int index) const {
    return tessel::format("{}{}_{}.port{}", prefix, properties_->name, properties_->id, index);
}

std::string MetaBlock::in_value(const char* prefix, std::size_t index) const {
    if (index >= inputs_.size() || inputs_[index].source_block() == nullptr) return "0";
    const port_t& port = inputs_[index];
    const IMetaBlock& source = *port.source_block();
    return tessel::format("{}{}_{}.port{}", prefix, source.name(), source.id(), port.source_index());
}

const char* MetaBlock::c_type(const port_t& port) noexcept {
    const char* name = port.c_type_name();
    return name != nullptr ? name : "(null)";
}

std::string MetaBlock::param_text(const char* key) const {
    const auto found = properties_->parameters.find(key);
    if (found == properties_->parameters.end()) return {};
    const var_t& value = found->second.value;
    return value.is_text() ? std::string(value.text()) : value.to_string();
}

std::unique_ptr<ExecBlock> MetaBlock::create_exec() {
    const form_t form = this->form();
    if (form.row == nullptr) return nullptr;
    auto exec = form.row->make();
    exec->set_identity(id(), zone());
    if (form.record.data() != nullptr) exec->configure(form.record.data());
    return exec;
}

std::optional<formula_t> MetaBlock::formula() {
    const form_t form = this->form();
    if (form.row == nullptr) return std::nullopt;
    const std::span<const type_t> types(form.row->types);
    const type_t out = form.row->outputs != 0 ? types[form.row->inputs] : type_unknown;
    formula_t formula = form.row->trace(types.first(form.row->inputs), out, form.record.data());
    // the class knows its inputs by names of their own
    if (const class_row_t* row = factory::find_class(class_hash()); row != nullptr) {
        auto input = formula.inputs.begin();
        for (const port_traits_t& port : row->traits().inputs)
            if (input != formula.inputs.end()) (input++)->name = port.name;
    }
    return formula;
}

}  // namespace tessel
