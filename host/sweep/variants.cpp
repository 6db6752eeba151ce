#include "host/sweep/variants.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <optional>
#include <set>
#include <utility>

#include "core/format.h"
#include "host/session/error.h"
#include "host/sweep/distributions.h"

namespace zarn {
namespace {

[[noreturn]] void refuse(std::string_view text, std::string_view why) {
    throw SessionError(problem_t::usage, tessel::format("--vary {}: {}", text, why));
}

std::string trimmed(std::string_view text) {
    const auto begin = text.find_first_not_of(" \t\r"), end = text.find_last_not_of(" \t\r");
    return begin == std::string_view::npos ? std::string() : std::string(text.substr(begin, end - begin + 1));
}

std::optional<double> number_of(const std::string& text) {
    char* end = nullptr;
    const double value = std::strtod(text.c_str(), &end);
    if (text.empty() || *end != '\0' || !std::isfinite(value)) return std::nullopt;
    return value;
}

bool is_whole_text(const std::string& text) {
    return text.find_first_not_of("+-0123456789") == std::string::npos && text.size() < 16;
}

std::vector<std::string> parts_of(std::string_view text, char separator) {
    std::vector<std::string> parts;
    for (std::size_t begin = 0;;) {
        const auto end = text.find(separator, begin);
        parts.push_back(trimmed(text.substr(begin, end - begin)));
        if (end == std::string_view::npos) return parts;
        begin = end + 1;
    }
}

/// One name: values in order, or a distribution.
struct axis_t {
    std::string name;
    std::vector<double> values;
    std::optional<distribution_t> drawn;
    bool whole = false;

    /// Where a share of all values lies below.
    double quantile(double share) const {
        if (drawn) return drawn->quantile(share);
        const auto n = static_cast<double>(values.size());
        return values[static_cast<std::size_t>(std::min(std::floor(share * n), n - 1.0))];
    }
};

constexpr std::size_t most_values = 10'000'000;   // of a list or a range
constexpr std::uint64_t most_points = 1'000'000;  // that a library draws at once

void read_range(axis_t& axis, const std::string& text, const std::vector<std::string>& parts) {
    const auto begin = number_of(parts[0]), step = number_of(parts[1]), end = number_of(parts[2]);
    if (!begin || !step || !end) refuse(text, "a range is FIRST:STEP:LAST, three numbers");
    const double count = std::floor((*end - *begin) / *step * (1.0 + 1e-12) + 1e-9) + 1.0;
    if (*step == 0.0 || !(count >= 1.0)) refuse(text, "the range is empty");
    if (count > static_cast<double>(most_values))
        refuse(text, "the range has more than ten million values; draw from ~uniform");
    for (double i = 0.0; i < count; ++i) axis.values.push_back(*begin + i * *step);
    axis.whole = std::ranges::all_of(parts, is_whole_text);
}

axis_t parse_axis(const std::string& text) {
    const auto sign = text.find_first_of("=~");
    if (sign == std::string::npos || sign == 0)
        refuse(text, "expected NAME=1,2,5, NAME=FIRST:STEP:LAST, NAME~normal(MEAN,DEVIATION) or @FILE.csv");
    axis_t axis;
    axis.name = trimmed(text.substr(0, sign));
    const std::string rest = trimmed(text.substr(sign + 1));
    if (text[sign] == '~') {
        axis.drawn = parse_distribution(rest);
        if (!axis.drawn)
            refuse(text, "expected normal(MEAN,DEVIATION), uniform(LOW,HIGH) or lognormal(MEAN,DEVIATION)");
        return axis;
    }
    if (const auto parts = parts_of(rest, ':'); parts.size() == 3) {
        read_range(axis, text, parts);
        return axis;
    }
    axis.whole = true;
    for (const std::string& part : parts_of(rest, ',')) {
        const auto value = number_of(part);
        if (!value) refuse(text, tessel::format("'{}' is no number", part));
        axis.values.push_back(*value);
        axis.whole = axis.whole && is_whole_text(part);
    }
    return axis;
}

std::vector<axis_t> read_table(const std::string& text) {
    std::ifstream file(text.substr(1));
    if (!file) refuse(text, "the file cannot be read");
    std::string line;
    std::getline(file, line);
    std::vector<axis_t> axes;
    for (std::string& name : parts_of(line, ',')) {
        axes.push_back({std::move(name), {}, std::nullopt, true});
        if (axes.back().name.empty()) refuse(text, "a column of the first line has no name");
    }
    for (std::size_t number = 2; std::getline(file, line); ++number) {
        if (trimmed(line).empty()) continue;
        const auto cells = parts_of(line, ',');
        if (cells.size() != axes.size())
            refuse(text,
                   tessel::format("line {} has {} cells, the first one has {}", number, cells.size(), axes.size()));
        for (std::size_t i = 0; i < cells.size(); ++i) {
            const auto value = number_of(cells[i]);
            if (!value) refuse(text, tessel::format("line {}: '{}' is no number", number, cells[i]));
            axes[i].values.push_back(*value);
            axes[i].whole = axes[i].whole && is_whole_text(cells[i]);
        }
    }
    if (axes[0].values.empty()) refuse(text, "the table has no rows");
    return axes;
}

class OfAxes : public Variants {
public:
    explicit OfAxes(std::vector<axis_t> axes) : axes_(std::move(axes)) {
        for (const axis_t& axis : axes_) {
            names_.push_back(axis.name);
            whole_.push_back(axis.whole);
        }
    }

protected:
    std::vector<axis_t> axes_;
};

class Grid final : public OfAxes {
public:
    explicit Grid(std::vector<axis_t> axes) : OfAxes(std::move(axes)), strides_(axes_.size()) {
        for (std::size_t i = axes_.size(); i-- > 0;) {
            strides_[i] = size_;
            if (size_ > (std::uint64_t{1} << 62) / axes_[i].values.size())
                throw SessionError(problem_t::usage, "--grid: more variants than can be counted");
            size_ *= axes_[i].values.size();
        }
    }
    std::uint64_t size() const override { return size_; }
    double value(std::uint64_t variant, std::size_t name) const override {
        return axes_[name].values[variant / strides_[name] % axes_[name].values.size()];
    }

private:
    std::uint64_t size_ = 1;
    std::vector<std::uint64_t> strides_;
};

class Zip final : public OfAxes {
public:
    explicit Zip(std::vector<axis_t> axes) : OfAxes(std::move(axes)) {
        for (const axis_t& axis : axes_)
            if (axis.values.size() != axes_[0].values.size())
                throw SessionError(problem_t::usage,
                                   tessel::format("--zip: {} has {} values and {} has {}", axes_[0].name,
                                                  axes_[0].values.size(), axis.name, axis.values.size()));
    }
    std::uint64_t size() const override { return axes_[0].values.size(); }
    double value(std::uint64_t variant, std::size_t name) const override { return axes_[name].values[variant]; }
};

class Drawn final : public OfAxes {
public:
    Drawn(std::vector<axis_t> axes, std::uint64_t count, std::uint64_t seed)
        : OfAxes(std::move(axes)), count_(count), seed_(seed) {}
    std::uint64_t size() const override { return count_; }
    double value(std::uint64_t variant, std::size_t name) const override {
        return axes_[name].quantile(uniform(seed_, variant, name));
    }

private:
    std::uint64_t count_, seed_;
};

class Points final : public OfAxes {
public:
    Points(std::vector<axis_t> axes, std::vector<double> points)
        : OfAxes(std::move(axes)), points_(std::move(points)) {}
    std::uint64_t size() const override { return points_.size() / axes_.size(); }
    double value(std::uint64_t variant, std::size_t name) const override {
        return axes_[name].quantile(points_[variant * axes_.size() + name]);
    }

private:
    std::vector<double> points_;
};

void check_names(const std::vector<axis_t>& axes) {
    std::set<std::string> names;
    for (const axis_t& axis : axes)
        if (!names.insert(axis.name).second)
            throw SessionError(problem_t::usage, tessel::format("--vary {}: the name varies already", axis.name));
}

}  // namespace

std::unique_ptr<Variants> make_variants(const variation_t& variation, const draw_points_t& draw_points) {
    std::vector<axis_t> axes;
    bool table = false, drawn = false;
    for (const std::string& text : variation.texts) {
        if (!text.starts_with('@')) {
            axes.push_back(parse_axis(text));
            continue;
        }
        table = true;
        for (axis_t& axis : read_table(text)) axes.push_back(std::move(axis));
    }
    if (axes.empty()) throw SessionError(problem_t::usage, "nothing varies; see --vary");
    check_names(axes);
    for (const axis_t& axis : axes) drawn = drawn || axis.drawn.has_value();
    const combine_t how = variation.combine != combine_t::automatic ? variation.combine
                          : table                                   ? combine_t::zip
                                                                    : combine_t::grid;
    const bool draws = how != combine_t::grid && how != combine_t::zip;
    if (drawn && !draws)
        throw SessionError(problem_t::usage,
                           "a distribution is drawn from: say how often, with --random N, --sobol N "
                           "or --latin N");
    if (draws && variation.count == 0) throw SessionError(problem_t::usage, "no variants: N must be at least 1");
    switch (how) {
        case combine_t::zip: return std::make_unique<Zip>(std::move(axes));
        case combine_t::random: return std::make_unique<Drawn>(std::move(axes), variation.count, variation.seed);
        case combine_t::sobol:
        case combine_t::latin: {
            if (variation.count > most_points)
                throw SessionError(problem_t::usage,
                                   "--sobol and --latin draw at most a million variants; see --random");
            auto points =
                draw_points(how == combine_t::sobol ? "sobol" : "latin", axes.size(), variation.count, variation.seed);
            return std::make_unique<Points>(std::move(axes), std::move(points));
        }
        default: return std::make_unique<Grid>(std::move(axes));
    }
}

std::unique_ptr<Variants> make_variants(std::vector<std::string> names, std::vector<std::vector<double>> columns,
                                        bool floats) {
    if (names.empty() || names.size() != columns.size())
        throw SessionError(problem_t::usage, "a sweep takes at least one name, and values for each");
    std::vector<axis_t> axes;
    for (std::size_t i = 0; i < names.size(); ++i) {
        if (columns[i].empty()) throw SessionError(problem_t::usage, tessel::format("{}: no values", names[i]));
        const bool whole = !floats && std::ranges::all_of(columns[i], [](double v) {
            return std::nearbyint(v) == v && std::fabs(v) < 9007199254740992.0;
        });
        axes.push_back({std::move(names[i]), std::move(columns[i]), std::nullopt, whole});
    }
    check_names(axes);
    return std::make_unique<Zip>(std::move(axes));
}

}  // namespace zarn
