// JSON of messages.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

namespace zarn::serve {

/// Members stay in the order in which they are set.
using json_t = nlohmann::ordered_json;

/// In one line; bytes that are no UTF-8 are replaced.
inline std::string dumped(const json_t& value) { return value.dump(-1, ' ', false, json_t::error_handler_t::replace); }

}  // namespace zarn::serve
