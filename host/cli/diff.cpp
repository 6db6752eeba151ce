// zarn diff: compares two recordings.

#include <CLI/App.hpp>
#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <memory>
#include <optional>
#include <stdexcept>
#include <vector>

#include "core/format.h"
#include "core/str.h"
#include "host/cli/command.h"
#include "host/cli/table.h"
#include "host/cli/verbs.h"

namespace zarn {
namespace {

struct diff_options_t {
    std::string a, b;
    double rtol = 0.0, atol = 0.0;
    bool quiet = false;
    bool json = false;
};

/// Works on a file; what goes wrong ends the verb with a message that names it.
template <class Work>
auto on_file(const std::string& file, Work work) {
    try {
        return work();
    } catch (const std::runtime_error& error) {
        throw SessionError(problem_t::usage, tessel::format("{}: {}", file, error.what()));
    }
}

std::unique_ptr<Table> open(const std::string& file) {
    return on_file(file, [&] { return file.ends_with(".npz") ? open_npz(file) : open_csv(file); });
}

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

/// "line 3, time 0.5, x: 2 and 2.5 differ by 0.5"
std::string about_cells(const Table& a, std::size_t i, std::string_view x, std::string_view y) {
    std::string text = a.place();
    if (i != 0) text += tessel::format(", {} {}", a.names()[0], a.cells()[0]);
    text += tessel::format(", {}: {} and {}", a.names()[i], shown_cell(x), shown_cell(y));
    if (const auto p = number(x), q = number(y); p && q)
        text += tessel::format(" differ by {}", tessel::str::shortest(std::abs(*p - *q)));
    return text;
}

/// The first difference in words, "" for none.
std::string first_difference(const diff_options_t& options) {
    const auto a = open(options.a), b = open(options.b);
    std::string missing, added;
    const auto place = places(*a, *b, missing);
    places(*b, *a, added);
    if (!missing.empty()) return tessel::format("column {} is missing in {}", missing, options.b);
    if (!added.empty()) return tessel::format("column {} is missing in {}", added, options.a);
    for (;;) {
        const bool more_a = on_file(options.a, [&] { return a->next(); });
        const bool more_b = on_file(options.b, [&] { return b->next(); });
        if (!more_a && !more_b) return {};
        if (more_a != more_b)
            return tessel::format("{} ends at {}, and {} goes on", more_a ? options.b : options.a,
                                  more_a ? b->place() : a->place(), more_a ? options.a : options.b);
        for (std::size_t i = 0; i < place.size(); ++i) {
            const auto x = a->cells()[i], y = b->cells()[place[i]];
            if (!close(x, y, options)) return about_cells(*a, i, x, y);
        }
    }
}

int diff(const diff_options_t& options) {
    const std::string difference = first_difference(options);
    const bool same = difference.empty();
    if (options.json && same) out(tessel::format("{{\"schema\": {}, \"result\": 0}}\n", json_schema));
    else if (options.json) out(failure_json(tessel::result_failure, difference, {}));
    else if (!same && !options.quiet) out(difference + "\n");
    return same ? status_ok : status_model;
}

}  // namespace

void add_diff(CLI::App& app, int& status) {
    auto options = std::make_shared<diff_options_t>();
    auto* verb = app.add_subcommand("diff", "Compare two recordings (.csv or .npz) and name the first difference");
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
    verb->add_flag("--json", options->json, "One JSON object on standard output");
    verb->footer(
        "Numbers compare by value, not-a-number equals itself, columns are found by name. A .csv and an .npz\n"
        "compare by what a run writes into them: a signal without a sample in a row is an empty cell.\n"
        "Exit status: 0 no difference, 1 a difference, 2 a file that cannot be compared.\n\n"
        "Example:\n  zarn diff expected.csv speed.csv --rtol 1e-9");
    verb->callback([options, &status] { status = guarded([&] { return diff(*options); }, "", options->json); });
}

}  // namespace zarn
