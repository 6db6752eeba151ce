// lut1d: linear interpolation in a table of points.
//
//   y = out[i-1] + (u - bp1[i-1]) / (bp1[i] - bp1[i-1]) * (out[i] - out[i-1])    for the first bp1[i] above u
//       the first or last value of out                                          beyond the ends
//
// Inputs     0: u         any type; computed in flt64
// Output     0: y         type of u; both have the type of the first value of out
// Parameters bp1          list, strictly rising
//            out          list, as long
// State      none
#include <algorithm>
#include <cstring>
#include <memory>

#include "blocks/lookup.h"
#include "blocks/table.h"
#include "blocks/text.h"
#include "framework/entry.h"

namespace tessel {
namespace {

// ---- what it computes
struct points_t {
    std::vector<double> bp;
    std::vector<double> out;
};

bool same_bits(const std::vector<double>& a, const std::vector<double>& b) noexcept {
    return a.size() == b.size() && std::memcmp(a.data(), b.data(), a.size() * sizeof(double)) == 0;
}

/// A copy of a table, or the one made last on this thread where it is the same: a wide model has thousands of blocks
/// with one table, and its steps are faster when that lies in the cache once.
std::shared_ptr<const points_t> shared_copy(const points_t& points) {
    thread_local std::weak_ptr<const points_t> last;
    auto copy = last.lock();
    if (copy == nullptr || !same_bits(copy->bp, points.bp) || !same_bits(copy->out, points.out)) {
        copy = std::make_shared<const points_t>(points);
        last = copy;
    }
    return copy;
}

template <class T>
struct Lookup1d {
    using in = inputs<T>;
    using out = outputs<T>;

    std::shared_ptr<const points_t> points;
    with<T, list_view> bp, values;

    // a table without points is 0 everywhere
    void configure(const void* record) noexcept {
        const auto& given = *static_cast<const points_t*>(record);
        const std::size_t count = std::min(given.bp.size(), given.out.size());
        points = shared_copy(count != 0 ? given : points_t{{0.0}, {0.0}});
        bp = list_view{points->bp.data(), std::max<std::size_t>(count, 1)};
        values = list_view{points->out.data(), std::max<std::size_t>(count, 1)};
    }
    T eval(with<T, double>, T, T u) const noexcept { return like(u, interpolate(flt64(u), bp, values)); }
    void members(auto& visit) {
        visit.list("bp", bp);
        visit.list("out", values);
    }
};

// ---- run time
constexpr auto table = kernel_table<Lookup1d, value_types>();
static_assert(table.size() == 11);

// ---- parameters
constexpr parameter_traits_t parameters[] = {
    {
        .key = "bp1",
        .meaning = "breakpoints of the input",
        .value = "[0.0, 1.0, 2.0]",
        .scope = "_bp",
        .content = content_t::list,
        .limit = limit_t::rising,
        .pasted = true,
        .six_digits = true,
        .everyday = {"x", "breakpoints", "input values"},
    },
    {
        .key = "out",
        .meaning = "table: the output at each breakpoint",
        .value = "[0.0, 1.0, 2.0]",
        .scope = "_out",
        .content = content_t::list,
        .pasted = true,
        .six_digits = true,
        .everyday = {"y", "table", "values", "output values"},
    },
};

// ---- design level: type rule, runnable, generated text
class Lut1d final : public LookupBlock {
public:
    using LookupBlock::LookupBlock;
    std::uint32_t class_hash() const noexcept override { return class_hash_of("lut1d"); }
    const char* class_name() const noexcept override { return "lut1d"; }

    result_t calculate_type() override {
        type_t type = type_flt64;
        if (points_.out.empty()) {
            if (const result_t result = read_table(type); result != result_ok) return result;
        }
        type_ports(type);
        return MetaBlock::calculate_type();
    }

    form_t form() override { return {row_in(table), record_t::of(points_)}; }

    result_t code_struct_c(sys::File& file) override {
        write_struct_c(file, struct_name(),
                       {std::string(c_type(outputs_[0])) + " port0", tessel::format("double bp[{}]", points_.bp.size()),
                        tessel::format("double out[{}]", points_.out.size())});
        return result_ok;
    }

    result_t code_struct_py(sys::File& file) override {
        write_class_py(file, "lut1d_t", {"port0 = 0", "bp = " + param_text("bp1"), "out = " + param_text("out")});
        return result_ok;
    }

    result_t code_init_c(sys::File& file, const char* prefix) override {
        const std::string state = own_state(prefix);
        for (std::size_t i = 0; i < std::min(points_.bp.size(), points_.out.size()); ++i) {
            write_element_c(file, state + ".bp", i, points_.bp[i]);
            write_element_c(file, state + ".out", i, points_.out[i]);
        }
        return result_ok;
    }

    result_t code_init_py(sys::File& file, const char* prefix) override {
        const std::string state = own_state(prefix);
        write_indented(2, file, "{}.bp = {}\n", state, param_text("bp1"));
        write_indented(2, file, "{}.out = {}\n", state, param_text("out"));
        return result_ok;
    }

    result_t code_step_c(sys::File& file, const char* prefix) override {
        const std::string state = own_state(prefix);
        write_step_c(file, 0, "{} = ({}) interpolate1d({}, {}.bp, {}.out, {});\n", own_port(prefix),
                     c_type(outputs_[0]), in_value(prefix, 0), state, state, points_.out.size());
        return result_ok;
    }

    result_t code_step_py(sys::File& file, const char* prefix) override {
        const std::string state = own_state(prefix);
        write_step_py(file, 0, "{} = coder.interpolate1d({}, {}.bp, {}.out)\n", own_port(prefix), in_value(prefix, 0),
                      state, state);
        return result_ok;
    }

private:
    /// Evaluates both lists; tells the type of the first table value.
    result_t read_table(type_t& type) {
        python::var_array_t bp, out;
        const result_t bp_result = evaluate_list(parameters[0], bp);
        const result_t out_result = evaluate_list(parameters[1], out);
        failed_ = true;
        if (bp.dimensions != out.dimensions) return result_table_mismatch;
        if (bp_result != result_ok) return bp_result;
        if (out_result != result_ok) return out_result;
        failed_ = false;
        append(points_.bp, bp);
        append(points_.out, out);
        if (!out.values.empty()) type = out.values.front().type();
        return result_ok;
    }

    points_t points_;
};

// ---- what others know of it
constexpr block_traits_t traits{
    .family = family_t::table,
    .parameters = parameters,
    .asks_each_time = true,
    .icon = icon_t::curve,
    .everyday = {"lookup", "lookup table", "1d lookup table", "interpolation table", "characteristic"},
};

}  // namespace

extern const block_entry_t lut1d_entry{create_block<Lut1d>, table, traits};

}  // namespace tessel
