// Zip archives whose bytes are those of their content alone: no dates, no order but that of the names.
#pragma once

#include <map>
#include <string>

namespace tessel::fmu {

/// Content by path in the archive, with forward slashes.
using files_t = std::map<std::string, std::string>;

/// The archive, deflated. Raises `std::runtime_error` where there is not enough memory for it.
std::string write_archive(const files_t& files);

/// The content of one file of an archive. Raises `std::runtime_error` where it is not there.
std::string read_member(const std::string& archive, const std::string& path);

}  // namespace tessel::fmu
