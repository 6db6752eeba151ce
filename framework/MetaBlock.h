// Common base of all block classes.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "IMetaBlock.h"
#include "PropertiesBlock.h"
#include "core/export.h"
#include "core/file.h"
#include "core/format.h"
#include "core/hash.h"
#include "core/result.h"
#include "core/var.h"
#include "framework/PortList.h"
#include "framework/form.h"
#include "port.h"

namespace tessel {

/// Implements `IMetaBlock` over a shared `PropertiesBlock`. A class derives, answers `class_hash`, `class_name` and, if
/// it has a step, `form`, and overrides what differs.
class MetaBlock : public IMetaBlock {
public:
    explicit MetaBlock(std::shared_ptr<PropertiesBlock> properties);

    bool has_all_types() const noexcept override;
    bool has_all_sources() const noexcept override;
    bool failed() const noexcept override { return failed_; }
    std::uint64_t id() const noexcept override { return properties_->id; }
    std::uint64_t parent_id() const noexcept override { return properties_->parent; }
    std::string_view name() const noexcept override { return properties_->name; }
    std::uint32_t signature() const noexcept override;
    std::int32_t tier() const noexcept override { return tier_; }
    std::int32_t zone() const noexcept override { return zone_; }
    std::uint64_t input_count() const noexcept override { return inputs_.size(); }
    std::uint64_t output_count() const noexcept override { return outputs_.size(); }
    const port_t* input(std::int16_t index) const noexcept override;
    port_t* input(std::int16_t index) noexcept override;
    const port_t* output(std::int16_t index) const noexcept override;
    port_t* output(std::int16_t index) noexcept override;
    var_t& param(const char* key) override;
    float* colors() noexcept override { return &properties_->red; }
    float* geometry() noexcept override { return &properties_->x; }
    void set_failed(bool failed) noexcept override { failed_ = failed; }
    void set_name(std::string_view name) override { properties_->name = name; }
    void set_path(std::string_view path) override { properties_->path = path; }
    void set_python_path(std::string_view path) override { properties_->python_path = path; }
    void set_parent_id(std::uint64_t id) noexcept override { properties_->parent = id; }
    void set_colors(const float* colors) noexcept override;
    void set_geometry(const float* geometry) noexcept override;
    void set_tier(std::int32_t tier) noexcept override { tier_ = tier; }
    void export_json(nlohmann::json& out) override;
    void import_json(const nlohmann::json& in) final;
    result_t calculate_type() override;
    std::int8_t calculate_zone() noexcept override;
    result_t code_comment_c(sys::File& file, std::uint64_t indent) override;
    result_t code_comment_py(sys::File& file, std::uint64_t indent) override;
    result_t code_struct_c(sys::File& file) override;
    result_t code_struct_py(sys::File& file) override;
    result_t code_init_c(sys::File& file, const char* prefix) override;
    result_t code_init_py(sys::File& file, const char* prefix) override;
    result_t code_step_c(sys::File& file, const char* prefix) override;
    result_t code_step_py(sys::File& file, const char* prefix) override;
    std::string struct_name() const override;
    std::string struct_name_py() const override;
    std::string_view path() const noexcept override { return properties_->path; }
    std::string_view python_path() const noexcept override { return properties_->python_path; }
    std::unique_ptr<ExecBlock> create_exec() override;

    /// What the block computes in a step for its port types, nothing where it does not run: the formula of the kernel
    /// from which `create_exec` makes the object, with the same parameters.
    BLOCKS_API std::optional<formula_t> formula();

    /// Forces the port counts: fewer drops ports at the end, more adds untyped ones. A negative count keeps the
    /// vector. Only before links exist.
    void resize_ports(int inputs, int outputs);

    /// Adds the inputs that the data asks for beyond those that are there: what `import_json` does when it has read.
    void grow_inputs();

    const PropertiesBlock& properties() const noexcept { return *properties_; }

protected:
    /// The kernel that the block runs as, for its port types.
    virtual form_t form() { return {}; }
    /// The row of the block's port types, null for none.
    const signature_t* row_in(signatures_t table) const { return find_signature(table, signature()); }

    /// Writes `units` * 4 blanks, then the formatted text.
    template <class... Args>
    static void write_indented(std::uint64_t units, sys::File& file, format_string<Args...> text, Args&&... args) {
        write_blanks(file, static_cast<std::int64_t>(units) * 4);
        file.print(text, std::forward<Args>(args)...);
    }
    /// The same at the indent of C step code, (tier + extra) * 4 + 4 blanks.
    template <class... Args>
    void write_step_c(sys::File& file, int extra, format_string<Args...> text, Args&&... args) const {
        write_blanks(file, (std::int64_t{tier_} + extra) * 4 + 4);
        file.print(text, std::forward<Args>(args)...);
    }
    /// The same at the indent of Python step code, (tier + extra) * 4 + 8 blanks.
    template <class... Args>
    void write_step_py(sys::File& file, int extra, format_string<Args...> text, Args&&... args) const {
        write_blanks(file, (std::int64_t{tier_} + extra) * 4 + 8);
        file.print(text, std::forward<Args>(args)...);
    }

    /// "p_model->Gain_42": the block's state in generated code.
    std::string own_state(const char* prefix) const;
    /// "p_model->Gain_42.port0": an output of the block in generated code.
    std::string own_port(const char* prefix, int index = 0) const;
    /// The variable of the output that feeds an input in generated code; "0" for an input that nothing feeds.
    std::string in_value(const char* prefix, std::size_t index) const;
    /// C type of a port; "(null)" while it has none.
    static const char* c_type(const port_t& port) noexcept;
    /// A parameter as text: as written, or a number in decimal.
    std::string param_text(const char* key) const;

    static constexpr const char* now_value_c = "p_model->time_now_sec";
    static constexpr const char* now_value_py = "self.time_now_sec";
    static constexpr const char* step_value_c = "p_model->time_step_sec";
    static constexpr const char* step_value_py = "self.time_step_sec";

    PortList inputs_;
    PortList outputs_;
    std::int32_t tier_ = -1;
    std::int32_t zone_ = -1;
    std::shared_ptr<PropertiesBlock> properties_;
    bool failed_ = false;

private:
    static void write_blanks(sys::File& file, std::int64_t count);
};

}  // namespace tessel
