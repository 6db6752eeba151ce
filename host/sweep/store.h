// The rows of a sweep on their way to a file.
#pragma once

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "host/session/output_file.h"
#include "host/sweep/sweep.h"

namespace zarn {

/// One row that was kept.
struct stored_row_t {
    std::uint64_t variant = 0;
    std::vector<double> numbers;  ///< values, measures, samples
    std::string ended;
};

/// A file of rows, batch by batch, beside the one that a sweep makes: what is in it when the process ends is there for
/// the next one. The manifest tells what the rows are of; a file with another one is not gone on with. Operations raise
/// `std::runtime_error` with the reason.
class RowStore {
public:
    /// Makes the file, or with `resume` goes on with one that is there.
    RowStore(std::filesystem::path file, std::string manifest, std::size_t numbers, bool resume);
    RowStore(const RowStore&) = delete;
    RowStore& operator=(const RowStore&) = delete;
    ~RowStore();

    /// The first variant that is not in it.
    std::uint64_t next() const { return next_; }
    /// Rows of the variants from `next` on, of which some are kept.
    void append(std::uint64_t count, const std::vector<stored_row_t>& kept);
    /// Calls `use` with every row, in order.
    void for_each(const std::function<void(const stored_row_t&)>& use) const;
    /// Removes the file.
    void remove();
    const std::filesystem::path& file() const { return file_; }

private:
    void read_head();
    bool read_batch(std::FILE* stream, std::vector<stored_row_t>& rows, std::uint64_t& count) const;
    void open(const char* mode);
    [[noreturn]] void fail() const;

    std::filesystem::path file_;
    std::string head_;
    std::size_t numbers_;
    std::uint64_t next_ = 0;
    std::FILE* stream_ = nullptr;
};

/// A line of names, then one for each row: the variant's number, its values, its measures, and why it was ended.
void write_csv(OutputFile& file, const RowStore& rows, const std::vector<std::string>& columns);

/// Which rows are kept: comparisons of columns with numbers, joined by "and" or "or", and the word "ended".
class RowFilter {
public:
    RowFilter() = default;
    /// Raises `SessionError` for a text that is none, or names no column.
    RowFilter(const std::string& text, const std::vector<std::string>& columns);
    bool keeps(const stored_row_t& row) const;

private:
    struct test_t {
        std::size_t column = 0;
        std::string sign;  // "" for the word
        double number = 0.0;
    };
    static bool holds(const test_t& test, const stored_row_t& row);
    std::vector<std::vector<test_t>> any_;  // each of which all hold
};

}  // namespace zarn
