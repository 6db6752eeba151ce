#include "PropertiesBlock.h"

#include <nlohmann/json.hpp>
#include <optional>

#include "framework/block_members.h"
#include "framework/json_number.h"

namespace tessel {
namespace {

nlohmann::json widened(float value) { return static_cast<double>(value); }

/// A value of a document. Raises the JSON library's exceptions.
class DocumentValue {
public:
    explicit DocumentValue(const nlohmann::json& value) : value_(&value) {}

    std::string text(const char* key) const { return value_->value(key, std::string()); }
    template <class T>
    T integer(const char* key) const {
        return integer_at<T>(*value_, key);
    }
    float real(const char* key) const { return value_->value(key, 0.0f); }
    template <class Key>
    std::optional<DocumentValue> find(const Key& key) const {
        const auto found = value_->find(key);
        if (found == value_->end()) return std::nullopt;
        return DocumentValue(*found);
    }
    bool is_number() const { return value_->is_number(); }
    template <class T>
    T to_integer() const {
        return tessel::to_integer<T>(*value_);
    }
    std::string to_text() const { return value_->get<std::string>(); }

private:
    const nlohmann::json* value_;
};

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

void PropertiesBlock::import_json(const nlohmann::json& in) { import_members(*this, DocumentValue(in)); }

}  // namespace tessel
