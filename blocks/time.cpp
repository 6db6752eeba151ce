// time: the current time.
//
//   y = t      seconds
//
// Inputs     none
// Output     0: y      flt64
// State      none
#include "blocks/parameters.h"
#include "blocks/table.h"
#include "framework/entry.h"

namespace tessel {
namespace {

// ---- what it computes
template <class T>
struct Now {
    using in = inputs<>;
    using out = outputs<T>;
    T eval(T t, T) const noexcept { return t; }
};

// ---- run time
constexpr auto table = kernel_table<Now, type_list<double>>();
static_assert(table.size() == 1);

// ---- design level: type rule, runnable, generated text
class Time final : public SourceBlock {
public:
    using SourceBlock::SourceBlock;
    std::uint32_t class_hash() const noexcept override { return class_hash_of("time"); }
    const char* class_name() const noexcept override { return "time"; }
    result_t calculate_type() override { return type_output(type_flt64); }
    form_t form() override { return {row_in(table)}; }

    result_t code_step_c(sys::File& file, const char* prefix) override {
        write_step_c(file, 0, "{} = {};\n", own_port(prefix), now_value_c);
        return result_ok;
    }

    result_t code_step_py(sys::File& file, const char* prefix) override {
        write_step_py(file, 0, "{} = {}\n", own_port(prefix), now_value_py);
        return result_ok;
    }
};

// ---- what others know of it
constexpr block_traits_t traits{
    .family = family_t::source,
    .input_count = 0,
    .inputs = {},
    .steps_first = true,
    .icon = icon_t::clock,
    .everyday = {"clock", "current time", "simulation time", "t"},
};

}  // namespace

extern const block_entry_t time_entry{create_block<Time>, table, traits};

}  // namespace tessel
