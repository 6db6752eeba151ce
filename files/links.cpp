#include "files/links.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <nlohmann/json.hpp>
#include <string>
#include <utility>

namespace tessel::json {
namespace {

/// Takes the parser's events for a list of links. Every event answers whether reading goes on.
class LinkReader {
public:
    explicit LinkReader(std::size_t most) { links.reserve(most); }

    bool start_array(std::size_t) {
        if (place_ == place_t::outside) return go(place_t::list);
        return place_ == place_t::link && field_ == field_t::breakpoints && go(place_t::bends);
    }
    bool end_array() { return go(place_ == place_t::bends ? place_t::link : place_t::outside); }
    bool start_object(std::size_t) {
        if (place_ == place_t::list) {
            links.emplace_back();
            seen_ = 0;
            return go(place_t::link);
        }
        if (place_ != place_t::bends) return false;
        links.back().breakpoints.emplace_back();
        seen_in_bend_ = 0;
        return go(place_t::bend);
    }
    bool end_object() { return go(place_ == place_t::link ? place_t::list : place_t::bends); }
    bool key(const std::string& name) {
        field_ = place_ == place_t::link ? link_field(name) : bend_field(name);
        if (field_ == field_t::other) return true;
        unsigned& seen = place_ == place_t::link ? seen_ : seen_in_bend_;
        const auto bit = 1u << static_cast<unsigned>(field_);
        const bool again = (seen & bit) != 0;
        seen |= bit;
        return !again;
    }

    bool number_unsigned(std::uint64_t v) {
        if (!in_object()) return false;
        switch (field_) {
            case field_t::src_id: links.back().srcId = v; return true;
            case field_t::dst_id: links.back().dstId = v; return true;
            default: return v <= std::uint64_t{most_int} && store(static_cast<std::int32_t>(v));
        }
    }
    bool number_integer(std::int64_t v) {
        return in_object() && v >= least_int && v <= most_int && store(static_cast<std::int32_t>(v));
    }
    bool string(std::string& text) {
        if (!in_object() || field_ != field_t::label) return is_other();
        links.back().label.assign(text);  // not moved: a text of no length would keep the room of the longest
        return true;
    }
    bool null() { return is_other() || (place_ == place_t::link && field_ == field_t::breakpoints); }
    bool boolean(bool) { return is_other(); }
    bool number_float(double, const std::string&) { return is_other(); }
    bool binary(const std::vector<std::uint8_t>&) { return false; }
    bool parse_error(std::size_t, const std::string&, const nlohmann::json::exception&) { return false; }

    std::vector<link_t> links;

private:
    enum class place_t { outside, list, link, bends, bend };
    enum class field_t : unsigned { src_id, dst_id, src_port, dst_port, label, breakpoints, x, y, other };
    static constexpr std::int32_t least_int = std::numeric_limits<std::int32_t>::min();
    static constexpr std::int32_t most_int = std::numeric_limits<std::int32_t>::max();

    bool go(place_t place) {
        place_ = place;
        return true;
    }
    bool in_object() const { return place_ == place_t::link || place_ == place_t::bend; }
    /// Whether the value belongs to a key that nobody reads.
    bool is_other() const { return in_object() && field_ == field_t::other; }
    static field_t link_field(const std::string& name) {
        if (name == "srcId") return field_t::src_id;
        if (name == "dstId") return field_t::dst_id;
        if (name == "srcPort") return field_t::src_port;
        if (name == "dstPort") return field_t::dst_port;
        if (name == "label") return field_t::label;
        return name == "breakpoints" ? field_t::breakpoints : field_t::other;
    }
    static field_t bend_field(const std::string& name) {
        if (name == "x") return field_t::x;
        return name == "y" ? field_t::y : field_t::other;
    }
    bool store(std::int32_t v) {
        switch (field_) {
            case field_t::src_port: links.back().srcPort = static_cast<std::int16_t>(v); return true;
            case field_t::dst_port: links.back().dstPort = static_cast<std::int16_t>(v); return true;
            case field_t::x: links.back().breakpoints.back().x = v; return true;
            case field_t::y: links.back().breakpoints.back().y = v; return true;
            default: return field_ == field_t::other;
        }
    }

    place_t place_ = place_t::outside;
    field_t field_ = field_t::other;
    unsigned seen_ = 0;  // of the link, a bit for each key
    unsigned seen_in_bend_ = 0;
};

}  // namespace

std::optional<std::vector<link_t>> read_links(std::string_view list) {
    LinkReader reader(static_cast<std::size_t>(std::ranges::count(list, '{')));
    if (!nlohmann::json::sax_parse(list, &reader)) return std::nullopt;
    return std::move(reader.links);
}

}  // namespace tessel::json
