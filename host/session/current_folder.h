// The folder that relative names of files start from.
#pragma once

#include <filesystem>
#include <system_error>

namespace zarn {

/// Sets the current folder and restores it.
class CurrentFolder {
public:
    explicit CurrentFolder(const std::filesystem::path& folder) : before_(std::filesystem::current_path()) {
        if (!folder.empty()) std::filesystem::current_path(folder);
    }
    CurrentFolder(const CurrentFolder&) = delete;
    CurrentFolder& operator=(const CurrentFolder&) = delete;
    ~CurrentFolder() {
        std::error_code ignored;
        std::filesystem::current_path(before_, ignored);
    }

private:
    std::filesystem::path before_;
};

}  // namespace zarn
