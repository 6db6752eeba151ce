#include "host/verify/compare.h"

#include <algorithm>
#include <cmath>

#include "core/format.h"
#include "core/str.h"
#include "formula/formula.h"
#include "host/session/json_text.h"

namespace zarn::verify {
namespace {

using kind_t = difference_t::kind_t;

/// The steps in which the first difference lies: [first, behind).
struct stretch_t {
    std::uint64_t first, behind;
};

std::optional<stretch_t> differing_stretch(const trace_t& a, const trace_t& b) {
    // equal numbers of steps: the points stand at the same ones
    for (std::uint32_t i = 0; i < a.count; ++i)
        if (a.points[i] != b.points[i]) return stretch_t{i * a.stride, (i + 1) * a.stride};
    if (a.fold == b.fold) return std::nullopt;
    return stretch_t{a.count * a.stride, a.steps};
}

std::optional<std::size_t> first_unequal(const std::vector<std::uint64_t>& a, const std::vector<std::uint64_t>& b) {
    for (std::size_t i = 0; i < a.size() && i < b.size(); ++i)
        if (a[i] != b[i]) return i;
    return std::nullopt;
}

difference_t unsteady(std::uint64_t step) {
    difference_t difference{.kind = kind_t::unsteady};
    difference.step = step;
    return difference;
}

difference_t at_port(kind_t kind, Way& way, std::size_t port, std::uint64_t expected, std::uint64_t got) {
    difference_t difference{.kind = kind};
    difference.port = way.ports()[port];
    difference.expected = expected;
    difference.got = got;
    return difference;
}

/// Runs both again, once for the folds of the stretch and once for the values of the step.
difference_t find_in(stretch_t stretch, Way& reference, Way& way, std::uint64_t steps) {
    look_t look{.steps = steps};
    look.first = stretch.first;
    look.behind = stretch.behind;
    const seen_t folds[] = {reference.run(look), way.run(look)};
    const auto offset = first_unequal(folds[0].folds, folds[1].folds);
    if (!offset) return unsteady(stretch.first);
    look = {.steps = steps};
    look.at = stretch.first + *offset;
    const seen_t values[] = {reference.run(look), way.run(look)};
    const auto port = first_unequal(values[0].values, values[1].values);
    if (!port) return unsteady(look.at);
    auto difference = at_port(kind_t::value, way, *port, values[0].values[*port], values[1].values[*port]);
    difference.step = look.at;
    difference.time = values[0].time;
    return difference;
}

/// A place on the line of all floats of the type, from the lowest to the highest.
std::int64_t place_of(tessel::type_t type, std::uint64_t bits) {
    if (type == tessel::type_flt32) {
        const auto magnitude = static_cast<std::int64_t>(bits & 0x7fffffffu);
        return (bits & 0x80000000u) != 0 ? -magnitude : magnitude;
    }
    const auto magnitude = static_cast<std::int64_t>(bits & 0x7fffffffffffffffu);
    return (bits >> 63) != 0 ? -magnitude : magnitude;
}

}  // namespace

std::optional<difference_t> compare(Way& reference, const seen_t& expected, Way& way, const seen_t& got,
                                    std::uint64_t steps) {
    if (expected.trace.steps != got.trace.steps) {
        difference_t difference{.kind = kind_t::steps};
        difference.expected = expected.trace.steps;
        difference.got = got.trace.steps;
        return difference;
    }
    const auto stretch = got.final_only ? std::nullopt : differing_stretch(expected.trace, got.trace);
    if (stretch) return find_in(*stretch, reference, way, steps);
    if (const auto port = first_unequal(expected.final, got.final)) {
        auto difference = at_port(kind_t::final, way, *port, expected.final[*port], got.final[*port]);
        difference.step = expected.trace.steps;
        return difference;
    }
    return std::nullopt;
}

void add_inputs(difference_t& difference, Way& all, Way& way, std::uint64_t steps) {
    if (difference.kind != kind_t::value) return;
    look_t look{.steps = steps};
    look.at = difference.step;
    const seen_t expected = all.run(look), got = way.run(look);
    const auto value_in = [&](const Way& from, const seen_t& seen, std::int16_t port) -> std::optional<std::uint64_t> {
        for (std::size_t i = 0; i < from.ports().size() && i < seen.values.size(); ++i) {
            const watched_t& watched = from.ports()[i];
            if (watched.is_input && watched.block == difference.port.block && watched.port == port)
                return seen.values[i];
        }
        return std::nullopt;
    };
    for (const watched_t& watched : all.ports()) {
        if (!watched.is_input || watched.block != difference.port.block) continue;
        const auto value = value_in(all, expected, watched.port);
        if (value) difference.inputs.push_back({watched.port, watched.type, *value, value_in(way, got, watched.port)});
    }
}

std::string value_text(tessel::type_t type, std::uint64_t bits) {
    std::string text;
    tessel::with_type(type, [&]<class T>(T) {
        const T value = tessel::from_bits<T>(bits);
        if constexpr (std::is_same_v<T, float>) text += tessel::str::shortest(value);
        else append_number(text, value);
    });
    return text + tessel::format(" ({:#0{}x})", bits, 2 * tessel::size_of(type) + 2);
}

std::uint64_t ulps_between(tessel::type_t type, std::uint64_t a, std::uint64_t b) {
    if (type != tessel::type_flt32 && type != tessel::type_flt64) return never;
    const bool narrow = type == tessel::type_flt32;
    const auto is_nan = [narrow](std::uint64_t bits) {
        return narrow ? std::isnan(tessel::from_bits<float>(bits)) : std::isnan(tessel::from_bits<double>(bits));
    };
    if (is_nan(a) || is_nan(b)) return never;
    const std::int64_t x = place_of(type, a), y = place_of(type, b);
    return x > y ? static_cast<std::uint64_t>(x) - static_cast<std::uint64_t>(y)
                 : static_cast<std::uint64_t>(y) - static_cast<std::uint64_t>(x);
}

}  // namespace zarn::verify
