#include "host/edit/written.h"

#include "host/session/json_text.h"

namespace zarn::edit {
namespace {

using json_t = nlohmann::ordered_json;

std::string scalar(const json_t& value) {
    return value.is_string() ? json_string(value.get<std::string>()) : value.dump();
}

}  // namespace

std::string written(const json_t& value, const style_t& style) {
    if (!value.is_structured() || value.empty()) return scalar(value);
    style_t deeper = style;
    deeper.margin += style.unit;
    const std::string lead = style.spread ? "\n" + deeper.margin : "";
    const std::string between = style.spread ? "," + lead : style.comma;
    std::string text;
    if (value.is_array()) {
        for (const json_t& element : value) text += (text.empty() ? lead : between) + written(element, deeper);
    } else {
        for (const auto& [key, member] : value.items())
            text += (text.empty() ? lead : between) + json_string(key) + style.colon + written(member, deeper);
    }
    if (style.spread) text += "\n" + style.margin;
    return (value.is_array() ? "[" : "{") + text + (value.is_array() ? "]" : "}");
}

style_t inner_style(style_t element) {
    element.margin += element.unit + element.unit;
    return element;
}

}  // namespace zarn::edit
