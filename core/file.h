// Reading and formatted writing of files.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "core/export.h"
#include "core/format.h"

namespace tessel::sys {

inline constexpr int file_read = 1;
inline constexpr int file_create = 2;
inline constexpr int file_append = 8;

/// An open file. Opening failure and every failed write raise `std::system_error` from `errno`.
class BLOCKS_API File {
public:
    /// Opens `path` for reading (1), creates it for writing (2), or opens it for appending (8).
    File(const std::filesystem::path& path, int mode);
    File(const File&) = delete;
    File& operator=(const File&) = delete;
    ~File();

    /// Next line, its line end kept and zero-terminated; null at the end of the file. The text lives until the next
    /// call. A read error raises `std::system_error`.
    char* readline();
    /// What is left of the file, with room for `slack` bytes more. Reading ends at the size that a regular file had
    /// when it was opened: some of the system's own tell 0 and never end, and a log may grow as fast as it is read.
    /// What has no size, such as a pipe, is read to its end and raises `std::system_error` (EFBIG) beyond 512 MiB.
    std::string read_rest(std::size_t slack = 0);
    /// Length of the line that `readline` returned last: it may hold zero bytes.
    std::size_t line_length() const noexcept { return line_length_; }

    /// Text that the next write puts in front of its own.
    void set_pending(std::string_view text) { pending_ = text; }
    /// Writes bytes as they are, behind the pending text.
    void write(std::string_view bytes);
#if BLOCKS_FORMAT
    /// Writes formatted text, behind the pending text.
    template <class... Args>
    void print(format_string<Args...> text, Args&&... args) {
        write(tessel::format(text, std::forward<Args>(args)...));
    }
#endif
    /// Flushes and closes; a text that cannot reach the disk is an error here, where the destructor could not say so.
    void close();

private:
    void put(std::string_view bytes);
    /// Reads up to `most` bytes behind `text`; whether there were as many.
    bool append_bytes(std::string& text, std::size_t most);

    std::FILE* stream_ = nullptr;
    std::optional<std::uintmax_t> size_;  // of a regular file, when it was opened
    std::string path_;
    std::string pending_;
    char* line_ = nullptr;
    std::size_t capacity_ = 0;
    std::size_t line_length_ = 0;
};

}  // namespace tessel::sys
