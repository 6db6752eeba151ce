// What the machine's memory can hold.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace zarn {

/// Bytes that the machine can still give, 0 when it does not say.
double free_memory();

/// About how many bytes a model file with a text of that length takes once it is loaded, whatever stands in it.
double memory_of_text(std::size_t length);

/// The same for a text at hand, with the objects in it.
double memory_of(std::string_view text);

/// Why so many bytes are not worth a try, "" when they are there.
std::string too_large(double bytes);

}  // namespace zarn
