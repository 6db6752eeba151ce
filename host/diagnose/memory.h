// What the machine's memory can hold.
#pragma once

#include <filesystem>
#include <string>

namespace zarn {

/// Bytes that the machine can still give, 0 when it does not say.
double free_memory();

/// About how many bytes a model file takes once it is loaded, 0 when there is no such file. A file whose text alone is
/// too much is not read.
double memory_of(const std::filesystem::path& file);

/// Why so many bytes are not worth a try, "" when they are there.
std::string too_large(double bytes);

}  // namespace zarn
