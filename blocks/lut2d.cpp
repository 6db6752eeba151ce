// lut2d: bilinear interpolation in a table.
//
//   y = (1 - w1) * ((1 - w2) * out[f1][f2] + w2 * out[f1][s2]) + w1 * ((1 - w2) * out[s1][f2] + w2 * out[s1][s2])
//
//       f, s = breakpoints around u0 in bp1 and around u1 in bp2,  w = (u - bp[f]) / (bp[s] - bp[f])
//
// An input beyond the breakpoints counts as the outermost one; generated C and Python extrapolate there.
//
// Inputs     0: u0   1: u1      any types; computed in flt64
// Output     0: y               highest type among the inputs; all are flt64 unless typed otherwise
// Parameters bp1                list, strictly rising: rows of the table
//            bp2                list, strictly rising: columns
//            out                list of rows
// State      none
#include "blocks/lookup.h"
#include "blocks/table.h"
#include "blocks/text.h"
#include "framework/entry.h"

namespace tessel {
namespace {

// ---- what it computes
struct grid_t {
    std::vector<double> bp1;
    std::vector<double> bp2;
    std::vector<double> out;
};

template <class A, class B>
struct Lookup2d {
    using in = inputs<A, B>;
    using out = outputs<highest<A, B>>;

    grid_t grid;
    with<A, list_view> bp1, bp2, values;

    // a table without points is 0 everywhere
    void configure(const void* record) noexcept {
        grid = *static_cast<const grid_t*>(record);
        if (grid.out.empty() || grid.out.size() != grid.bp1.size() * grid.bp2.size()) grid = {{0.0}, {0.0}, {0.0}};
        bp1 = list_view{grid.bp1.data(), grid.bp1.size()};
        bp2 = list_view{grid.bp2.data(), grid.bp2.size()};
        values = list_view{grid.out.data(), grid.out.size()};
    }
    highest<A, B> eval(with<A, double>, highest<A, B> y, A u0, B u1) const noexcept {
        return like(y, interpolate(flt64(u0), flt64(u1), bp1, bp2, values));
    }
    void members(auto& visit) {
        visit.list("bp1", bp1);
        visit.list("bp2", bp2);
        visit.list("out", values);
    }
};

// ---- run time
constexpr auto table = kernel_table<Lookup2d, value_types, value_types>();
static_assert(table.size() == 121);

// ---- parameters
constexpr parameter_traits_t parameters[] = {
    {
        .key = "bp1",
        .meaning = "breakpoints of input 0: the rows of the table",
        .value = "[0.0, 1.0]",
        .scope = "_bp1",
        .content = content_t::list,
        .limit = limit_t::rising,
        .pasted = true,
        .six_digits = true,
        .everyday = {"x", "rows"},
    },
    {
        .key = "bp2",
        .meaning = "breakpoints of input 1: its columns",
        .value = "[0.0, 1.0, 2.0]",
        .scope = "_bp2",
        .content = content_t::list,
        .limit = limit_t::rising,
        .pasted = true,
        .six_digits = true,
        .everyday = {"y", "columns"},
    },
    {
        .key = "out",
        .meaning = "table: a list of rows",
        .value = "[[0.0, 1.0, 2.0],[0.0, 1.0, 2.0]]",
        .scope = "_out",
        .content = content_t::list,
        .pasted = true,
        .six_digits = true,
        .everyday = {"z", "table", "values"},
    },
};

// ---- design level: type rule, runnable, generated text
class Lut2d final : public LookupBlock {
public:
    using LookupBlock::LookupBlock;
    std::uint32_t class_hash() const noexcept override { return class_hash_of("lut2d"); }
    const char* class_name() const noexcept override { return "lut2d"; }

    result_t calculate_type() override {
        if (grid_.out.empty()) {
            if (const result_t result = read_table(); result != result_ok) return result;
        }
        type_ports(type_flt64);
        return MetaBlock::calculate_type();
    }

    form_t form() override { return {row_in(table), record_t::of(grid_)}; }

    result_t code_struct_c(sys::File& file) override {
        write_struct_c(
            file, struct_name(),
            {std::string(c_type(outputs_[0])) + " port0", tessel::format("double bp1[{}]", grid_.bp1.size()),
             tessel::format("double bp2[{}]", grid_.bp2.size()), tessel::format("double out[{}]", grid_.out.size())});
        return result_ok;
    }

    result_t code_struct_py(sys::File& file) override {
        write_class_py(
            file, "lut2d_t",
            {"port0 = 0", "bp1 = " + param_text("bp1"), "bp2 = " + param_text("bp2"), "out = " + param_text("out")});
        return result_ok;
    }

    result_t code_init_c(sys::File& file, const char* prefix) override {
        const std::string state = own_state(prefix);
        for (std::size_t i = 0; i < grid_.bp1.size(); ++i) write_element_c(file, state + ".bp1", i, grid_.bp1[i]);
        for (std::size_t i = 0; i < grid_.bp2.size(); ++i) write_element_c(file, state + ".bp2", i, grid_.bp2[i]);
        for (std::size_t i = 0; i < grid_.out.size(); ++i) write_element_c(file, state + ".out", i, grid_.out[i]);
        return result_ok;
    }

    result_t code_init_py(sys::File& file, const char* prefix) override {
        const std::string state = own_state(prefix);
        write_indented(2, file, "{}.bp1 = {}\n", state, param_text("bp1"));
        write_indented(2, file, "{}.bp2 = {}\n", state, param_text("bp2"));
        write_indented(2, file, "{}.out = {}\n", state, param_text("out"));
        return result_ok;
    }

    result_t code_step_c(sys::File& file, const char* prefix) override {
        const std::string state = own_state(prefix);
        write_step_c(file, 0, "{} = ({}) interpolate2d({}, {}, {}.bp1, {}.bp2, {}.out, {}, {});\n", own_port(prefix),
                     c_type(outputs_[0]), in_value(prefix, 0), in_value(prefix, 1), state, state, state,
                     grid_.bp1.size(), grid_.bp2.size());
        return result_ok;
    }

    result_t code_step_py(sys::File& file, const char* prefix) override {
        const std::string state = own_state(prefix);
        write_step_py(file, 0, "{} = coder.interpolate2d({}, {}, {}.bp1, {}.bp2, {}.out)\n", own_port(prefix),
                      in_value(prefix, 0), in_value(prefix, 1), state, state, state);
        return result_ok;
    }

private:
    /// Evaluates the three lists.
    result_t read_table() {
        python::var_array_t bp1, bp2, out;
        const result_t results[] = {evaluate_list(parameters[0], bp1), evaluate_list(parameters[1], bp2),
                                    evaluate_list(parameters[2], out)};
        failed_ = true;
        if (out.dimensions[0] != bp1.values.size() || out.dimensions[1] != bp2.values.size())
            return result_table_mismatch;
        for (const result_t result : results)
            if (result != result_ok) return result;
        failed_ = false;
        append(grid_.bp1, bp1);
        append(grid_.bp2, bp2);
        append(grid_.out, out);
        return result_ok;
    }

    grid_t grid_;
};

// ---- what others know of it
constexpr text_note_t notes[] = {
    {dialect_t::c, differs, nullptr, "inputs outside of the table extrapolate; a run clips them"},
};

constexpr block_traits_t traits{
    .family = family_t::table,
    .input_count = 2,
    .inputs = {{.name = "u0", .label = "u1"}, {.name = "u1", .label = "u2"}},
    .parameters = parameters,
    .typed_as = type_flt64,
    .asks_each_time = true,
    .icon = icon_t::grid,
    .everyday = {"2d lookup table", "map", "characteristic map"},
    .text = {.notes = notes},
};

}  // namespace

extern const block_entry_t lut2d_entry{create_block<Lut2d>, table, traits};

}  // namespace tessel
