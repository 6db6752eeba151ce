#include "coder/exact/unit.h"

#include <algorithm>

#include "coder/exact/assembly.h"
#include "core/format.h"

namespace tessel::exact {

std::vector<cell_number> unit_t::of(role_t role) const {
    std::vector<cell_number> found;
    for (std::size_t i = 0; i < cells.size(); ++i)
        if (cells[i].role == role) found.push_back(static_cast<cell_number>(i));
    return found;
}

const port_t* unit_t::find(std::string_view path, std::int16_t port) const {
    const auto at = std::ranges::find_if(ports, [&](const port_t& p) { return p.path == path && p.port == port; });
    return at != ports.end() ? &*at : nullptr;
}

const port_t* unit_t::find(std::uint64_t block, std::int16_t port) const {
    const auto at = std::ranges::find_if(ports, [&](const port_t& p) { return p.block == block && p.port == port; });
    return at != ports.end() ? &*at : nullptr;
}

namespace {

/// The blocks whose output has a wire with a label; wires joined of several have "#" between the parts.
std::unordered_set<std::uint64_t> labelled_blocks(const PropertiesModel& properties) {
    std::unordered_set<std::uint64_t> blocks;
    for (const link_t& link : properties.links)
        if (link.label.find_first_not_of('#') != std::string::npos) blocks.insert(link.srcId);
    return blocks;
}

}  // namespace

unit_t make_unit(IMetaModel& model, const PropertiesModel& properties, IExecModel& exec, const options_t& options) {
    if (!is_identifier(options.name))
        throw Refusal(
            tessel::format("'{}' is no name that C gives a variable; choose letters, digits and _, and no word "
                           "of the language",
                           options.name));
    draft_t draft = gather(model, properties, exec);
    if (!options.subsystem.empty()) cut_out(draft, options.subsystem);
    const auto setting = [&](const char* key) { return double(properties.get(key)); };
    unit_t head;
    head.name = options.name;
    head.model = options.model;
    head.meaning = options.meaning;
    head.part = draft.part;
    head.ti = setting("ti");
    head.tf = setting("tf");
    head.ts = setting("ts");
    return Assembly(draft, options).take(std::move(head), labelled_blocks(properties));
}

}  // namespace tessel::exact
