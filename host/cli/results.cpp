#include "host/cli/results.h"

#include <cstdio>
#include <memory>
#include <stdexcept>

#include "core/format.h"
#include "host/cli/json_text.h"
#include "host/cli/session.h"
#include "host/python/interpreter.h"

namespace zarn {
namespace {

constexpr std::size_t piece = 1u << 16;  // bytes that are written at once

/// Calls `use(step, time)` for each step.
template <class Use>
void for_each_step(const times_t& times, Use use) {
    double t = times.ti;
    for (std::uint64_t step = 0; step < times.count; ++step, t = t + times.ts) use(step, t);
}

std::vector<double> all_times(const times_t& times) {
    std::vector<double> all;
    all.reserve(times.count);
    for_each_step(times, [&all](std::uint64_t, double t) { all.push_back(t); });
    return all;
}

/// The times of the steps in which a signal was sampled.
std::vector<double> times_of(const std::vector<double>& all, const Recording& recording) {
    std::vector<double> own;
    for (const stretch_t& stretch : recording.stretches())
        own.insert(own.end(), all.begin() + static_cast<std::ptrdiff_t>(stretch.first),
                   all.begin() + static_cast<std::ptrdiff_t>(stretch.first + stretch.count));
    return own;
}

}  // namespace

void write_csv(OutputFile& file, const times_t& times, const std::vector<signal_t>& signals) {
    std::vector<std::unique_ptr<Reader>> readers;
    std::string text = "time";
    for (const signal_t& signal : signals) {
        readers.push_back(signal.probe->reader());
        text += ',' + signal.name;
    }
    text += '\n';
    for_each_step(times, [&](std::uint64_t step, double t) {
        append_number(text, t);
        for (const auto& reader : readers) {
            text += ',';
            if (reader->has(step)) reader->append_plain(text);
        }
        text += '\n';
        if (text.size() < piece) return;
        file.write(text);
        text.clear();
    });
    file.write(text);
}

void write_npz(OutputFile& file, const times_t& times, const std::vector<signal_t>& signals, Interpreter& interpreter) {
    const auto all = all_times(times);
    std::vector<std::unique_ptr<char[]>> values;
    std::vector<std::vector<double>> own_times;
    own_times.reserve(signals.size());  // the columns point into them
    std::vector<column_t> columns{{"time", tessel::type_flt64, all.data(), all.size()}};
    for (const signal_t& signal : signals) {
        const Recording& recording = signal.probe->recording();
        values.push_back(recording.as_bytes());
        columns.push_back({signal.name, recording.type(), values.back().get(), recording.size()});
        if (recording.is_complete(times.count)) continue;
        own_times.push_back(times_of(all, recording));
        columns.push_back(
            {signal.name + ".time", tessel::type_flt64, own_times.back().data(), own_times.back().size()});
    }
    interpreter.save_npz(file.temporary(), columns);
}

void print_json_results(tessel::result_t result, const times_t& times, const std::vector<signal_t>& signals) {
    std::string text = tessel::format("{{\"result\": {}, \"series\": {{", static_cast<int>(result));
    const auto flush = [&text](std::size_t limit) {
        if (text.size() < limit) return;
        out(text);
        text.clear();
    };
    bool first = true;
    for (const signal_t& signal : signals) {
        text += tessel::format("{}\"{}:{}\": {{\"t\": [", first ? "" : ", ", signal.block->id(), signal.port);
        first = false;
        const auto reader = signal.probe->reader();
        const char* comma = "";
        for_each_step(times, [&](std::uint64_t step, double t) {
            if (!reader->has(step)) return;
            text += comma;
            comma = ", ";
            append_number(text, t);
            flush(piece);
        });
        text += "], \"v\": [";
        const auto values = signal.probe->reader();
        for (std::uint64_t i = 0, count = signal.probe->recording().size(); i < count; ++i) {
            if (i != 0) text += ", ";
            values->append(text);
            flush(piece);
        }
        text += tessel::format("], \"type\": \"{}\"}}", tessel::short_name(signal.type));
    }
    text += "}}\n";
    flush(0);
}

}  // namespace zarn
