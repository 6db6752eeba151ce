// Recordings of both kinds, row by row.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace zarn {

/// A recording as a table of texts, of which one row is at hand. Operations raise `std::runtime_error` with what is
/// wrong with the file.
class Table {
public:
    virtual ~Table() = default;
    /// Of the columns.
    virtual const std::vector<std::string>& names() const = 0;
    /// The row at hand; a cell is empty where a signal has no sample.
    virtual const std::vector<std::string_view>& cells() const = 0;
    /// Goes on to the next row, at first to the first one; false at the end.
    virtual bool next() = 0;
    /// Where the row at hand stands, such as "line 3".
    virtual std::string place() const = 0;
};

/// A CSV file, read line by line.
std::unique_ptr<Table> open_csv(const std::string& file);

/// An archive of arrays. A signal "NAME" with times of its own in "NAME.time" has samples at these and nowhere else.
std::unique_ptr<Table> open_npz(const std::string& file);

}  // namespace zarn
