#include "host/diagnose/values.h"

#include <array>
#include <cmath>
#include <functional>
#include <limits>

#include "PropertiesModel.h"
#include "host/diagnose/source.h"

namespace zarn {
namespace {

using nlohmann::json;

constexpr std::array block_keys{"name",         "id",       "parent", "inportCount",
                                "outportCount", "geometry", "bg",     "backgroundColor"};

/// Whether `read` takes an object that holds this one member alone.
bool readable(const std::string& key, const json& value, const std::function<void(const json&)>& read) {
    try {
        json one = json::object();
        one[key] = value;
        read(one);
        return true;
    } catch (const std::exception&) {
        return false;
    }
}

/// What a key of a block must hold.
const char* wanted_kind(const std::string& key, bool is_parameter) {
    if (is_parameter) return "a text or a number";
    if (key == "name" || key == "label") return "a text";
    if (key == "geometry" || key == "bg" || key == "backgroundColor") return "an object with numbers";
    if (key == "breakpoints") return "an array of points";
    return "a number";
}

/// The first member of an object that is no number, "" when there is none.
std::string first_odd_member(const json& object) {
    if (!object.is_object()) return {};
    for (const auto& [key, value] : object.items())
        if (!value.is_number() && !value.is_boolean()) return key;
    return {};
}

void report_kind(Report& report, severity_t weight, std::size_t file, const std::string& pointer,
                 const std::string& key, const json& value, bool is_parameter, const std::string& owner) {
    std::string place = pointer + segment(key);
    const json* at = &value;
    std::string named = key;
    const std::string inner = first_odd_member(value);
    if (!inner.empty()) {
        place += segment(inner);
        at = &value[inner];
        named += "." + inner;
    }
    const char* wanted = inner.empty() ? wanted_kind(key, is_parameter) : "a number";
    report.at_place("Z106", weight, file, place,
                    tessel::format("{}: \"{}\" is {}, but must be {}", owner, named, kind_of(*at), wanted),
                    tessel::format("write {} there, or leave the key out", wanted));
}

/// Reports a number that a field cannot hold as it is written.
void check_integer(Report& report, const json& value, double lowest, double highest, const std::string& owner,
                   const std::string& key, std::size_t file, const std::string& place, const char* mend) {
    if (!value.is_number()) return;
    const double number = value.get<double>();
    const bool fraction = value.is_number_float() && number != std::trunc(number);
    if (!fraction && number >= lowest && number <= highest) return;
    report.at_place("Z107", severity_t::warning, file, place,
                    tessel::format("{}: \"{}\" is {}, which is read as an integer {}", owner, key, value.dump(),
                                   fraction ? "without its fraction" : "of too few bits"),
                    mend);
}

constexpr double highest_id = 18446744073709551615.0;
constexpr double highest_int = std::numeric_limits<int>::max();
constexpr double lowest_int = std::numeric_limits<int>::min();

/// Reports a port count that the library refuses or that can only be a slip. Returns whether it refuses it.
bool check_port_count(Report& report, const json& object, const std::string& owner, std::size_t file,
                      const std::string& pointer, severity_t weight) {
    const auto found = object.find("inportCount");
    if (found == object.end() || !found->is_number()) return false;
    const double count = found->get<double>();
    if (count >= 0.0 && count <= static_cast<double>(most_ports)) return false;
    // beyond 32 bits the count wraps, to a count that may be harmless
    if (count > highest_int || count < lowest_int) {
        check_integer(report, *found, lowest_int, highest_int, owner, "inportCount", file, pointer + "/inportCount",
                      "write the number of inputs that the block has");
        tessel::PropertiesBlock properties;
        properties.import_json(json{{"inportCount", *found}});
        if (properties.inportCount <= static_cast<std::uint64_t>(most_ports)) return false;
    }
    report.at_place(
        "Z115", weight, file, pointer + "/inportCount",
        tessel::format("{}: \"inportCount\" is {}, and a block has 0 to {} inputs", owner, found->dump(), most_ports),
        "write the number of inputs that the block has, at most 8");
    return true;
}

void check_keys(Report& report, const json& object, const tessel::class_row_t& row, const std::string& owner,
                std::size_t file, const std::string& pointer) {
    std::vector<std::string> known(block_keys.begin(), block_keys.end());
    if (row.defaults != nullptr)
        for (const auto& [key, parameter] : *row.defaults) known.push_back(key);
    std::ranges::sort(known);
    for (const auto& [key, value] : object.items()) {
        const std::string place = pointer + segment(key);
        if (!std::ranges::binary_search(known, key)) {
            const std::string near = nearest_name(key, known);
            if (near.empty() || object.contains(near)) continue;
            report.at_place(
                "Z109", severity_t::warning, file, place,
                tessel::format("{}: the key \"{}\" means nothing here, and \"{}\" is missing", owner, key, near),
                tessel::format("write \"{}\"", near));
        } else if (key == "id" || key == "parent") {
            check_integer(report, value, 0.0, highest_id, owner, key, file, place,
                          "write the id in decimal digits, without sign and fraction");
        } else if (row.defaults != nullptr && row.defaults->contains(key)) {
            check_integer(report, value, lowest_int, highest_int, owner, key, file, place,
                          "write the number as a text, in quotes");
        }
    }
}

}  // namespace

const char* kind_of(const json& value) {
    switch (value.type()) {
        case json::value_t::object: return "an object";
        case json::value_t::array: return "an array";
        case json::value_t::string: return "a text";
        case json::value_t::boolean: return "true or false";
        case json::value_t::null: return "null";
        default: return "a number";
    }
}

json check_block_values(Report& report, const json& object, const tessel::class_row_t& row, std::size_t file,
                        const std::string& pointer, bool& refused, severity_t weight) {
    const auto read = [&row](const json& in) {
        tessel::PropertiesBlock properties;
        if (row.defaults != nullptr) properties.parameters = *row.defaults;
        properties.import_json(in);
    };
    std::string owner = row.name;
    if (const auto name = object.find("name"); name != object.end() && name->is_string())
        owner += " " + in_quotes(name->get<std::string>());

    refused = false;
    json kept = object;
    check_keys(report, object, row, owner, file, pointer);
    if (check_port_count(report, object, owner, file, pointer, weight)) {
        refused = true;
        kept.erase("inportCount");
    }
    try {
        read(kept);
        return kept;
    } catch (const std::exception&) {
        refused = true;
    }
    for (const auto& [key, value] : object.items()) {
        if (readable(key, value, read)) continue;
        const bool is_parameter = row.defaults != nullptr && row.defaults->contains(key);
        report_kind(report, weight, file, pointer, key, value, is_parameter, owner);
        kept.erase(key);
    }
    return kept;
}

json check_link_values(Report& report, const json& link, std::size_t file, const std::string& pointer, bool& refused,
                       severity_t weight) {
    const auto read = [](const json& one) {
        tessel::PropertiesModel properties;
        properties.import_json(json{{"links", json::array({one})}}, true);
    };
    if (!link.is_object()) {
        report.at_place("Z106", weight, file, pointer,
                        tessel::format("this link is {}, but must be an object", kind_of(link)),
                        "write an object with \"srcId\", \"dstId\", \"srcPort\" and \"dstPort\"");
        refused = true;
        return json::object();
    }
    refused = false;
    json kept = link;
    for (const auto& [key, value] : link.items()) {
        const std::string place = pointer + segment(key);
        if (!readable(key, value, read)) {
            report_kind(report, weight, file, pointer, key, value, false, "link");
            kept.erase(key);
            refused = true;
        } else if (key == "srcId" || key == "dstId") {
            check_integer(report, value, 0.0, highest_id, "link", key, file, place,
                          "write the id in decimal digits, without sign and fraction");
        } else if (key == "srcPort" || key == "dstPort") {
            check_integer(report, value, -32768.0, 65535.0, "link", key, file, place,
                          "write the index of the port, from 0, or -1 for a subsystem's enable input");
        }
    }
    return kept;
}

bool check_setting_values(Report& report, const json& settings, std::size_t file) {
    if (!settings.is_object()) {
        report.at_place("Z106", severity_t::error, file, "/model",
                        tessel::format("\"model\" is {}, but must be an object", kind_of(settings)),
                        "write an object with \"ti\", \"tf\" and \"ts\", or leave the key out");
        return false;
    }
    bool well = true;
    for (const char* key : {"ti", "tf", "ts"}) {
        const auto found = settings.find(key);
        if (found == settings.end() || found->is_number()) continue;
        const auto read = [](const json& one) {
            tessel::PropertiesModel properties;
            properties.import_json(json{{"model", one}}, false);
        };
        if (readable(key, *found, read)) continue;
        report_kind(report, severity_t::error, file, "/model", key, *found, false, "settings");
        well = false;
    }
    return well;
}

}  // namespace zarn
