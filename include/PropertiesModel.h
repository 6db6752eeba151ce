// What a model holds beside its blocks: settings, links, enable map.
#pragma once

#include <cstddef>
#include <cstdint>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "EnableMap.h"
#include "core/export.h"
#include "core/var.h"

namespace tessel {

/// A bend of a drawn link, in canvas units.
struct point_t {
    std::int32_t x = 0;
    std::int32_t y = 0;
};

/// A connection from an output port to an input port.
struct link_t {
    std::uint64_t srcId = 0;
    std::uint64_t dstId = 0;
    std::int16_t srcPort = 0;
    std::int16_t dstPort = 0;  ///< -1 is a subsystem's enable input
    std::string label;
    std::vector<point_t> breakpoints;
    bool resolved = false;
    bool hidden = false;  ///< from a referenced file: never exported
};

/// Settings by key ("ti", "tf", "ts" in seconds), links in insertion order, and for each block id the `enable` block
/// of its own subsystem (first) and the one that gates it (second), 0 for none.
class BLOCKS_API PropertiesModel {
public:
    PropertiesModel();

    bool is_key(std::string_view key) const;
    /// Raises `std::out_of_range` ("invalid unordered_map<K, T> key") for a key that is not there.
    const var_t& get(std::string_view key) const;
    void set(std::string_view key, var_t value);
    /// The enable map's entry of a block. Raises `std::out_of_range` as `get` does.
    const std::pair<std::uint64_t, std::uint64_t>& enables_of(std::uint64_t id) const;
    void insert_link(std::uint64_t srcId, std::uint64_t dstId, short srcPort, short dstPort, std::string label);
    void insert_link(std::uint64_t srcId, std::uint64_t dstId, short srcPort, short dstPort, std::string label,
                     std::vector<point_t>&& breakpoints, bool hidden);
    /// Adds "links", "model" and "metadata" to `out`, which is null or an object. Hidden links stay out.
    void export_json(nlohmann::json& out);
    /// Appends the links of `in` and, unless it is a referenced file, takes its settings. Raises the JSON library's
    /// exceptions.
    void import_json(const nlohmann::json& in, bool is_reference);

    /// Erases every link between the two blocks and returns how many went; the others keep their order.
    std::size_t remove_links(std::uint64_t srcId, std::uint64_t dstId);

    std::unordered_map<std::string, var_t> parameters;
    EnableMap enable_map;
    std::vector<link_t> links;
};

}  // namespace tessel
