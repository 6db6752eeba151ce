// Values of one block or link in a model file.
#pragma once

#include <string>

#include "host/diagnose/report.h"

namespace zarn {

/// The most input or output ports that the library gives a block.
inline constexpr std::int64_t most_ports = 1 << 20;

/// Reports what of a block's object cannot be read as it is written. Returns the object without the values that the
/// library would refuse; `refused` tells whether there are any.
nlohmann::json check_block_values(Report& report, const nlohmann::json& object, const tessel::class_row_t& row,
                                  std::size_t file, const std::string& pointer, bool& refused, severity_t weight);

/// The same for a link.
nlohmann::json check_link_values(Report& report, const nlohmann::json& link, std::size_t file,
                                 const std::string& pointer, bool& refused, severity_t weight);

/// Reports an end that a link's object leaves out. Returns the finding, `none` when both are there.
finding_id check_link_ends(Report& report, const nlohmann::json& link, std::size_t file, const std::string& pointer);

/// Reports keys of a file that nobody reads.
void check_file_keys(Report& report, const nlohmann::json& root, std::size_t file);

/// The same for the "model" object. Returns whether the library can read it.
bool check_setting_values(Report& report, const nlohmann::json& settings, std::size_t file);

/// "a number", "a text", "an object": what a JSON value is, for messages.
const char* kind_of(const nlohmann::json& value);

}  // namespace zarn
