#include "coder/exact/expression.h"

#include <algorithm>

#include "coder/exact/write_c.h"
#include "core/format.h"

namespace tessel::exact {
namespace {

bool is_float(type_t type) { return type == type_flt32 || type == type_flt64; }
bool is_signed_word(type_t type) { return type == type_int32 || type == type_int64; }
bool is_integer(type_t type) { return type != type_bool && !is_float(type); }

std::string in_parentheses(const expression_t& e, binding_t least) {
    return e.binding >= least ? e.text : tessel::format("({})", e.text);
}

std::string cast(const char* type, const expression_t& e) {
    return tessel::format("({}){}", type, in_parentheses(e, prefix_operator));
}

const char* function_name(op_t op) {
    switch (op) {
        case op_t::absolute: return "fabs";
        case op_t::square_root: return "sqrt";
        case op_t::sine: return "sin";
        case op_t::cosine: return "cos";
        case op_t::tangent: return "tan";
        case op_t::arc_sine: return "asin";
        case op_t::arc_cosine: return "acos";
        case op_t::arc_tangent: return "atan";
        case op_t::logarithm: return "log";
        case op_t::power: return "pow";
        case op_t::remainder: return "fmod";
        default: return nullptr;
    }
}

const char* sign_of(op_t op) {
    switch (op) {
        case op_t::add: return "+";
        case op_t::subtract: return "-";
        case op_t::multiply: return "*";
        case op_t::divide: return "/";
        case op_t::bit_and: return "&";
        case op_t::bit_xor: return "^";
        case op_t::shift_left: return "<<";
        case op_t::shift_right: return ">>";
        case op_t::equal: return "==";
        case op_t::unequal: return "!=";
        case op_t::less: return "<";
        case op_t::less_equal: return "<=";
        case op_t::greater: return ">";
        case op_t::greater_equal: return ">=";
        case op_t::logical_and: return "&&";
        default: return "||";
    }
}

/// "i32" of int32
const char* word_of(type_t type) {
    switch (type) {
        case type_int32: return "i32";
        case type_uint32: return "u32";
        case type_int64: return "i64";
        default: return "u64";
    }
}

bool wraps(op_t op) { return op == op_t::add || op == op_t::subtract || op == op_t::multiply; }

}  // namespace

std::vector<std::string> library_functions() {
    std::vector<std::string> names{"fma", "fmaf"};
    for (int op = 0; op <= static_cast<int>(op_t::element); ++op) {
        const char* name = function_name(static_cast<op_t>(op));
        if (name == nullptr) continue;
        names.emplace_back(name);
        names.push_back(names.back() + "f");
    }
    return names;
}

// ---- which form a value takes

expression_t Expressions::of(std::int32_t number) {
    if (is_known(number)) return {known_[static_cast<std::size_t>(number)]};
    return fresh(at(number));
}

std::string Expressions::operand(std::int32_t number, binding_t least) { return in_parentheses(of(number), least); }

bool Expressions::is_short(std::int32_t number) const {
    if (is_known(number)) return true;
    const value_t& v = at(number);
    const auto short_conversion = [](type_t from, type_t to) { return !is_float(from) || is_float(to); };
    if (v.op == op_t::convert)
        return is_short(v.of[0]) && short_conversion(at(v.of[0]).type, v.type) && v.type != type_bool;
    if (v.op != op_t::input) return v.of.empty();
    const cell_number source = statement_.sources[v.bits];
    return source == no_cell || short_conversion(program_.unit.cell(source).type, v.type);
}

expression_t Expressions::fresh(const value_t& v) {
    if (v.of.empty()) return leaf(v);
    if (is_float(v.type) && function_name(v.op) != nullptr) return called(v);
    switch (v.op) {
        case op_t::convert: return conversion(v);
        case op_t::negate: return {tessel::format("!{}", operand(v.of[0], prefix_operator)), prefix_operator};
        case op_t::select:
        case op_t::choose: return chosen(v);
        case op_t::between:
        case op_t::interpolate1d:
        case op_t::interpolate2d:
        case op_t::advance:
        case op_t::element: return over_lists(v);
        case op_t::bit_and:
        case op_t::bit_xor: {
            return {tessel::format("{} {} {}", operand(v.of[0], prefix_operator), sign_of(v.op),
                                   operand(v.of[1], prefix_operator)),
                    bits};
        }
        case op_t::shift_left:
        case op_t::shift_right: return shifted(v);
        case op_t::add:
        case op_t::subtract:
        case op_t::multiply:
        case op_t::divide:
        case op_t::remainder: return arithmetic(v);
        case op_t::logical_and: return joined(v, both);
        case op_t::logical_or: return joined(v, either);
        default: return compared(v);
    }
}

// ---- leaves

expression_t Expressions::leaf(const value_t& v) {
    switch (v.op) {
        case op_t::constant: {
            std::string text = constant_text(v.type, v.bits);
            const bool negative = text.front() == '-' || text.front() == '(';
            return {std::move(text), negative ? prefix_operator : atom};
        }
        case op_t::input: return input(v.bits);
        case op_t::parameter: {
            const cell_number number = statement_.parameters[v.bits];
            program_.constants.insert(number);
            return {program_.at(number)};
        }
        case op_t::state: return {program_.at(statement_.states[v.bits])};
        case op_t::time: return {"m->time"};
        default: return {program_.at(statement_.target)};
    }
}

/// What an input samples: its source's value in its own type.
expression_t Expressions::input(std::size_t index) {
    const type_t type = formula().inputs[index].type;
    const cell_number source = statement_.sources[index];
    if (source == no_cell) return {constant_text(type, 0)};
    const cell_t& cell = program_.unit.cell(source);
    if (!cell.kept && cell.role == role_t::parameter) program_.constants.insert(source);
    return converted({program_.at(source)}, cell.type, type);
}

// ---- conversions

expression_t Expressions::converted(const expression_t& from, type_t source, type_t to) {
    if (source == to) return from;
    if (to == type_bool)
        return {tessel::format("{} != {}", in_parentheses(from, prefix_operator),
                               constant_text(is_float(source) ? source : type_int32, 0)),
                comparison};
    if (!is_float(source) || is_float(to)) return {cast(type_text(to), from), prefix_operator};
    const std::string wide = source == type_flt32 ? cast("double", from) : from.text;
    const type_t through = to == type_int64 || to == type_uint64 || to == type_uint32 ? to : type_int32;
    const expression_t call{
        tessel::format("{}({})", program_.rules.use(tessel::format("f64_to_{}", word_of(through))), wide)};
    return through == to ? call : expression_t{cast(type_text(to), call), prefix_operator};
}

expression_t Expressions::conversion(const value_t& v) {
    const value_t& from = at(v.of[0]);
    // a wrapped word is cut as it is: no need to make it signed before
    if (is_integer(v.type) && is_signed_word(from.type) && wraps(from.op) && !is_known(v.of[0]) &&
        size_of(v.type) <= size_of(from.type))
        return {cast(type_text(v.type), wrapping(from)), prefix_operator};
    // of two conversions in a row the first changes nothing that the second leaves
    if (from.op == op_t::convert && !is_known(v.of[0]) && is_integer(v.type) && is_integer(from.type) &&
        is_integer(at(from.of[0]).type) && size_of(v.type) <= size_of(from.type))
        return converted(of(from.of[0]), at(from.of[0]).type, v.type);
    return converted(of(v.of[0]), from.type, v.type);
}

// ---- arithmetic

expression_t Expressions::arithmetic(const value_t& v) {
    if (v.op == op_t::divide && !is_float(v.type)) return division(v);
    if (v.op == op_t::remainder) return division(v);
    if (is_signed_word(v.type)) return {cast(type_text(v.type), wrapping(v)), prefix_operator};
    const binding_t bound = v.op == op_t::add || v.op == op_t::subtract ? additive : multiplicative;
    return joined(v, bound);
}

/// Operands beside a sign. What binds otherwise than the sign stands in parentheses, also where C needs none.
expression_t Expressions::joined(const value_t& v, binding_t bound) {
    const expression_t left = of(v.of[0]);
    return {tessel::format("{} {} {}", in_parentheses(left, left.binding == bound ? bound : prefix_operator),
                           sign_of(v.op), operand(v.of[1], prefix_operator)),
            bound};
}

/// Operands as unsigned numbers of the same width, whose sum, difference and product wrap.
expression_t Expressions::wrapping(const value_t& v) {
    return {tessel::format("{} {} {}", unsigned_text(v.of[0]), sign_of(v.op), unsigned_text(v.of[1])), additive};
}

std::string Expressions::unsigned_text(std::int32_t number) {
    const value_t& v = at(number);
    const type_t type = v.type == type_int32 ? type_uint32 : type_uint64;
    if (!is_known(number)) {
        if (wraps(v.op)) return tessel::format("({})", wrapping(v).text);
        if (v.op == op_t::constant && from_bits<std::int64_t>(v.bits) >= 0) return constant_text(type, v.bits);
        if (v.op == op_t::convert && is_integer(at(v.of[0]).type) && size_of(at(v.of[0]).type) <= size_of(type))
            return converted(of(v.of[0]), at(v.of[0]).type, type).text;
    }
    return cast(type_text(type), of(number));
}

expression_t Expressions::division(const value_t& v) {
    const char* what = v.op == op_t::divide ? "divide" : "remainder";
    return {tessel::format("{}({}, {})", program_.rules.use(tessel::format("{}_{}", what, word_of(v.type))),
                           text(v.of[0]), text(v.of[1]))};
}

expression_t Expressions::shifted(const value_t& v) {
    const unsigned width = static_cast<unsigned>(8 * size_of(v.type));
    const value_t& count = at(v.of[1]);
    const std::string by = count.op == op_t::constant
                               ? tessel::format("{}", count.bits % width)
                               : tessel::format("({} % {}u)", operand(v.of[1], multiplicative), width);
    return {tessel::format("{} {} {}", operand(v.of[0], prefix_operator), sign_of(v.op), by), bits};
}

expression_t Expressions::compared(const value_t& v) {
    const bool of_truth = at(v.of[0]).type == type_bool && v.op != op_t::equal && v.op != op_t::unequal;
    const auto side = [&](std::int32_t number) {
        return of_truth ? cast("int32_t", of(number)) : operand(number, prefix_operator);
    };
    return {tessel::format("{} {} {}", side(v.of[0]), sign_of(v.op), side(v.of[1])), comparison};
}

// ---- choices, functions, tables

expression_t Expressions::chosen(const value_t& v) {
    std::string text;
    if (v.op == op_t::select) {
        const expression_t otherwise = of(v.of[2]);
        text = tessel::format("{} ? {} : {}", operand(v.of[0], prefix_operator), operand(v.of[1], prefix_operator),
                              in_parentheses(otherwise, otherwise.binding == choice ? choice : prefix_operator));
    } else {
        const std::string index = operand(v.of[0], prefix_operator);
        for (std::size_t i = 2; i < v.of.size(); ++i)
            text += tessel::format("({} == {}) ? {} : ", index, i - 2, operand(v.of[i], prefix_operator));
        text += operand(v.of[1], prefix_operator);
    }
    // C makes an int of a narrow choice among several, which some compilers then see cut
    const bool of_several = text.find('?') != text.rfind('?');
    if (!of_several || v.type == type_bool || is_float(v.type) || size_of(v.type) > 2) return {text, choice};
    return {tessel::format("({})({})", type_text(v.type), text), prefix_operator};
}

expression_t Expressions::called(const value_t& v) {
    program_.math = true;
    std::string text = tessel::format("{}{}(", function_name(v.op), v.type == type_flt32 ? "f" : "");
    for (std::size_t i = 0; i < v.of.size(); ++i)
        text += tessel::format("{}{}", i != 0 ? ", " : "", this->text(v.of[i]));
    return {text + ")"};
}

std::string Expressions::list(std::int32_t number) {
    const cell_number cell = statement_.lists[at(number).bits];
    program_.constants.insert(cell);
    return program_.at(cell);
}

std::size_t Expressions::count(std::int32_t number) const { return formula().lists[at(number).bits].values.size(); }

expression_t Expressions::over_lists(const value_t& v) {
    const auto x = [&](std::size_t i) { return text(v.of[i]); };
    Rules& rules = program_.rules;
    switch (v.op) {
        case op_t::between: return {tessel::format("{}({}, {}, {})", rules.use("between"), x(0), x(1), x(2))};
        case op_t::interpolate1d:
            return {tessel::format("{}({}, {}, {}, {}u)", rules.use("interpolate1d"), x(0), list(v.of[1]),
                                   list(v.of[2]), count(v.of[1]))};
        case op_t::interpolate2d:
            return {tessel::format("{}({}, {}, {}, {}, {}, {}u, {}u)", rules.use("interpolate2d"), x(0), x(1),
                                   list(v.of[2]), list(v.of[3]), list(v.of[4]), count(v.of[2]), count(v.of[3]))};
        case op_t::advance:
            return {
                tessel::format("{}({}, {}u, {}, {})", rules.use("advance"), list(v.of[0]), count(v.of[0]), x(1), x(2))};
        default: return {tessel::format("{}[{}]", list(v.of[0]), x(1))};
    }
}

}  // namespace tessel::exact
