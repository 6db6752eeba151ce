// zarn diff: compares two recordings.

#include <CLI/App.hpp>
#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <optional>
#include <vector>

#include "core/format.h"
#include "core/str.h"
#include "host/cli/session.h"
#include "host/cli/verbs.h"

namespace zarn {
namespace {

struct diff_options_t {
    std::string a, b;
    double rtol = 0.0, atol = 0.0;
    bool quiet = false;
};

using cells_t = std::vector<std::string_view>;

/// Reads a CSV file line by line.
class Table {
public:
    explicit Table(const std::string& file) : file_(file) {
        std::error_code ignored;
        if (std::filesystem::is_character_file(file, ignored)) refuse("a device, which may never come to an end");
        in_.reset(std::fopen(file.c_str(), "rb"));
        if (in_ == nullptr) refuse(std::strerror(errno));
        if (!next()) refuse("an empty file");
        for (const auto cell : cells_) names_.emplace_back(cell);
    }

    const std::vector<std::string>& names() const { return names_; }
    const cells_t& cells() const { return cells_; }
    /// Goes on to the next line; false at the end.
    bool next() {
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
    std::size_t line() const { return number_; }

private:
    [[noreturn]] void refuse(std::string_view why) const {
        message(tessel::format("{}: {}", file_, why));
        throw Failure{status_usage};
    }

    /// False at the end of the file.
    bool read_line() {
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

    struct closer_t {
        void operator()(std::FILE* file) const noexcept { std::fclose(file); }
    };

    std::string file_;
    std::unique_ptr<std::FILE, closer_t> in_;
    std::string line_;
    std::size_t number_ = 0;
    cells_t cells_;
    std::vector<std::string> names_;
};

std::optional<double> number(std::string_view cell) {
    const std::string text(cell);
    char* end = nullptr;
    const double value = std::strtod(text.c_str(), &end);
    if (text.empty() || *end != '\0') return std::nullopt;
    return value;
}

bool close(std::string_view a, std::string_view b, const diff_options_t& options) {
    if (a == b) return true;
    const auto x = number(a), y = number(b);
    if (!x || !y) return false;
    if (*x == *y || (std::isnan(*x) && std::isnan(*y))) return true;
    if (std::isinf(*x) || std::isinf(*y)) return false;
    return std::abs(*x - *y) <= options.atol + options.rtol * std::abs(*y);
}

int differ(const diff_options_t& options, const std::string& text) {
    if (!options.quiet) out(text + "\n");
    return status_model;
}

/// For each column of `a` its place in `b`.
std::vector<std::size_t> places(const Table& a, const Table& b, std::string& missing) {
    std::vector<std::size_t> result;
    for (const std::string& name : a.names()) {
        const auto found = std::ranges::find(b.names(), name);
        if (found == b.names().end() && missing.empty()) missing = name;
        result.push_back(static_cast<std::size_t>(found - b.names().begin()));
    }
    return result;
}

std::string shown_cell(std::string_view cell) { return cell.empty() ? "nothing" : std::string(cell); }

int diff(const diff_options_t& options) {
    Table a(options.a), b(options.b);
    std::string missing, added;
    const auto place = places(a, b, missing);
    places(b, a, added);
    if (!missing.empty()) return differ(options, tessel::format("column {} is missing in {}", missing, options.b));
    if (!added.empty()) return differ(options, tessel::format("column {} is missing in {}", added, options.a));
    for (;;) {
        const bool more_a = a.next(), more_b = b.next();
        if (!more_a && !more_b) return status_ok;
        if (more_a != more_b)
            return differ(options, tessel::format("{} ends at line {}, and {} goes on", more_a ? options.b : options.a,
                                                  more_a ? b.line() : a.line(), more_a ? options.a : options.b));
        for (std::size_t i = 0; i < place.size(); ++i) {
            const auto x = a.cells()[i], y = b.cells()[place[i]];
            if (close(x, y, options)) continue;
            std::string text = tessel::format("line {}", a.line());
            if (i != 0) text += tessel::format(", {} {}", a.names()[0], a.cells()[0]);
            text += tessel::format(", {}: {} and {}", a.names()[i], shown_cell(x), shown_cell(y));
            if (const auto p = number(x), q = number(y); p && q)
                text += tessel::format(" differ by {}", tessel::str::shortest(std::abs(*p - *q)));
            return differ(options, text);
        }
    }
}

}  // namespace

void add_diff(CLI::App& app, int& status) {
    auto options = std::make_shared<diff_options_t>();
    auto* verb = app.add_subcommand("diff", "Compare two recordings (.csv) and name the first difference");
    verb->add_option("A", options->a, "Recording")->required();
    verb->add_option("B", options->b, "Recording to compare with")->required();
    const auto tolerance = [](const std::string& text) {
        const auto value = number(text);
        return value && *value >= 0.0 ? std::string() : text + " is no number of 0 or more";
    };
    verb->add_option("--rtol", options->rtol, "Allowed difference, relative to B's value")
        ->type_name("NUMBER")
        ->check(tolerance);
    verb->add_option("--atol", options->atol, "Allowed difference on top of it")->type_name("NUMBER")->check(tolerance);
    verb->add_flag("-q,--quiet", options->quiet, "Exit status only");
    verb->footer(
        "Numbers compare by value, not-a-number equals itself, columns are found by name.\n"
        "Exit status: 0 no difference, 1 a difference, 2 a file that cannot be compared.\n\n"
        "Example:\n  zarn diff expected.csv speed.csv --rtol 1e-9");
    verb->callback([options, &status] { status = guarded([&] { return diff(*options); }); });
}

}  // namespace zarn
