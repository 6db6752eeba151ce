// from_workspace: plays a time series of the workspace.
//
//   y(t) = values[i]           i: first sample with t <= times[i]; no interpolation. Past the end the last value stays
//
// Inputs     none
// Output     0: y            flt64
// Parameters expression      names the series in the workspace; read once in the life of the block
// State      i, never falling: update while t > times[i]: i = i + 1; output values[i]; initially 0 and kept from run to
//            run
//
// Writes no code: in a generated project the output stays what it was at the start.
#include <algorithm>

#include "blocks/table.h"
#include "core/convert.h"
#include "core/python.h"
#include "framework/entry.h"

namespace tessel {
namespace {

// ---- what it computes
struct samples_t {
    python::array_t times;
    python::array_t values;
};

template <class T>
struct Playback {
    using in = inputs<>;
    using out = outputs<T>;

    void configure(const void* record) {
        samples = *static_cast<const samples_t*>(record);
        count = std::min(samples.times.count, samples.values.count);
        if (samples.values.data == nullptr) samples.values.data = &nothing;
    }
    T eval(double t, T) noexcept {
        while (index < count && t > samples.times.data[index]) ++index;
        return convert<T>(samples.values.data[index]);  // the element behind the last is there, see array_t
    }

    static constexpr double nothing = 0.0;
    samples_t samples;
    std::uint64_t count = 0;
    std::uint64_t index = 0;
};

// ---- run time
constexpr auto table = kernel_table<Playback, value_types>();
static_assert(table.size() == 11);

// ---- parameters
constexpr parameter_traits_t parameters[] = {
    {
        .key = "expression",
        .meaning = "names the series in the workspace",
        .value = "",
        .content = content_t::series,
        .everyday = {"variable", "series", "data", "name"},
    },
};

// ---- design level: type rule, runnable
class FromWorkspace final : public MetaBlock {
public:
    using MetaBlock::MetaBlock;
    std::uint32_t class_hash() const noexcept override { return class_hash_of("from_workspace"); }
    const char* class_name() const noexcept override { return "from_workspace"; }
    result_t calculate_type() override;
    std::int8_t calculate_zone() noexcept override;
    std::unique_ptr<ExecBlock> create_exec() override;

private:
    std::shared_ptr<python::ISeries> find_series() const {
        return python::wrap()->find_series(param_text("expression").c_str());
    }

    samples_t samples_;
};

result_t FromWorkspace::calculate_type() {
    if (samples_.times.count == 0 && find_series() == nullptr) {
        failed_ = true;
        return result_bad_parameter;
    }
    outputs_[0].set_type_if_unset(type_flt64);
    return result_ok;
}

std::int8_t FromWorkspace::calculate_zone() noexcept {
    zone_ = 0;
    return 0;
}

std::unique_ptr<ExecBlock> FromWorkspace::create_exec() {
    auto exec = create_from(table, *this);
    if (exec == nullptr) return nullptr;
    if (samples_.times.count == 0) {
        if (const auto series = find_series(); series != nullptr) {
            series->load();
            samples_ = {series->time_data(), series->value_data()};
        }
    }
    exec->configure(&samples_);
    return exec;
}

// ---- what others know of it
constexpr text_note_t notes[] = {
    {dialect_t::both, differs, nullptr, "it writes no code: its output stays what it was at the start"},
};

constexpr block_traits_t traits{
    .family = family_t::source,
    .input_count = 0,
    .inputs = {},
    .parameters = parameters,
    .typed_as = type_flt64,
    .steps_first = true,
    .caption = "{expression}",
    .everyday = {"playback", "replay", "time series", "workspace signal", "from file"},
    .text = {.silent = true, .notes = notes},
};

}  // namespace

extern const block_entry_t from_workspace_entry{create_block<FromWorkspace>, table, traits};

}  // namespace tessel
