#include "coder/exact/step.h"

#include <algorithm>
#include <iterator>

#include "coder/exact/expression.h"
#include "coder/exact/names.h"
#include "coder/exact/write_c.h"
#include "core/format.h"

namespace tessel::exact {

program_t::program_t(const unit_t& of) : unit(of), rules(of.name) {
    for (const cell_t& cell : unit.cells)
        if (!cell.kept) names.insert(cell.access);
    names.insert("m");
}

std::string program_t::at(cell_number number) const {
    const cell_t& cell = unit.cell(number);
    return cell.kept ? "m->" + cell.access : cell.access;
}

std::string program_t::fresh(std::string name) {
    const std::string stem = name;
    for (int i = 2; !names.insert(name).second; ++i) name = tessel::format("{}_{}", stem, i);
    return name;
}

namespace {

/// The assignments of one statement. All values are those before the step: a variable whose old value others need is
/// assigned behind them, and where they need each other's, new values stand in locals first.
class Writer {
public:
    Writer(program_t& program, const statement_t& statement)
        : program_(program),
          statement_(statement),
          formula_(statement.formula),
          values_(program, statement),
          uses_(formula_.values.size()) {}

    lines_t take() {
        find_roots();
        for (std::size_t i = 0; i < uses_.size(); ++i) share(static_cast<std::int32_t>(i));
        while (!roots_.empty()) assign_next();
        out_.simple = out_.lines.size() == 1 && out_.lines[0].find('?') == std::string::npos &&
                      std::ranges::count(out_.lines[0], '(') <= 2;
        return std::move(out_);
    }

private:
    struct root_t {
        cell_number cell;
        std::int32_t value;
    };

    void find_roots() {
        for (std::size_t i = 0; i < formula_.states.size(); ++i) {
            const value_t& next = formula_.at(formula_.states[i].next);
            if (next.op == op_t::state && next.bits == i) continue;
            roots_.push_back({statement_.states[i], formula_.states[i].next});
        }
        roots_.push_back({statement_.target, formula_.has_output() ? formula_.output.next : formula_.taken});
        for (const root_t& root : roots_) count(root.value);
    }
    void count(std::int32_t number, int times = 1) {
        int& uses = uses_[static_cast<std::size_t>(number)];
        uses += times;
        if (uses > times) return;
        const value_t& v = formula_.at(number);
        for (std::size_t i = 0; i < v.of.size(); ++i)
            count(v.of[i], v.op == op_t::choose && i == 0 ? static_cast<int>(v.of.size()) - 2 : 1);
        // compilers see of what type an index was converted, and that it cannot be all that it is compared with
        if (v.op == op_t::choose) named_.push_back(v.of[0]);
        // gcc takes the sum of an unsigned number and a narrow signed one made unsigned for a signed sum, and warns
        if (v.type == type_uint32 && (v.op == op_t::add || v.op == op_t::subtract || v.op == op_t::multiply))
            std::ranges::copy_if(v.of, std::back_inserter(named_), [this](std::int32_t i) { return is_widened(i); });
    }

    /// Whether a value is made of a narrow signed one, when it is sampled or by a conversion.
    bool is_widened(std::int32_t number) const {
        const value_t& v = formula_.at(number);
        type_t from = v.op == op_t::convert ? formula_.at(v.of[0]).type : v.type;
        if (v.op == op_t::input && statement_.sources[v.bits] != no_cell)
            from = program_.unit.cell(statement_.sources[v.bits]).type;
        return from == type_int8 || from == type_int16;
    }
    const char* word_for(std::int32_t number) const {
        const value_t& v = formula_.at(number);
        if (v.name != nullptr) return v.name;
        if (v.op == op_t::input) return formula_.inputs[v.bits].name;
        return v.op == op_t::convert ? word_for(v.of[0]) : "value";
    }

    /// Gives a value that is used twice a name.
    void share(std::int32_t number) {
        const bool must = std::ranges::find(named_, number) != named_.end();
        if (!must && (uses_[static_cast<std::size_t>(number)] < 2 || values_.is_short(number))) return;
        const auto root = std::ranges::find(roots_, number, &root_t::value);
        if (root != roots_.end() && root->cell != statement_.target && is_free(*root, true)) {
            const root_t found = *root;
            roots_.erase(root);
            assign(found);
            values_.know(number, program_.at(found.cell));
            return;
        }
        name(number, word_for(number));
    }
    void name(std::int32_t number, const char* word) {
        const std::string& path = statement_.path;
        const std::string block = path.substr(path.rfind('.') + 1);
        const std::string name = program_.fresh(identifier(block + "_" + word));
        out_.lines.push_back(
            tessel::format("const {} {} = {};", type_text(formula_.at(number).type), name, values_.text(number)));
        values_.know(number, name);
    }

    void assign_next() {
        const auto next = std::ranges::find_if(roots_, [this](const root_t& root) { return is_free(root, false); });
        if (next == roots_.end()) {
            // each needs what another is about to lose
            const auto unnamed =
                std::ranges::find_if(roots_, [this](const root_t& r) { return !values_.is_known(r.value); });
            return name(unnamed->value, "next");
        }
        const root_t found = *next;
        roots_.erase(next);
        assign(found);
    }
    void assign(const root_t& root) {
        const cell_t& cell = program_.unit.cell(root.cell);
        expression_t value = values_.of(root.value);
        if (cell.role == role_t::flag && statement_.gate != no_cell) {
            const std::string own = value.binding >= prefix_operator ? value.text : tessel::format("({})", value.text);
            value.text = tessel::format("{} && {}", program_.at(statement_.gate), own);
        }
        const std::string declared = cell.kept ? std::string() : tessel::format("const {} ", type_text(cell.type));
        out_.lines.push_back(tessel::format("{}{} = {};", declared, program_.at(root.cell), value.text));
    }

    /// Whether nothing else that is still to be written needs the old value of what the root assigns; `known` where the
    /// rest will read the new value from there.
    bool is_free(const root_t& root, bool known) const {
        for (const root_t& other : roots_)
            if (other.cell != root.cell && needs(other.value, root, known)) return false;
        for (std::size_t i = 0; i < uses_.size(); ++i) {
            const auto number = static_cast<std::int32_t>(i);
            if (uses_[i] >= 2 && number != root.value && !values_.is_short(number) && needs(number, root, known))
                return false;
        }
        return true;
    }
    bool needs(std::int32_t number, const root_t& root, bool known) const {
        if (values_.is_known(number) || (known && number == root.value)) return false;
        const value_t& v = formula_.at(number);
        if (v.op == op_t::state) return statement_.states[v.bits] == root.cell;
        if (v.op == op_t::last_output) return statement_.target == root.cell;
        if (v.op == op_t::input) return statement_.sources[v.bits] == root.cell;
        return std::ranges::any_of(v.of, [&](std::int32_t operand) { return needs(operand, root, known); });
    }

    program_t& program_;
    const statement_t& statement_;
    const formula_t& formula_;
    Expressions values_;
    std::vector<int> uses_;
    std::vector<std::int32_t> named_;  // values that compilers must not see through
    std::vector<root_t> roots_;
    lines_t out_;
};

}  // namespace

lines_t write_statement(program_t& program, const statement_t& statement) { return Writer(program, statement).take(); }

}  // namespace tessel::exact
