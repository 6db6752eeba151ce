#include "files/links.h"

#include <simdjson.h>

#include <cstdint>
#include <utility>

#include "files/sections.h"

namespace tessel::json {
namespace {

static_assert(padding >= simdjson::SIMDJSON_PADDING);

using simdjson::SUCCESS;
using simdjson::dom::element;
using simdjson::dom::object;

// Every function answers whether it has found what it reads. Of a key that stands twice the last would count.

/// A number of 32 bits, of which a port takes the lower half.
template <class T>
bool read_number(element value, T& number) {
    std::int64_t given = 0;
    if (value.get(given) != SUCCESS || !std::in_range<std::int32_t>(given)) return false;
    number = static_cast<T>(given);
    return true;
}

/// Marks a key as seen.
bool is_first(unsigned& seen, unsigned bit) {
    const bool again = (seen & bit) != 0;
    seen |= bit;
    return !again;
}

/// The value of a key that nobody reads.
bool is_plain(element value) { return !value.is_object() && !value.is_array(); }

bool read_bend(element bend, point_t& point) {
    object members;
    if (bend.get(members) != SUCCESS) return false;
    unsigned seen = 0;
    for (const auto [key, value] : members) {
        bool taken = false;
        if (key == "x") taken = is_first(seen, 1) && read_number(value, point.x);
        else if (key == "y") taken = is_first(seen, 2) && read_number(value, point.y);
        else taken = is_plain(value);
        if (!taken) return false;
    }
    return true;
}

bool read_bends(element list, std::vector<point_t>& points) {
    if (list.is_null()) return true;
    simdjson::dom::array bends;
    if (list.get(bends) != SUCCESS) return false;
    for (const element bend : bends)
        if (!read_bend(bend, points.emplace_back())) return false;
    return true;
}

bool read_link(const object& members, link_t& link) {
    unsigned seen = 0;
    for (const auto [key, value] : members) {
        bool taken = false;
        if (key == "srcId") {
            taken = is_first(seen, 1) && value.get(link.srcId) == SUCCESS;
        } else if (key == "dstId") {
            taken = is_first(seen, 2) && value.get(link.dstId) == SUCCESS;
        } else if (key == "srcPort") {
            taken = is_first(seen, 4) && read_number(value, link.srcPort);
        } else if (key == "dstPort") {
            taken = is_first(seen, 8) && read_number(value, link.dstPort);
        } else if (key == "label") {
            std::string_view text;
            taken = is_first(seen, 16) && value.get(text) == SUCCESS;
            link.label = text;
        } else if (key == "breakpoints") {
            taken = is_first(seen, 32) && read_bends(value, link.breakpoints);
        } else {
            taken = is_plain(value);
        }
        if (!taken) return false;
    }
    return true;
}

}  // namespace

std::optional<std::vector<link_t>> read_links(std::span<const std::string_view> elements) {
    std::vector<link_t> links;
    links.reserve(elements.size());
    simdjson::dom::parser parser;
    for (const std::string_view text : elements) {
        object members;
        if (parser.parse(text.data(), text.size(), false).get(members) != SUCCESS) return std::nullopt;
        if (!read_link(members, links.emplace_back())) return std::nullopt;
    }
    return links;
}

}  // namespace tessel::json
