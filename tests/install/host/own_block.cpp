// A host with a class of its own that writes code: built without type records, as some applications are.
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <utility>

#include "ExecBlock.h"
#include "IMetaModel.h"
#include "PropertiesModel.h"
#include "coder_c.h"
#include "core/file.h"
#include "core/hash.h"
#include "core/python.h"
#include "core/var.h"
#include "factory.h"
#include "json.h"
#include "port.h"

namespace {

using namespace tessel;

/// A block of the library whose step is written otherwise.
class Negated final : public IMetaBlock {
public:
    explicit Negated(std::unique_ptr<IMetaBlock> inner) : inner_(std::move(inner)) {}

    bool has_all_types() const noexcept override { return inner_->has_all_types(); }
    bool has_all_sources() const noexcept override { return inner_->has_all_sources(); }
    bool failed() const noexcept override { return inner_->failed(); }
    std::uint64_t id() const noexcept override { return inner_->id(); }
    std::uint64_t parent_id() const noexcept override { return inner_->parent_id(); }
    std::uint32_t class_hash() const noexcept override { return inner_->class_hash(); }
    const char* class_name() const noexcept override { return inner_->class_name(); }
    std::string_view name() const noexcept override { return inner_->name(); }
    std::uint32_t signature() const noexcept override { return inner_->signature(); }
    std::int32_t tier() const noexcept override { return inner_->tier(); }
    std::int32_t zone() const noexcept override { return inner_->zone(); }
    std::uint64_t input_count() const noexcept override { return inner_->input_count(); }
    std::uint64_t output_count() const noexcept override { return inner_->output_count(); }
    const port_t* input(std::int16_t i) const noexcept override { return std::as_const(*inner_).input(i); }
    port_t* input(std::int16_t i) noexcept override { return inner_->input(i); }
    const port_t* output(std::int16_t i) const noexcept override { return std::as_const(*inner_).output(i); }
    port_t* output(std::int16_t i) noexcept override { return inner_->output(i); }
    var_t& param(const char* key) override { return inner_->param(key); }
    float* colors() noexcept override { return inner_->colors(); }
    float* geometry() noexcept override { return inner_->geometry(); }
    void set_failed(bool failed) noexcept override { inner_->set_failed(failed); }
    void set_name(std::string_view name) override { inner_->set_name(name); }
    void set_path(std::string_view path) override { inner_->set_path(path); }
    void set_python_path(std::string_view path) override { inner_->set_python_path(path); }
    void set_parent_id(std::uint64_t id) noexcept override { inner_->set_parent_id(id); }
    void set_colors(const float* colors) noexcept override { inner_->set_colors(colors); }
    void set_geometry(const float* geometry) noexcept override { inner_->set_geometry(geometry); }
    void set_tier(std::int32_t tier) noexcept override { inner_->set_tier(tier); }
    void export_json(nlohmann::json& out) override { inner_->export_json(out); }
    void import_json(const nlohmann::json& in) override { inner_->import_json(in); }
    result_t calculate_type() override { return inner_->calculate_type(); }
    std::int8_t calculate_zone() noexcept override { return inner_->calculate_zone(); }
    std::unique_ptr<ExecBlock> create_exec() override { return inner_->create_exec(); }
    result_t code_comment_c(sys::File& file, std::uint64_t n) override { return inner_->code_comment_c(file, n); }
    result_t code_comment_py(sys::File& file, std::uint64_t n) override { return inner_->code_comment_py(file, n); }
    result_t code_struct_c(sys::File& file) override { return inner_->code_struct_c(file); }
    result_t code_struct_py(sys::File& file) override { return inner_->code_struct_py(file); }
    result_t code_init_c(sys::File& file, const char* prefix) override { return inner_->code_init_c(file, prefix); }
    result_t code_init_py(sys::File& file, const char* prefix) override { return inner_->code_init_py(file, prefix); }
    result_t code_step_c(sys::File& file, const char* prefix) override {
        const IMetaBlock& source = *inner_->input(0)->source_block();
        const auto port = [prefix](const IMetaBlock& block) {
            return prefix + std::string(block.name()) + '_' + std::to_string(block.id()) + ".port0";
        };
        file.write("    " + port(*this) + " = -" + port(source) + ";  // by the host\n");
        return result_ok;
    }
    result_t code_step_py(sys::File& file, const char* prefix) override { return inner_->code_step_py(file, prefix); }
    std::string struct_name() const override { return inner_->struct_name(); }
    std::string struct_name_py() const override { return inner_->struct_name_py(); }

private:
    std::unique_ptr<IMetaBlock> inner_;
};

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fputs("usage: own_block MODEL FOLDER\n", stderr);
        return 2;
    }
    python::set_console(
        [](std::string_view text) { std::printf("%.*s\n", static_cast<int>(text.size()), text.data()); });
    const auto model = create_empty_meta_model();
    model->set_properties(std::make_shared<PropertiesModel>());
    if (json::load(model.get(), argv[1]) != result_ok) return 1;
    for (auto& block : *model)
        if (block->class_hash() == class_hash_of("abs")) block = std::make_unique<Negated>(std::move(block));
    if (const result_t result = model->compile(); result != result_ok) {
        std::printf("compile: %s\n", result_name(result));
        return 1;
    }
    if (coder_c::generate_code(argv[2], model.get()) != result_ok) return 1;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(argv[2])) {
        if (!entry.is_regular_file()) continue;
        std::ifstream file(entry.path());
        for (std::string line; std::getline(file, line);)
            if (line.find("by the host") != std::string::npos) std::printf("%s\n", line.c_str());
    }
    return 0;
}
