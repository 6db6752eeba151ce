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

    samples_t samples;
    with<T, list_view> times, values;
    with<T, std::uint64_t> index = std::uint64_t{0};

    // the element behind the last is there, see array_t
    void configure(const void* record) {
        static constexpr double nothing = 0.0;
        samples = *static_cast<const samples_t*>(record);
        const auto& [x, y] = samples;
        times = list_view{x.data, std::min(x.count, y.count)};
        values = list_view{y.data != nullptr ? y.data : &nothing, y.count};
    }
    T eval(with<T, double> t, T y) noexcept {
        index = advance(times, index, t);
        return like(y, element(values, index));
    }
    void members(auto& visit) {
        visit.list("times", times);
        visit.list("values", values);
        visit.state("index", index);
    }
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
    form_t form() override;

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

form_t FromWorkspace::form() {
    const signature_t* row = row_in(table);
    if (row == nullptr) return {};
    if (samples_.times.count == 0) {
        if (const auto series = find_series(); series != nullptr) {
            series->load();
            samples_ = {series->time_data(), series->value_data()};
        }
    }
    return {row, record_t::of(samples_)};
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
