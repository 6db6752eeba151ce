// What the tests of the checks share.
#pragma once

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "core/literal_bridge.h"
#include "core/python.h"
#include "host/diagnose/diagnose.h"
#include "tests/support/temp_folder.h"

namespace zarn {

inline std::string read_text(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

inline void write_text(const std::filesystem::path& path, const std::string& text) {
    std::ofstream(path, std::ios::binary) << text;
}

/// The folder with a bad and a good model for every code.
inline std::filesystem::path checks_folder() { return std::filesystem::path(BLOCKS_TEST_DATA) / "checks"; }

/// Sets the current folder, so that messages name files without the way to them.
class CurrentFolder {
public:
    explicit CurrentFolder(const std::filesystem::path& folder) : before_(std::filesystem::current_path()) {
        std::filesystem::current_path(folder);
    }
    CurrentFolder(const CurrentFolder&) = delete;
    CurrentFolder& operator=(const CurrentFolder&) = delete;
    ~CurrentFolder() { std::filesystem::current_path(before_); }

private:
    std::filesystem::path before_;
};

/// A model file of one test.
class TempModel {
public:
    explicit TempModel(const std::string& text) : path_(folder_.write("model.json", text)) {}
    const std::filesystem::path& path() const { return path_; }
    const test::TempFolder& folder() const { return folder_; }

private:
    test::TempFolder folder_;
    std::filesystem::path path_;
};

inline std::string printed(const std::vector<finding_t>& findings) {
    std::ostringstream text;
    print(findings, text, false);
    return text.str();
}

inline std::vector<std::string> codes_of(const std::vector<finding_t>& findings) {
    std::vector<std::string> codes;
    for (const finding_t& finding : findings) codes.push_back(finding.code);
    std::ranges::sort(codes);
    codes.erase(std::unique(codes.begin(), codes.end()), codes.end());
    return codes;
}

}  // namespace zarn
