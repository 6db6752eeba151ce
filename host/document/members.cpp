#include "host/document/members.h"

#include <nlohmann/json.hpp>

namespace zarn {

std::string text_of(std::string_view value) {
    const auto parsed = nlohmann::json::parse(value, nullptr, false);
    return parsed.is_string() ? parsed.get<std::string>() : std::string();
}

}  // namespace zarn
