// What the machine's memory can hold.
#pragma once

#include <filesystem>
#include <string>

namespace zarn {

/// Bytes that the machine can still give, 0 when it does not say.
double free_memory();

/// Length of a file in bytes, 0 when there is none.
double length_of(const std::filesystem::path& file);

/// Why a text of that length is not worth a try: taken apart, it would not fit the memory. "" when it does.
std::string too_large(double length);

}  // namespace zarn
