#include "PropertiesModel.h"

#include <ctime>
#include <nlohmann/json.hpp>

#include "framework/json_number.h"
#include "framework/missing_key.h"

namespace tessel {
namespace {

// of the project, from the build
constexpr int version_major = BLOCKS_VERSION_MAJOR;
constexpr int version_minor = BLOCKS_VERSION_MINOR;
constexpr int version_patch = BLOCKS_VERSION_PATCH;
constexpr int version_hexcode = version_major << 16 | version_minor << 8 | version_patch;

}  // namespace

PropertiesModel::PropertiesModel() : parameters(8) {
    set("ti", 0.0);
    set("tf", 10.0);
    set("ts", 1.0);
}

bool PropertiesModel::is_key(std::string_view key) const { return parameters.contains(std::string(key)); }

const var_t& PropertiesModel::get(std::string_view key) const {
    const auto found = parameters.find(std::string(key));
    if (found == parameters.end()) raise_missing_key();
    return found->second;
}

const std::pair<std::uint64_t, std::uint64_t>& PropertiesModel::enables_of(std::uint64_t id) const {
    return enable_map.at(id);
}

void PropertiesModel::set(std::string_view key, var_t value) { parameters[std::string(key)] = std::move(value); }

void PropertiesModel::insert_link(std::uint64_t srcId, std::uint64_t dstId, short srcPort, short dstPort,
                                  std::string label) {
    links.push_back({srcId, dstId, srcPort, dstPort, std::move(label), {}, false, false});
}

void PropertiesModel::insert_link(std::uint64_t srcId, std::uint64_t dstId, short srcPort, short dstPort,
                                  std::string label, std::vector<point_t>&& breakpoints, bool hidden) {
    links.push_back({srcId, dstId, srcPort, dstPort, std::move(label), std::move(breakpoints), false, hidden});
}

std::size_t PropertiesModel::remove_links(std::uint64_t srcId, std::uint64_t dstId) {
    return std::erase_if(links, [&](const link_t& link) { return link.srcId == srcId && link.dstId == dstId; });
}

void PropertiesModel::export_json(nlohmann::json& out) {
    for (const link_t& link : links) {
        if (link.hidden) continue;
        nlohmann::json points;  // stays null without bends
        for (const point_t& point : link.breakpoints)
            points.push_back({{"x", std::int64_t{point.x}}, {"y", std::int64_t{point.y}}});
        out["links"].push_back({{"srcId", link.srcId},
                                {"dstId", link.dstId},
                                {"srcPort", std::int64_t{link.srcPort}},
                                {"dstPort", std::int64_t{link.dstPort}},
                                {"label", link.label},
                                {"breakpoints", std::move(points)}});
    }
    for (const char* key : {"ti", "tf", "ts"}) out["model"][key] = parameters[key].payload<double>();
    out["metadata"] = {{"utc.save", static_cast<std::int64_t>(std::time(nullptr))},
                       {"version.hexcode", version_hexcode},
                       {"version.major", version_major},
                       {"version.minor", version_minor},
                       {"version.patch", version_patch}};
}

void PropertiesModel::import_json(const nlohmann::json& in, bool is_reference) {
    const auto port = [](const nlohmann::json& link, const char* key) {
        return static_cast<std::int16_t>(integer_at<int>(link, key));
    };
    if (const auto found = in.find("links"); found != in.end()) {
        for (const auto& link : *found) {
            const auto src = integer_at<std::uint64_t>(link, "srcId");
            const auto dst = integer_at<std::uint64_t>(link, "dstId");
            const auto src_port = port(link, "srcPort");
            const auto dst_port = port(link, "dstPort");
            auto label = link.value("label", std::string());
            std::vector<point_t> points;
            if (const auto bends = link.find("breakpoints"); bends != link.end()) {
                for (const auto& bend : *bends) {
                    const auto x = integer_at<std::int32_t>(bend, "x");
                    points.push_back({x, integer_at<std::int32_t>(bend, "y")});
                }
            }
            insert_link(src, dst, src_port, dst_port, std::move(label), std::move(points), is_reference);
        }
    }
    if (const auto found = in.find("model"); found != in.end() && !is_reference) {
        set("ti", found->value("ti", 0.0));
        set("tf", found->value("tf", 10.0));
        set("ts", found->value("ts", 1.0));
    }
}

}  // namespace tessel
