#include "host/sweep/measures.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>

#include "core/convert.h"
#include "core/format.h"
#include "formula/formula.h"
#include "host/session/error.h"

namespace zarn {
namespace {

constexpr double nothing = std::numeric_limits<double>::quiet_NaN();

struct kind_row_t {
    const char* name;
    measure_kind_t kind;
    bool takes_number;
};
constexpr kind_row_t kinds[] = {
    {"last", measure_kind_t::last, false},
    {"min", measure_kind_t::minimum, false},
    {"max", measure_kind_t::maximum, false},
    {"mean", measure_kind_t::mean, false},
    {"rms", measure_kind_t::rms, false},
    {"crossing", measure_kind_t::crossing, true},
    {"integral", measure_kind_t::integral, false},
    {"iae", measure_kind_t::iae, true},
    {"ise", measure_kind_t::ise, true},
};

[[noreturn]] void refuse(std::string_view text, std::string_view why) {
    throw SessionError(problem_t::usage, tessel::format("--measure {}: {}", text, why));
}

std::string trimmed(std::string_view text) {
    const auto begin = text.find_first_not_of(" \t"), end = text.find_last_not_of(" \t");
    return begin == std::string_view::npos ? std::string() : std::string(text.substr(begin, end - begin + 1));
}

}  // namespace

measure_t parse_measure(const std::string& text) {
    measure_t measure;
    std::string rest = trimmed(text);
    const auto open = rest.find('('), equals = rest.find('=');
    if (equals != std::string::npos && equals < open) {
        measure.name = trimmed(rest.substr(0, equals));
        rest = trimmed(rest.substr(equals + 1));
    } else {
        measure.name = rest;
    }
    const auto begin = rest.find('('), end = rest.rfind(')');
    if (begin == std::string::npos || end != rest.size() - 1)
        refuse(text, "expected NAME=KIND(SIGNAL), such as peak=max(mainsys.speed)");
    const std::string kind = trimmed(rest.substr(0, begin));
    const auto* row = std::ranges::find_if(kinds, [&](const kind_row_t& k) { return kind == k.name; });
    if (row == std::end(kinds)) {
        std::string known;
        for (const kind_row_t& k : kinds) known += (known.empty() ? "" : ", ") + std::string(k.name);
        refuse(text, tessel::format("no measure '{}'; there are {}", kind, known));
    }
    measure.kind = row->kind;
    std::string inside = rest.substr(begin + 1, end - begin - 1);
    if (const auto comma = inside.rfind(','); comma != std::string::npos && row->takes_number) {
        const std::string number = trimmed(inside.substr(comma + 1));
        char* stop = nullptr;
        measure.number = std::strtod(number.c_str(), &stop);
        if (number.empty() || *stop != '\0') refuse(text, tessel::format("'{}' is no number", number));
        inside.resize(comma);
    }
    measure.signal = trimmed(inside);
    if (measure.signal.empty() || measure.name.empty()) refuse(text, "no signal");
    return measure;
}

Meter::Meter(std::span<const measure_t> measures, std::size_t signals, double ts, std::size_t kept, std::uint64_t every,
             std::uint64_t samples)
    : measures_(measures),
      of_signal_(signals),
      states_(measures.size()),
      ts_(ts),
      kept_(kept),
      every_(every),
      samples_(samples) {
    for (std::size_t i = 0; i < measures.size(); ++i) of_signal_[measures[i].number_of_signal].push_back(i);
    clear(most);
}

void Meter::clear(std::size_t lanes) {
    lanes_ = lanes;
    for (std::size_t i = 0; i < states_.size(); ++i) {
        const measure_kind_t kind = measures_[i].kind;
        double begin = 0.0;
        if (kind == measure_kind_t::minimum) begin = std::numeric_limits<double>::infinity();
        if (kind == measure_kind_t::maximum) begin = -std::numeric_limits<double>::infinity();
        if (kind == measure_kind_t::crossing) begin = nothing;
        states_[i].value.fill(begin);
        states_[i].count.fill(0.0);
    }
    series_.assign(kept_ * most * samples_, nothing);
}

void Meter::take(std::size_t signal, std::uint64_t step, double t, const void* row, tessel::type_t type,
                 const std::uint8_t* ran) noexcept {
    row_t values;
    tessel::with_type(type, [&]<class T>(T) {
        const T* own = static_cast<const T*>(row);
        for (std::size_t i = 0; i < lanes_; ++i) values[i] = tessel::convert<double>(own[i]);
    });
    if (signal < kept_ && step % every_ == 0 && step / every_ < samples_) keep(signal, step / every_, values, ran);
    for (const std::size_t i : of_signal_[signal]) add(measures_[i], states_[i], t, values, ran);
}

void Meter::keep(std::size_t signal, std::uint64_t sample, const row_t& row, const std::uint8_t* ran) noexcept {
    for (std::size_t i = 0; i < lanes_; ++i)
        series_[(signal * most + i) * samples_ + sample] = ran == nullptr || ran[i] != 0 ? row[i] : nothing;
}

void Meter::add(const measure_t& measure, state_t& state, double t, const row_t& row,
                const std::uint8_t* ran) noexcept {
    const auto each = [&](auto change) {
        for (std::size_t i = 0; i < lanes_; ++i) {
            const double v = row[i], old = state.value[i], next = change(old, v);
            const bool runs = ran == nullptr || ran[i] != 0;
            state.value[i] = runs ? next : old;
            state.count[i] += runs ? 1.0 : 0.0;
        }
    };
    const double number = measure.number, ts = ts_;
    switch (measure.kind) {
        case measure_kind_t::last: return each([](double, double v) { return v; });
        case measure_kind_t::minimum: return each([](double a, double v) { return v < a ? v : a; });
        case measure_kind_t::maximum: return each([](double a, double v) { return v > a ? v : a; });
        case measure_kind_t::mean: return each([](double a, double v) { return a + v; });
        case measure_kind_t::rms: return each([](double a, double v) { return a + v * v; });
        case measure_kind_t::crossing: return each([&](double a, double v) { return a != a && v >= number ? t : a; });
        case measure_kind_t::integral: return each([&](double a, double v) { return a + v * ts; });
        case measure_kind_t::iae: return each([&](double a, double v) { return a + std::fabs(v - number) * ts; });
        case measure_kind_t::ise: return each([&](double a, double v) { return a + (v - number) * (v - number) * ts; });
    }
}

double Meter::result(std::size_t measure, std::size_t lane) const {
    const state_t& state = states_[measure];
    const double value = state.value[lane], count = state.count[lane];
    if (count == 0.0) return nothing;
    switch (measures_[measure].kind) {
        case measure_kind_t::mean: return value / count;
        case measure_kind_t::rms: return std::sqrt(value / count);
        default: return value;
    }
}

}  // namespace zarn
