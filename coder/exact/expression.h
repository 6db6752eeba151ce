// Expressions of C from the values of a formula.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "coder/exact/step.h"

namespace tessel::exact {

// How strongly an operator binds.
enum binding_t { choice, either, both, comparison, bits, additive, multiplicative, prefix_operator, atom };

struct expression_t {
    std::string text;
    binding_t binding = atom;
};

/// Names of the C library's functions that expressions call.
std::vector<std::string> library_functions();

/// The values of one formula as expressions. A value that has a name of its own is told by `know`.
class Expressions {
public:
    Expressions(program_t& program, const statement_t& statement)
        : program_(program), statement_(statement), known_(statement.formula.values.size()) {}

    expression_t of(std::int32_t number);
    std::string text(std::int32_t number) { return of(number).text; }
    void know(std::int32_t number, std::string name) { known_[static_cast<std::size_t>(number)] = std::move(name); }
    bool is_known(std::int32_t number) const { return !known_[static_cast<std::size_t>(number)].empty(); }
    /// Whether a value is as short as a name: a variable, a constant, or one of them in another type.
    bool is_short(std::int32_t number) const;

private:
    const formula_t& formula() const { return statement_.formula; }
    const value_t& at(std::int32_t number) const { return formula().at(number); }
    expression_t fresh(const value_t& v);
    expression_t leaf(const value_t& v);
    expression_t input(std::size_t index);
    expression_t converted(const expression_t& from, type_t source, type_t to);
    expression_t conversion(const value_t& v);
    expression_t arithmetic(const value_t& v);
    expression_t joined(const value_t& v, binding_t bound);
    expression_t wrapping(const value_t& v);
    expression_t division(const value_t& v);
    expression_t shifted(const value_t& v);
    expression_t compared(const value_t& v);
    expression_t chosen(const value_t& v);
    expression_t called(const value_t& v);
    expression_t over_lists(const value_t& v);
    std::string unsigned_text(std::int32_t number);
    std::string operand(std::int32_t number, binding_t least);
    std::string list(std::int32_t number);
    std::size_t count(std::int32_t number) const;

    program_t& program_;
    const statement_t& statement_;
    std::vector<std::string> known_;
};

}  // namespace tessel::exact
