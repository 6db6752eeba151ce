// A block at design level.
#pragma once

#include <cstdint>
#include <memory>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <string_view>

#include "core/export.h"
#include "core/result.h"

namespace tessel {

class ExecBlock;
class port_t;
class var_t;
namespace sys {
class File;
}

/// What compile passes, loader and generators see of one block. Call order: made by the factory, `import_json`, the
/// passes (`set_tier`, `calculate_type`, `calculate_zone`), then `create_exec` or the `code_` family.
/// Operations of the `code_` family return 0 when the text is written; a failed write raises `std::system_error`.
class IMetaBlock {
public:
    virtual ~IMetaBlock() = default;
    /// Whether no port, input or output, is without a type.
    virtual bool has_all_types() const noexcept = 0;
    /// Whether every input has a source.
    virtual bool has_all_sources() const noexcept = 0;
    /// Whether a pass has found a fault in this block.
    virtual bool failed() const noexcept = 0;
    virtual std::uint64_t id() const noexcept = 0;
    /// Id of the enclosing subsystem, 0 for the root.
    virtual std::uint64_t parent_id() const noexcept = 0;
    virtual std::uint32_t class_hash() const noexcept = 0;
    virtual const char* class_name() const noexcept = 0;
    virtual std::string_view name() const noexcept = 0;
    /// Hash of the text of all port types ("in=flt64|out=flt64"), the key of the runnable class.
    virtual std::uint32_t signature() const noexcept = 0;
    /// Nesting level, -1 before compile.
    virtual std::int32_t tier() const noexcept = 0;
    /// Execution level, -1 before compile: a block runs after the blocks of lower zones.
    virtual std::int32_t zone() const noexcept = 0;
    virtual std::uint64_t input_count() const noexcept = 0;
    virtual std::uint64_t output_count() const noexcept = 0;
    /// The port at an index below the count, which is not checked.
    virtual const port_t* input(std::int16_t index) const noexcept = 0;
    virtual port_t* input(std::int16_t index) noexcept = 0;
    virtual const port_t* output(std::int16_t index) const noexcept = 0;
    virtual port_t* output(std::int16_t index) noexcept = 0;
    /// The value of a parameter; a key that is not there is created with an empty value.
    virtual var_t& param(const char* key) = 0;
    /// Red, green, blue, alpha, 0.0 to 1.0 each.
    virtual float* colors() noexcept = 0;
    /// x, y, width, height, rotation.
    virtual float* geometry() noexcept = 0;
    virtual void set_failed(bool failed) noexcept = 0;
    virtual void set_name(std::string_view name) = 0;
    virtual void set_path(std::string_view path) = 0;
    virtual void set_python_path(std::string_view path) = 0;
    virtual void set_parent_id(std::uint64_t id) noexcept = 0;
    /// Stores each of red, green, blue that lies in 0.0 to 1.0.
    virtual void set_colors(const float* colors) noexcept = 0;
    /// Stores x and y within 0.0 to 10000.0 and width and height within 1.0 to 1000.0, each on its own.
    virtual void set_geometry(const float* geometry) noexcept = 0;
    virtual void set_tier(std::int32_t tier) noexcept = 0;
    /// Appends to a JSON array.
    virtual void export_json(nlohmann::json& out) = 0;
    /// Reads the JSON object of one block; raises the JSON library's exceptions.
    virtual void import_json(const nlohmann::json& in) = 0;
    /// Works out port types from those of the sources; called again while a type is missing.
    virtual result_t calculate_type() = 0;
    /// Works out the zone: 0 when done, -1 while a source's zone is unknown.
    virtual std::int8_t calculate_zone() noexcept = 0;
    /// A runnable object for the port types as they stand, empty when there is no runnable form.
    virtual std::unique_ptr<ExecBlock> create_exec() = 0;
    virtual result_t code_comment_c(sys::File& file, std::uint64_t indent) = 0;
    virtual result_t code_comment_py(sys::File& file, std::uint64_t indent) = 0;
    virtual result_t code_struct_c(sys::File& file) = 0;
    virtual result_t code_struct_py(sys::File& file) = 0;
    virtual result_t code_init_c(sys::File& file, const char* prefix) = 0;
    virtual result_t code_init_py(sys::File& file, const char* prefix) = 0;
    virtual result_t code_step_c(sys::File& file, const char* prefix) = 0;
    virtual result_t code_step_py(sys::File& file, const char* prefix) = 0;
    /// C type of the block's state in generated code.
    virtual std::string struct_name() const = 0;
    /// Class of the block's state in generated Python.
    virtual std::string struct_name_py() const = 0;
    /// Dotted names from the root to the block ("mainsys.plant.gain"). Empty before compile, and for a class of the
    /// host that keeps none.
    virtual std::string_view path() const noexcept { return {}; }
    /// The path as the interpreter's scope of the block's expressions; empty where `path` is.
    virtual std::string_view python_path() const noexcept { return {}; }
};

}  // namespace tessel
