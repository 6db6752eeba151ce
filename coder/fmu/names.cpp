#include "coder/fmu/names.h"

#include <algorithm>
#include <cctype>

#include "core/format.h"
#include "core/hash.h"
#include "framework/classes.h"

namespace tessel::fmu {
namespace {

/// Without capitals and underscores, in which keys of files and names of kernels differ ("timeOff", "time_off").
std::string plain(std::string_view key) {
    std::string result;
    for (const char c : key)
        if (c != '_') result += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return result;
}

/// The parameter of a class that a kernel knows by a name: by its key, or by what people call it.
const parameter_traits_t* parameter_of(const block_traits_t& traits, std::string_view name) {
    for (const parameter_traits_t& p : traits.parameters)
        if (plain(p.key) == plain(name)) return &p;
    for (const parameter_traits_t& p : traits.parameters)
        if (std::ranges::any_of(p.everyday, [name](const char* word) { return plain(word) == plain(name); })) return &p;
    return nullptr;
}

/// A path, or a place in the structure of a program, without what stands before its first point.
std::string_view below_first(std::string_view path) {
    const auto point = path.find('.');
    return point == std::string_view::npos ? path : path.substr(point + 1);
}

/// The unit in which a kernel has what a user gives in that of the parameter.
const char* measure_of(const unit_t& unit) {
    const std::string_view suffix = unit.suffix;
    if (suffix == seconds.suffix) return "s";
    if (suffix == hertz.suffix) return "rad/s";
    return suffix == degrees.suffix ? "rad" : "";
}

}  // namespace

Names::Names(const exact::unit_t& unit) : part_(unit.part) {
    std::unordered_map<std::string_view, std::uint64_t> owners;
    for (const exact::cell_t& cell : unit.cells)
        if (owners.emplace(cell.path, cell.block).first->second != cell.block) shared_.insert(cell.path);
}

std::string_view Names::below_root(std::string_view path) const {
    if (!part_.empty() && path.starts_with(part_ + ".")) return path.substr(part_.size() + 1);
    return below_first(path);
}

std::string Names::of(const exact::cell_t& cell) {
    const std::string_view member = below_first(cell.access);
    if (!cell.key.empty())
        return unique(has(member) ? format("{}.{}", below_root(cell.path), cell.key) : std::string(member));
    // outputs beside the first, and blocks of one path, have names of their own in the program
    const bool is_alone = cell.port <= 0 && !shared_.contains(cell.path);
    return unique(std::string(is_alone ? below_root(cell.path) : member));
}

std::string Names::unique(std::string text) {
    std::string name = text;
    for (int i = 2; !taken_.insert(name).second; ++i) name = format("{}_{}", text, i);
    return name;
}

Facts::Facts(const exact::unit_t& unit) {
    for (const exact::statement_t& statement : unit.statements)
        class_of_.emplace(statement.block, statement.class_name);
}

fact_t Facts::of(const exact::cell_t& cell) const {
    const auto found = class_of_.find(cell.block);
    const class_row_t* row =
        found == class_of_.end() ? nullptr : factory::find_class(class_hash_of(std::string_view(found->second)));
    if (row == nullptr) return {cell.path, ""};
    if (cell.key.empty()) return {format("{} ({})", cell.path, found->second), ""};
    const parameter_traits_t* parameter = parameter_of(row->traits(), cell.key);
    if (parameter == nullptr) return {format("{} of {} ({})", cell.key, cell.path, found->second), ""};
    return {format("{} of {} ({})", parameter->meaning, cell.path, found->second), measure_of(parameter->unit)};
}

}  // namespace tessel::fmu
