#include "PropertiesBlock.h"

#include <nlohmann/json.hpp>

#include "framework/json_number.h"

namespace tessel {
namespace {

nlohmann::json widened(float value) { return static_cast<double>(value); }

}  // namespace

PropertiesBlock::PropertiesBlock() = default;
PropertiesBlock::PropertiesBlock(const PropertiesBlock& other) = default;
PropertiesBlock& PropertiesBlock::operator=(const PropertiesBlock& other) = default;
PropertiesBlock::~PropertiesBlock() = default;

void PropertiesBlock::export_json(nlohmann::json& out) const {
    out["name"] = name;
    out["id"] = id;
    out["parent"] = parent;
    out["inportCount"] = inportCount;
    out["outportCount"] = outportCount;
    out["geometry"] = {{"x", widened(x)},
                       {"y", widened(y)},
                       {"width", widened(width)},
                       {"height", widened(height)},
                       {"rotation", widened(rotation)}};
    if (alpha > 0.0f)
        out["bg"] = {
            {"red", widened(red)}, {"green", widened(green)}, {"blue", widened(blue)}, {"alpha", widened(alpha)}};
    for (const auto& [key, parameter] : parameters) {
        const var_t& v = parameter.value;
        switch (v.type()) {
            case type_bool: out[key] = v.payload<bool>(); break;
            case type_int8: out[key] = std::int64_t{v.payload<std::int8_t>()}; break;
            case type_int16: out[key] = std::int64_t{v.payload<std::int16_t>()}; break;
            case type_int32: out[key] = std::int64_t{v.payload<std::int32_t>()}; break;
            case type_int64: out[key] = v.payload<std::int64_t>(); break;
            case type_uint8: out[key] = std::uint64_t{v.payload<std::uint8_t>()}; break;
            case type_uint16: out[key] = std::uint64_t{v.payload<std::uint16_t>()}; break;
            case type_uint32: out[key] = std::uint64_t{v.payload<std::uint32_t>()}; break;
            case type_uint64: out[key] = v.payload<std::uint64_t>(); break;
            case type_flt32: out[key] = widened(v.payload<float>()); break;
            case type_flt64: out[key] = v.payload<double>(); break;
            case type_cstr: out[key] = v.text(); break;
            default: break;
        }
    }
}

void PropertiesBlock::import_json(const nlohmann::json& in) {
    name = in.value("name", std::string());
    // a file's 0 leaves a parent that was preset
    if (const auto given = integer_at<std::uint64_t>(in, "parent"); given != 0) parent = given;
    id = integer_at<std::uint64_t>(in, "id");
    inportCount = static_cast<std::uint64_t>(std::int64_t{integer_at<int>(in, "inportCount")});
    outportCount = static_cast<std::uint64_t>(std::int64_t{integer_at<int>(in, "outportCount")});
    if (const auto found = in.find("geometry"); found != in.end()) {
        x = found->value("x", 0.0f);
        y = found->value("y", 0.0f);
        width = found->value("width", 0.0f);
        height = found->value("height", 0.0f);
        rotation = found->value("rotation", 0.0f);
    }
    // "backgroundColor" is the older key of "bg"
    auto color = in.find("bg");
    if (color == in.end()) color = in.find("backgroundColor");
    if (color != in.end()) {
        red = color->value("red", 0.0f);
        green = color->value("green", 0.0f);
        blue = color->value("blue", 0.0f);
        alpha = color->value("alpha", 0.0f);
    }
    for (auto& [key, parameter] : parameters) {
        const auto found = in.find(key);
        if (found == in.end()) continue;
        if (found->is_number()) parameter.value = var_t(to_integer<int>(*found));
        else parameter.value = found->get<std::string>();
    }
}

}  // namespace tessel
