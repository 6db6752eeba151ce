// A folder for the files of one test.
#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <string_view>

namespace test {

/// A fresh folder named after the running test; it goes with the object.
class TempFolder {
public:
    TempFolder() {
        const auto* info = testing::UnitTest::GetInstance()->current_test_info();
        std::string name = std::string("blocks_") + info->test_suite_name() + '_' + info->name() + '_';
        for (char& c : name)
            if (c == '/') c = '_';
        path_ = std::filesystem::temp_directory_path() / (name + std::to_string(::getpid()));
        std::filesystem::create_directories(path_);
    }
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;
    ~TempFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }

    const std::filesystem::path& path() const { return path_; }

    /// Writes a file and returns its path.
    std::filesystem::path write(const std::string& name, std::string_view content) const {
        const auto file = path_ / name;
        std::ofstream(file, std::ios::binary) << content;
        return file;
    }

    /// The content of a file of the folder.
    std::string read(const std::string& name) const {
        std::ostringstream text;
        text << std::ifstream(path_ / name, std::ios::binary).rdbuf();
        return text.str();
    }

private:
    std::filesystem::path path_;
};

}  // namespace test
