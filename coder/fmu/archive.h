// Zip archives whose bytes are those of their content alone: no dates, no order but that of the names.
#pragma once

#include <map>
#include <string>

namespace tessel::fmu {

/// Content by path in the archive, with forward slashes.
using files_t = std::map<std::string, std::string>;

/// The archive, deflated. Raises `std::runtime_error` where there is not enough memory for it.
std::string write_archive(const files_t& files);

}  // namespace tessel::fmu
