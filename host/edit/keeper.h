// The file that a text is kept in, and the side file that nothing is lost with.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace zarn::edit {

enum class disk_t { same, changed, gone };

/// "same", "changed", "gone".
const char* disk_name(disk_t disk);

class Keeper {
public:
    /// `text`: what was read from the file, or what stands in for one that is not there yet.
    Keeper(std::filesystem::path file, std::string text);

    const std::filesystem::path& file() const { return file_; }
    /// The file's text as it was last read or written.
    const std::string& base() const { return base_; }
    /// Whether somebody else has changed the file since.
    disk_t disk();
    /// The file's text now. Raises `std::runtime_error`.
    std::string read() const;
    /// What was read is the base from here on.
    void take(std::string text);
    /// The file is another than that which was edited: `disk` tells it as changed.
    void distrust() { base_.clear(), seen_ = {true, ~std::uintmax_t{0}, 0}; }
    /// Writes the file, whole or not at all, and drops the side file. Raises `std::runtime_error`.
    void save(const std::string& text);

    /// Writes a state that is not saved beside the file. Raises `std::runtime_error`.
    void keep(const std::string& text) const;
    void drop_kept() const noexcept;

    /// What a session that ended without saving has left.
    struct kept_t {
        std::string text;
        std::string when;      ///< "2024-05-01T10:00:00Z"
        bool of_this = false;  ///< whether the file is still what it was then
    };
    std::optional<kept_t> kept() const;

private:
    struct stamp_t {
        bool there = false;
        std::uintmax_t size = 0;
        std::int64_t time = 0;
        bool operator==(const stamp_t&) const = default;
    };
    stamp_t stamp() const;
    std::filesystem::path side() const;

    std::filesystem::path file_;
    std::string base_;
    stamp_t seen_;
};

}  // namespace zarn::edit
