#include "coder/walk.h"

#include <algorithm>
#include <system_error>
#include <unordered_set>

#include "core/format.h"
#include "core/hash.h"
#include "port.h"

namespace tessel::coder {
namespace {

/// The signal that drives an `enable` block, as generated code reads it: not a port of the block itself.
std::string condition_of(const IMetaBlock& enable, const char* prefix) {
    const port_t* port = enable.input_count() != 0 ? enable.input(0) : nullptr;
    if (port == nullptr || port->source_block() == nullptr) return "0";
    const IMetaBlock& source = *port->source_block();
    return tessel::format("{}{}_{}.port{}", prefix, source.name(), source.id(), port->source_index());
}

/// The regions of a generated `step`: one for each subsystem, opened at its first block and never again.
class Regions {
public:
    Regions(IMetaModel& model, const language_t& language, sys::File& file)
        : model_(model), language_(language), file_(file) {}

    std::int32_t level() const noexcept { return level_; }

    /// Closes and opens what has to be between the block before and this one.
    void enter(const IMetaBlock& block) {
        const std::uint64_t parent = block.parent_id();
        if (parent == parent_) return;
        // one region at most, however many levels lie between the two
        if (language_.close_region != nullptr && level_ >= block.tier()) language_.close_region(file_, level_);
        level_ = block.tier();
        parent_ = parent;
        if (!opened_.insert(parent).second) return;
        const IMetaBlock* enable = model_.find_enable(block.id());
        language_.open_region(file_, level_, enable != nullptr ? condition_of(*enable, language_.prefix) : "");
    }

    void close_all() {
        if (language_.close_region == nullptr) return;
        for (; level_ >= 1; --level_) language_.close_region(file_, level_);
    }

private:
    IMetaModel& model_;
    const language_t& language_;
    sys::File& file_;
    std::unordered_set<std::uint64_t> opened_{0};
    std::uint64_t parent_ = 0;
    std::int32_t level_ = 0;
};

}  // namespace

void write_level(sys::File& file, std::int32_t level) {
    file.print("{:s}", std::string(static_cast<std::size_t>(std::max(level, 0)) * 4, ' '));
}

std::filesystem::path make_target(std::string_view folder, std::string_view name) {
    std::filesystem::path path = std::filesystem::path(folder) / name;
    std::error_code error;
    std::filesystem::create_directories(path, error);
    if (error) throw std::filesystem::filesystem_error("create_directories", path, error);
    return path;
}

void write_structures(IMetaModel& model, const language_t& language, sys::File& file) {
    std::unordered_set<std::uint32_t> written;
    for (const auto& block : model) {
        if (block == nullptr || block->output_count() == 0) continue;
        const std::string name = ((*block).*language.struct_name)();
        if (written.insert(class_hash_of(name)).second) ((*block).*language.code_struct)(file);
    }
}

void write_inits(IMetaModel& model, const language_t& language, sys::File& file) {
    for (const auto& block : model) {
        if (block == nullptr) continue;
        ((*block).*language.code_comment)(file, language.indent);
        if (language.make_state != nullptr && block->output_count() != 0) language.make_state(file, *block);
        ((*block).*language.code_init)(file, language.prefix);
        file.print("\n");
    }
}

void write_steps(IMetaModel& model, const language_t& language, sys::File& file) {
    Regions regions(model, language, file);
    for (const auto& block : model) {
        if (block == nullptr) continue;
        regions.enter(*block);
        const std::int64_t indent = std::int64_t{regions.level()} + static_cast<std::int64_t>(language.indent);
        ((*block).*language.code_comment)(file, static_cast<std::uint64_t>(std::max<std::int64_t>(indent, 0)));
        ((*block).*language.code_step)(file, language.prefix);
        file.print("\n");
    }
    regions.close_all();
}

}  // namespace tessel::coder
