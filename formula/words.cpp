#include "formula/words.h"

#include <algorithm>
#include <limits>
#include <string_view>
#include <type_traits>

#include "core/format.h"

namespace tessel {

namespace {

// How strongly an operator binds, in the order of C.
enum binding { choice, either, both, comparison, exclusive, masked, shift, additive, multiplicative, prefix, atom };

enum class shape : std::uint8_t { leaf, infix, call };

struct spelling_t {
    const char* text;
    shape form;
    binding bound = atom;
};

spelling_t spelling(op_t op) noexcept {
    switch (op) {
        case op_t::absolute: return {"fabs", shape::call};
        case op_t::square_root: return {"sqrt", shape::call};
        case op_t::sine: return {"sin", shape::call};
        case op_t::cosine: return {"cos", shape::call};
        case op_t::tangent: return {"tan", shape::call};
        case op_t::arc_sine: return {"asin", shape::call};
        case op_t::arc_cosine: return {"acos", shape::call};
        case op_t::arc_tangent: return {"atan", shape::call};
        case op_t::logarithm: return {"log", shape::call};
        case op_t::power: return {"pow", shape::call};
        case op_t::between: return {"lerp", shape::call};
        case op_t::interpolate1d:
        case op_t::interpolate2d: return {"interpolate", shape::call};
        case op_t::advance: return {"first_not_before", shape::call};
        case op_t::add: return {" + ", shape::infix, additive};
        case op_t::subtract: return {" - ", shape::infix, additive};
        case op_t::multiply: return {" * ", shape::infix, multiplicative};
        case op_t::divide: return {" / ", shape::infix, multiplicative};
        case op_t::remainder: return {" % ", shape::infix, multiplicative};
        case op_t::bit_and: return {" & ", shape::infix, masked};
        case op_t::bit_xor: return {" ^ ", shape::infix, exclusive};
        case op_t::shift_left: return {" << ", shape::infix, shift};
        case op_t::shift_right: return {" >> ", shape::infix, shift};
        case op_t::equal: return {" == ", shape::infix, comparison};
        case op_t::unequal: return {" != ", shape::infix, comparison};
        case op_t::less: return {" < ", shape::infix, comparison};
        case op_t::less_equal: return {" <= ", shape::infix, comparison};
        case op_t::greater: return {" > ", shape::infix, comparison};
        case op_t::greater_equal: return {" >= ", shape::infix, comparison};
        case op_t::logical_and: return {" && ", shape::infix, both};
        case op_t::logical_or: return {" || ", shape::infix, either};
        default: return {"", shape::leaf};
    }
}

std::string number_text(type_t type, std::uint64_t bits) {
    std::string text;
    with_type(type, [&]<class T>(T) {
        if constexpr (std::is_same_v<T, bool>) text = from_bits<bool>(bits) ? "true" : "false";
        else text = format("{}", +from_bits<T>(bits));
    });
    return text;
}

/// Whether a conversion gives every value of the type as it is.
bool keeps_value(type_t from, type_t to) noexcept {
    bool keeps = false;
    with_type(from, [&]<class From>(From) {
        with_type(to, [&]<class To>(To) {
            using F = std::numeric_limits<From>;
            using T = std::numeric_limits<To>;
            keeps = F::digits <= T::digits && (T::is_signed || !F::is_signed) && (F::is_integer || !T::is_integer);
        });
    });
    return keeps;
}

class writer {
public:
    explicit writer(const formula_t& formula) : f_(formula), uses_(formula.values.size()), known_(uses_.size()) {}
    std::vector<std::string> lines();

private:
    struct text_t {
        std::string text;
        binding bound;
    };

    void count(std::int32_t number);
    void write_shared(std::int32_t number);
    text_t text(std::int32_t number);
    text_t fresh(const value_t& v);
    text_t conversion(const value_t& v);
    text_t choice_of(const value_t& v);
    std::string leaf(const value_t& v) const;
    std::string call(std::string_view name, const value_t& v);
    std::string operand(std::int32_t number, binding least) {
        text_t t = text(number);
        return t.bound >= least ? std::move(t.text) : format("({})", t.text);
    }
    std::string& known(std::int32_t number) { return known_[static_cast<std::size_t>(number)]; }

    const formula_t& f_;
    std::vector<int> uses_;
    std::vector<std::string> known_;  // names of values that stand on a line of their own
    std::vector<std::string> lines_;
};

void writer::count(std::int32_t number) {
    if (++uses_[static_cast<std::size_t>(number)] > 1) return;
    for (const std::int32_t operand : f_.at(number).of) count(operand);
}

/// Values with a name that are used twice get lines of their own.
void writer::write_shared(std::int32_t number) {
    const value_t& v = f_.at(number);
    if (!known(number).empty() || v.of.empty()) return;
    for (const std::int32_t operand : v.of) write_shared(operand);
    if (uses_[static_cast<std::size_t>(number)] < 2 || v.name == nullptr) return;
    lines_.push_back(format("{} = {}", v.name, text(number).text));
    known(number) = v.name;
}

std::string writer::leaf(const value_t& v) const {
    switch (v.op) {
        case op_t::constant: return number_text(v.type, v.bits);
        case op_t::time: return "t";
        case op_t::input: return f_.inputs[v.bits].name;
        default: return v.name != nullptr ? v.name : "?";
    }
}

std::string writer::call(std::string_view name, const value_t& v) {
    std::string out = format("{}(", name);
    for (std::size_t i = 0; i < v.of.size(); ++i) out += format("{}{}", i != 0 ? ", " : "", text(v.of[i]).text);
    return out + ")";
}

writer::text_t writer::conversion(const value_t& v) {
    const type_t from = f_.at(v.of[0]).type;
    if (v.type == type_bool) return {format("{} != 0", operand(v.of[0], additive)), comparison};
    if (keeps_value(from, v.type)) return text(v.of[0]);
    return {call(short_name(v.type), v), atom};
}

/// Cases, one after the other.
writer::text_t writer::choice_of(const value_t& v) {
    if (v.op == op_t::select) {
        std::string out =
            format("{} ? {} : {}", operand(v.of[0], either), operand(v.of[1], either), text(v.of[2]).text);
        return {std::move(out), choice};
    }
    const std::string index = operand(v.of[0], additive);
    std::string out;
    for (std::size_t i = 2; i < v.of.size(); ++i)
        out += format("{} == {} ? {} : ", index, i - 2, operand(v.of[i], either));
    return {format("{}{}", out, text(v.of[1]).text), choice};
}

writer::text_t writer::fresh(const value_t& v) {
    switch (v.op) {
        case op_t::convert: return conversion(v);
        case op_t::negate: return {format("!{}", operand(v.of[0], prefix)), prefix};
        case op_t::select:
        case op_t::choose: return choice_of(v);
        case op_t::element: return {format("{}[{}]", text(v.of[0]).text, text(v.of[1]).text), atom};
        case op_t::remainder:
            if (v.type == type_flt32 || v.type == type_flt64) return {call("fmod", v), atom};
            break;
        default: break;
    }
    const spelling_t as = spelling(v.op);
    if (as.form == shape::leaf) return {leaf(v), atom};
    if (as.form == shape::call) return {call(as.text, v), atom};
    // from the left; what stands to the right binds more strongly
    const auto right = static_cast<binding>(as.bound + 1);
    return {format("{}{}{}", operand(v.of[0], as.bound), as.text, operand(v.of[1], right)), as.bound};
}

writer::text_t writer::text(std::int32_t number) {
    if (!known(number).empty()) return {known(number), atom};
    return fresh(f_.at(number));
}

std::vector<std::string> writer::lines() {
    const auto is_kept = [this](const state_t& state, std::size_t i) {
        const value_t& next = f_.at(state.next);
        return next.op == op_t::state && next.bits == i;
    };
    const std::int32_t result = f_.has_output() ? f_.output.next : f_.taken;
    count(result);
    for (const state_t& state : f_.states) count(state.next);
    for (std::size_t i = 0; i < f_.states.size(); ++i) {
        const state_t& state = f_.states[i];
        if (is_kept(state, i)) continue;
        for (const std::int32_t operand : f_.at(state.next).of) write_shared(operand);
        const std::string next = format("{}'", state.name);
        lines_.push_back(format("{} = {}", next, text(state.next).text));
        if (!f_.at(state.next).of.empty()) known(state.next) = next;
    }
    write_shared(result);
    if (f_.has_output()) lines_.push_back(format("{} = {}", f_.output.name, text(result).text));
    else lines_.push_back(format("takes {}", text(result).text));
    return std::move(lines_);
}

}  // namespace

std::vector<std::string> lines_of(const formula_t& formula) { return writer(formula).lines(); }

std::vector<std::string> parameters_of(const formula_t& formula) {
    constexpr std::size_t most_values = 8;
    std::vector<std::string> out;
    for (const formula_parameter_t& p : formula.parameters)
        out.push_back(format("{} = {}", p.name, number_text(p.type, p.value)));
    for (const list_t& list : formula.lists) {
        std::string text = format("{} = [", list.name);
        for (std::size_t i = 0; i < std::min(list.values.size(), most_values); ++i)
            text += format("{}{}", i != 0 ? ", " : "", list.values[i]);
        out.push_back(text + (list.values.size() > most_values ? ", ...]" : "]"));
    }
    return out;
}

}  // namespace tessel
