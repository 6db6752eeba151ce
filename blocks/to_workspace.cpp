// to_workspace: records a signal and leaves it in the workspace as a time series.
//
//   times[n] = t, values[n] = u    one sample for each step in which the block runs
//
// Inputs     0: u
// Outputs    none
// State      times, values: update append t and u; at the end of a run a copy goes to the workspace, under the block's
//            path; initially empty and kept from run to run, so that another run appends
//
// Writes no code: a generated project does not record.
#include <algorithm>
#include <limits>
#include <string>
#include <vector>

#include "blocks/table.h"
#include "core/format.h"
#include "core/python.h"
#include "framework/entry.h"

namespace tessel {
namespace {

// ---- what it computes
struct recording_t {
    std::string target;
    std::vector<double> times;
    std::vector<double> values;
};

/// Makes the series object under the target's name and hands it copies of both arrays, which the bridge takes over.
void store(const recording_t& recording) {
    const auto n = std::min<std::size_t>(recording.times.size(), std::numeric_limits<std::int32_t>::max());
    const auto copy = [n](const std::vector<double>& samples) {
        auto* block = new double[n];
        std::copy_n(samples.begin(), n, block);
        return block;
    };
    const double* times = copy(recording.times);
    const double* values = copy(recording.values);
    const std::string& target = recording.target;
    auto& bridge = *python::wrap();
    bridge.assign(target, tessel::format("zarn.TimeSeries('{:s}')", target));
    bridge.set_array(tessel::format("{:s}.xdata", target), times, static_cast<std::int32_t>(n));
    bridge.set_array(tessel::format("{:s}.ydata", target), values, static_cast<std::int32_t>(n));
}

template <class T>
struct Record {
    using in = inputs<T>;
    using out = outputs<>;

    void configure(const void* target) { recording.target = *static_cast<const std::string*>(target); }
    static with<T, double> taken(T u) noexcept { return flt64(u); }
    void eval(double t, T u) {
        recording.times.push_back(t);
        recording.values.push_back(taken(u));
    }
    void finish() const { store(recording); }

    recording_t recording;
};

// ---- run time
constexpr auto table = kernel_table<Record, value_types>();
static_assert(table.size() == 11);

// ---- design level: runnable
class ToWorkspace final : public MetaBlock {
public:
    using MetaBlock::MetaBlock;
    std::uint32_t class_hash() const noexcept override { return class_hash_of("to_workspace"); }
    const char* class_name() const noexcept override { return "to_workspace"; }
    form_t form() override { return {row_in(table), record_t::of(properties_->python_path)}; }
};

// ---- what others know of it
constexpr text_note_t notes[] = {
    {dialect_t::both, differs, nullptr, "it writes no code: nothing is recorded"},
};

constexpr block_traits_t traits{
    .family = family_t::sink,
    .output_count = 0,
    .outputs = {},
    .icon = icon_t::series,
    .everyday = {"record", "recorder", "logger", "to file", "save", "sink"},
    .text = {.silent = true, .notes = notes},
};

}  // namespace

extern const block_entry_t to_workspace_entry{create_block<ToWorkspace>, table, traits};

}  // namespace tessel
