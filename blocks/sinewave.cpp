// sinewave: a sine of the time.
//
//   y = sin(w * t + p)          w = 2 pi frequency, p = phase in radians
//
// Inputs     none
// Output     0: y                flt64
// Parameters frequency [hz]      above 0 when written as an expression
//            phase [deg]
// State      none
#include "blocks/parameters.h"
#include "blocks/table.h"
#include "blocks/text.h"
#include "framework/entry.h"

namespace tessel {
namespace {

// ---- what it computes
struct wave_t {
    double freq_rad_s;
    double phase_rad;

    static wave_t of(double frequency_hz, double phase_deg) noexcept {
        constexpr double pi = 3.141592653589793;
        return {2.0 * (pi * frequency_hz), phase_deg * pi / 180.0};
    }
};

template <class T>
struct SineWave {
    using in = inputs<>;
    using out = outputs<T>;

    T freq = 0.0, phase = 0.0;

    void configure(const void* record) noexcept {
        freq = static_cast<const wave_t*>(record)->freq_rad_s;
        phase = static_cast<const wave_t*>(record)->phase_rad;
    }
    T eval(T t, T) const noexcept { return sine(freq * t + phase); }
    void members(auto& visit) {
        visit.parameter("freq", freq);
        visit.parameter("phase", phase);
    }
};

// ---- run time
constexpr auto table = kernel_table<SineWave, type_list<double>>();
static_assert(table.size() == 1);

// ---- parameters
constexpr parameter_traits_t parameters[] = {
    {
        .key = "frequency",
        .meaning = "frequency",
        .value = "10.0",
        .scope = "_frequency",
        .unit = hertz,
        .limit = limit_t::above_0,
        .everyday = {"freq", "hz", "f"},
    },
    {
        .key = "phase",
        .meaning = "phase at time 0",
        .value = "0.0",
        .scope = "_deg",
        .unit = degrees,
        .everyday = {"angle", "phase shift"},
    },
};

// ---- design level: type rule, runnable, generated text
class Sinewave final : public SourceBlock {
public:
    using SourceBlock::SourceBlock;
    std::uint32_t class_hash() const noexcept override { return class_hash_of("sinewave"); }
    const char* class_name() const noexcept override { return "sinewave"; }

    result_t calculate_type() override {
        const result_t result = read_alike({{parameters[0], &frequency_}, {parameters[1], &phase_}});
        if (result != result_ok) return result;
        if (is_text("frequency") && !(static_cast<double>(frequency_) > 0.0)) return fail(result_bad_parameter);
        return type_output(type_flt64);
    }

    form_t form() override { return {row_in(table), wave()}; }

    result_t code_struct_c(sys::File& file) override {
        write_struct_c(file, struct_name(),
                       {std::string(c_type(outputs_[0])) + " port0", "double freq_rad_s", "double phase_rad"});
        return result_ok;
    }

    result_t code_struct_py(sys::File& file) override {
        write_class_py(file, "sinewave_t", {"port0 = 0", "freq_rad_s = 0", "phase_rad = 0"});
        return result_ok;
    }

    result_t code_init_c(sys::File& file, const char* prefix) override {
        const std::string state = own_state(prefix);
        write_indented(1, file, "{}.freq_rad_s = {:g}; // {:g} hz\n", state, wave().freq_rad_s, double(frequency_));
        write_indented(1, file, "{}.phase_rad = {:g}; // {:g} deg\n", state, wave().phase_rad, double(phase_));
        return result_ok;
    }

    result_t code_init_py(sys::File& file, const char* prefix) override {
        const std::string state = own_state(prefix);
        write_indented(2, file, "{}.freq_rad_s = {:g} # {:g} hz\n", state, wave().freq_rad_s, double(frequency_));
        write_indented(2, file, "{}.phase_rad = {:g} # {:g} deg\n", state, wave().phase_rad, double(phase_));
        return result_ok;
    }

    result_t code_step_c(sys::File& file, const char* prefix) override {
        const std::string state = own_state(prefix);
        write_step_c(file, 0, "{} = sin({} * {}.freq_rad_s + {}.phase_rad);\n", own_port(prefix), now_value_c, state,
                     state);
        return result_ok;
    }

    result_t code_step_py(sys::File& file, const char* prefix) override {
        const std::string state = own_state(prefix);
        write_step_py(file, 0, "{} = math.sin({} * {}.freq_rad_s + {}.phase_rad)\n", own_port(prefix), now_value_py,
                      state, state);
        return result_ok;
    }

private:
    wave_t wave() const noexcept { return wave_t::of(double(frequency_), double(phase_)); }

    var_t frequency_;
    var_t phase_;
};

// ---- what others know of it
constexpr text_note_t notes[] = {
    {dialect_t::both, differs, nullptr, "angular frequency and phase are written with six digits"},
};

constexpr block_traits_t traits{
    .family = family_t::source,
    .input_count = 0,
    .inputs = {},
    .parameters = parameters,
    .first_decides = true,
    .typed_as = type_flt64,
    .steps_first = true,
    .icon = icon_t::sine,
    .everyday = {"sine wave", "oscillator", "signal generator", "sinus"},
    .text = {.notes = notes},
};

}  // namespace

extern const block_entry_t sinewave_entry{create_block<Sinewave>, table, traits};

}  // namespace tessel
