#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <stdexcept>

#include "core/format.h"
#include "host/cli/table.h"

namespace zarn {
namespace {

class CsvTable final : public Table {
public:
    explicit CsvTable(const std::string& file) {
        std::error_code ignored;
        if (std::filesystem::is_character_file(file, ignored)) refuse("a device, which may never come to an end");
        in_.reset(std::fopen(file.c_str(), "rb"));
        if (in_ == nullptr) refuse(std::strerror(errno));
        if (!next()) refuse("an empty file");
        for (const auto cell : cells_) names_.emplace_back(cell);
    }

    const std::vector<std::string>& names() const override { return names_; }
    const std::vector<std::string_view>& cells() const override { return cells_; }
    bool next() override;
    std::string place() const override { return tessel::format("line {}", number_); }

private:
    [[noreturn]] static void refuse(const std::string& why) { throw std::runtime_error(why); }
    bool read_line();

    struct closer_t {
        void operator()(std::FILE* file) const noexcept { std::fclose(file); }
    };

    std::unique_ptr<std::FILE, closer_t> in_;
    std::string line_;
    std::size_t number_ = 0;
    std::vector<std::string_view> cells_;
    std::vector<std::string> names_;
};

bool CsvTable::next() {
    if (!read_line()) return false;
    if (line_.ends_with('\r')) line_.pop_back();
    ++number_;
    cells_.clear();
    for (std::size_t begin = 0;;) {
        const auto end = line_.find(',', begin);
        cells_.push_back(std::string_view(line_).substr(begin, end - begin));
        if (end == std::string::npos) break;
        begin = end + 1;
    }
    if (!names_.empty() && cells_.size() != names_.size())
        refuse(tessel::format("line {} has {} cells, and the head has {}", number_, cells_.size(), names_.size()));
    return true;
}

/// False at the end of the file.
bool CsvTable::read_line() {
    constexpr std::size_t longest = std::size_t{1} << 28;  // beyond that, nobody has written it as a line
    line_.clear();
    for (int c = getc_unlocked(in_.get()); c != EOF; c = getc_unlocked(in_.get())) {
        if (c == '\n') return true;
        if (line_.size() == longest) refuse(tessel::format("line {} has no end", number_ + 1));
        line_ += static_cast<char>(c);
    }
    if (std::ferror(in_.get()) != 0) refuse(std::strerror(errno));
    return !line_.empty();
}

}  // namespace

std::unique_ptr<Table> open_csv(const std::string& file) { return std::make_unique<CsvTable>(file); }

}  // namespace zarn
