// Reading a model file: once, and no further than it was long when it was opened.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>
#include <utility>

namespace zarn {

/// What a path led to.
struct content_t {
    std::string text;  ///< with `tessel::json::padding` blanks behind `length`
    std::size_t length = 0;
    std::string problem;     ///< why there is no text, "" when there is one
    bool too_large = false;  ///< whether the problem is that the machine's memory cannot hold it
    std::pair<std::uint64_t, std::uint64_t> identity{};  ///< device and number of the file, {0, 0} without one
};

/// The problem with a pipe or a device.
inline constexpr const char* not_regular = "not a regular file";

/// Opens a file and reads it. Only regular files are read: a pipe or a device may never come to an end. A file whose
/// text alone is more than the machine's memory is not read.
content_t read_file(const std::filesystem::path& path);

/// The open file that a name stands for: standard input for "-", and what a shell hands over as "/dev/stdin",
/// "/dev/fd/N" or "/proc/self/fd/N"; -1 for a name of any other kind.
int handed_over(const std::filesystem::path& name);

/// Reads an open file to its end, as far as the machine's memory can hold a model of that length. A pipe ends when its
/// writer closes it, a terminal with Ctrl-D; a device of another kind may have no end and is not read.
content_t read_to_end(int descriptor);

}  // namespace zarn
