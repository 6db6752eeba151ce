// Files that appear whole or not at all.
#pragma once

#include <cstdio>
#include <filesystem>
#include <string>
#include <string_view>

namespace zarn {

/// A file in the making, under a name beside the one that it will get; until `commit` an earlier file stays as it is,
/// and a link in its place stays one, whether it leads to a file or not. What killed processes left of the same file is
/// removed. A place that is no regular file, such as a pipe, is written to directly. Every operation raises
/// `std::runtime_error` with the reason, and what was written so far is removed.
class OutputFile {
public:
    explicit OutputFile(const std::filesystem::path& file);
    /// What is open there, which stays open.
    explicit OutputFile(int descriptor);
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;
    ~OutputFile();

    void write(std::string_view text);
    /// The name to write to, for a writer of another kind; nothing must have been written before.
    const std::string& temporary() const { return temporary_; }
    /// Puts the file in its place.
    void commit();

private:
    void open_beside();
    void remove_leftovers(const std::string& beginning) const;
    [[noreturn]] void fail(int error) const;

    std::filesystem::path target_;
    std::string temporary_;
    std::FILE* stream_ = nullptr;
    bool direct_ = false;
};

/// Removes the files in the making, for an abrupt end; can be called in a signal handler.
void remove_files_in_the_making() noexcept;

}  // namespace zarn
