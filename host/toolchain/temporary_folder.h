// A folder that goes with the object.
#pragma once

#include <filesystem>
#include <string_view>

namespace zarn {

/// A fresh folder for this user alone, where programs keep what is temporary. It is removed with all that is in it.
class TemporaryFolder {
public:
    /// Raises `std::runtime_error`.
    TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;
    ~TemporaryFolder();

    const std::filesystem::path& path() const { return path_; }
    /// Writes a file of the folder. Raises `std::runtime_error`.
    void write(std::string_view name, std::string_view text) const;

private:
    std::filesystem::path path_;
};

}  // namespace zarn
