#include "host/session/results.h"

#include <memory>

#include "core/format.h"
#include "host/session/json_text.h"
#include "host/session/session.h"

namespace zarn {
namespace {

constexpr std::size_t piece = 1u << 16;  // bytes that are written at once

/// Calls `use(step, time)` for each step.
template <class Use>
void for_each_step(const times_t& times, Use use) {
    double t = times.ti;
    for (std::uint64_t step = 0; step < times.count; ++step, t = t + times.ts) use(step, t);
}

}  // namespace

CsvWriter::CsvWriter(OutputFile& file, const std::vector<signal_t>& signals, double ti, double ts)
    : file_(file), signals_(signals), t_(ti), ts_(ts) {
    std::string text = "time";
    for (const signal_t& signal : signals) text += ',' + signal.name;
    file_.write(text + '\n');
}

void CsvWriter::take(std::uint64_t end) {
    std::vector<std::unique_ptr<Reader>> readers;
    readers.reserve(signals_.size());
    for (const signal_t& signal : signals_) readers.push_back(signal.probe->reader());
    std::string text;
    for (; step_ < end; ++step_, t_ = t_ + ts_) {
        append_number(text, t_);
        for (const auto& reader : readers) {
            text += ',';
            if (reader->has(step_)) reader->append_plain(text);
        }
        text += '\n';
        if (text.size() < piece) continue;
        file_.write(text);
        text.clear();
    }
    file_.write(text);
}

void write_csv(OutputFile& file, const times_t& times, const std::vector<signal_t>& signals) {
    CsvWriter(file, signals, times.ti, times.ts).finish(times.count);
}

void write_json_results(const std::function<void(std::string_view)>& out, tessel::result_t result, const times_t& times,
                        const std::vector<signal_t>& signals, std::string_view rest) {
    std::string text =
        tessel::format("{{\"schema\": {}, \"result\": {}, \"series\": {{", json_schema, static_cast<int>(result));
    const auto flush = [&](std::size_t limit) {
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
    text += "}, \"signals\": {";
    for (const char* comma = ""; const signal_t& signal : signals) {
        text += tessel::format("{}\"{}:{}\": {{\"name\": {}, \"path\": {}, \"class\": \"{}\", \"type\": \"{}\"}}",
                               comma, signal.block->id(), signal.port, json_string(signal.name),
                               json_string(path_of(*signal.block)), signal.block->class_name(),
                               tessel::short_name(signal.type));
        comma = ", ";
        flush(piece);
    }
    text += tessel::format("}}{}}}\n", rest);
    flush(0);
}

}  // namespace zarn
