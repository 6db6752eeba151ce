#include "exec/ensemble/lower.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <map>
#include <stdexcept>
#include <utility>

#include "exec/ensemble/layout.h"
#include "exec/ensemble/lines.h"
#include "exec/ensemble/shape.h"

namespace tessel::ensemble {
namespace {

using number_t = std::int32_t;
using kind_t = line_t::kind_t;
std::size_t at(number_t i) noexcept { return static_cast<std::size_t>(i); }

/// Which operands of an operation are rows, as bits; the others are lists.
constexpr std::uint8_t row_operands(op_t op) noexcept {
    switch (op) {
        case op_t::interpolate1d: return 1;
        case op_t::interpolate2d: return 3;
        case op_t::advance: return 6;
        case op_t::element: return 2;
        default: return 7;
    }
}

class Lowering {
public:
    Lowering(const model_t& model, const request_t& request, std::size_t lanes)
        : members_(model.members),
          request_(request),
          shape_(shape_of(model, request.places, request.signals, request.apart)),
          program_(with_lanes(lanes, request.places.size())),
          layout_(model, shape_, request.places, request.signals, program_),
          taps_(shape_.components) {
        for (std::size_t i = 0; i < request.signals.size(); ++i)
            taps_[shape_.component[at(request.signals[i].member)]].push_back(i);
    }

    program_t lower() {
        lower_starts();
        std::vector<std::vector<number_t>> members(shape_.components);
        for (std::size_t i = 0; i < members_.size(); ++i)
            members[shape_.component[i]].push_back(static_cast<number_t>(i));
        for (const auto& own : members) lower_component(own);
        program_.fixed = fixed_.finish(request_.isa, [this](std::size_t n) { return layout_.scratch(n); });
        program_.bytes = layout_.bytes();
        return std::move(program_);
    }

    /// The most that the rows of one component take.
    std::size_t largest_component() const noexcept { return largest_; }

private:
    static program_t with_lanes(std::size_t lanes, std::size_t places) {
        program_t program;
        program.lanes = lanes;
        program.places = places;
        return program;
    }

    // ---- lines
    void add(line_t line) {
        line.i.member = member_;
        lines_.add(line);
    }
    /// The row as one for all lanes.
    std::uint32_t widened(const row_t& row) {
        if (row.wide || row.fixed) return row.place;
        const auto [found, is_new] = spread_.try_emplace(row.place, no_place);
        if (is_new) {
            found->second = lines_.new_temporary();
            line_t line{.kind = kind_t::spread, .from = row.type, .to = row.type, .rows = 1};
            line.i.out = found->second;
            line.i.of[0] = row.place;
            add(line);
        }
        return found->second;
    }
    void move(const row_t& target, const row_t& value, bool some) {
        if (value.place == target.place) return;
        line_t line{.kind = some ? kind_t::blend : kind_t::copy, .from = target.type, .to = target.type, .rows = 1};
        line.i.out = target.place;
        line.i.of[0] = target.wide ? widened(value) : value.place;
        line.i.single = !target.wide;
        add(line);
        spread_.erase(target.place);
    }

    row_t operation(op_t op, type_t type, std::span<const row_t> of, std::span<const number_t> lists) {
        const type_t from = of.empty() ? type : of[0].type;
        const bool may_end = (op == op_t::divide || op == op_t::remainder) && type < type_flt32;
        row_t result{no_place, type, false, !may_end};
        for (const row_t& operand : of) {
            result.wide = result.wide || operand.wide;
            result.fixed = result.fixed && operand.fixed;
        }
        for (const number_t list : lists) result.wide = result.wide || !program_.lists[at(list)].varied.empty();
        line_t line{.op = op, .from = from, .to = type, .rows = row_operands(op)};
        line.i.single = !result.wide && !result.fixed;
        std::size_t row = 0, list = 0;
        for (unsigned k = 0; k < of.size() + lists.size(); ++k) {
            if ((line.rows >> k & 1) == 0) line.i.of[k] = static_cast<std::uint32_t>(lists[list++]);
            else line.i.of[k] = line.i.single || result.fixed ? of[row++].place : widened(of[row++]);
        }
        line.rows = static_cast<std::uint8_t>(line.rows & ((1u << (of.size() + lists.size())) - 1));
        line.kernel = special_kernel(op, type, lists);
        line.i.member = member_;
        if (result.fixed) {
            line.i.out = result.place = layout_.take_row(type, false);
            fixed_.add(line);
        } else {
            line.i.out = result.place = lines_.new_temporary();
            lines_.add(line);
        }
        return result;
    }

    kernel_t special_kernel(op_t op, type_t type, std::span<const number_t> lists) const {
        if (op == op_t::remainder && type == type_uint64 && members_[at(member_)].ends_on_zero)
            return ending_remainder();
        if (op != op_t::interpolate1d) return nullptr;
        constexpr std::size_t most_points = 24;  // beyond that, a search for each lane is as quick
        const list_content_t& bp = program_.lists[at(lists[0])];
        const bool rises =
            std::ranges::adjacent_find(bp.values, [](double a, double b) { return !(a < b); }) == bp.values.end();
        const bool fits = bp.values.size() >= 2 && bp.values.size() <= most_points && bp.varied.empty() &&
                          program_.lists[at(lists[1])].varied.empty();
        return rises && fits ? interpolation_by_selects(request_.isa) : nullptr;
    }

    row_t converted(const row_t& row, type_t type) {
        return row.type == type ? row : operation(op_t::convert, type, std::span(&row, 1), {});
    }
    row_t fed(std::size_t number) {
        while (program_.fed.size() <= number) program_.fed.push_back(layout_.take_row(type_flt64, true));
        return {program_.fed[number], type_flt64, false, false};
    }
    row_t input(number_t m, std::uint64_t index) {
        const member_t& member = members_[at(m)];
        const type_t type = member.formula.inputs[index].type;
        const number_t source = member.sources[index];
        if (source < -1) return converted(fed(at(-2 - source)), type);
        return source < 0 ? layout_.constant(type, 0) : converted(layout_.output_of(source), type);
    }

    /// The values of a member's formula that the roots need, in `values_`.
    void compute(number_t m, std::span<const number_t> roots) {
        const formula_t& f = members_[at(m)].formula;
        member_ = m;
        values_.assign(f.values.size(), {});
        std::vector<bool> needed(f.values.size());
        for (const number_t root : roots) needed[at(root)] = true;
        for (std::size_t i = f.values.size(); i-- > 0;)
            if (needed[i])
                for (const number_t operand : f.values[i].of) needed[at(operand)] = true;
        for (std::size_t i = 0; i < f.values.size(); ++i) {
            if (!needed[i]) continue;
            const auto known = known_.find({m, i});
            values_[i] = known != known_.end() ? known->second : value(m, f.values[i]);
            if (values_[i].fixed) known_.emplace(std::pair(m, i), values_[i]);
        }
    }

    row_t value(number_t m, const value_t& v) {
        const member_rows_t& rows = layout_.of(m);
        switch (v.op) {
            case op_t::constant: return layout_.constant(v.type, v.bits);
            case op_t::input: return input(m, v.bits);
            case op_t::parameter: return rows.parameters[v.bits];
            case op_t::state: return rows.states[v.bits];
            case op_t::list: return {};
            case op_t::time: return {program_.time, type_flt64, false, false};
            case op_t::last_output: return rows.output;
            case op_t::choose: return choice(v);
            default: break;
        }
        const formula_t& f = members_[at(m)].formula;
        std::vector<row_t> of;
        std::vector<number_t> lists;
        for (const number_t operand : v.of) {
            const value_t& x = f.at(operand);
            if (x.op == op_t::list) lists.push_back(rows.lists[x.bits]);
            else of.push_back(values_[at(operand)]);
        }
        return operation(v.op, v.type, of, lists);
    }

    row_t choice(const value_t& v) {
        const row_t index = values_[at(v.of[0])];
        row_t result = values_[at(v.of[1])];
        for (std::size_t k = 2; k < v.of.size(); ++k) {
            const row_t wanted = layout_.constant(type_int8, bits_of(static_cast<std::int8_t>(k - 2)));
            const row_t is[] = {operation(op_t::equal, type_bool, std::array{index, wanted}, {}), values_[at(v.of[k])],
                                result};
            result = select(is, v.type);
        }
        return result;
    }
    row_t select(std::span<const row_t> of, type_t type) { return operation(op_t::select, type, of, {}); }

    // ---- members
    /// Gives states and output what `number` names of each, all at once. `some`: where the gate is open.
    template <class Number>
    void settle(number_t m, bool some, Number number) {
        const formula_t& f = members_[at(m)].formula;
        member_rows_t& rows = layout_.of(m);
        std::vector<std::pair<row_t, number_t>> targets;
        for (std::size_t i = 0; i < f.states.size(); ++i)
            if (number(f.states[i]) >= 0) targets.emplace_back(rows.states[i], number(f.states[i]));
        if (f.has_output() && number(f.output) >= 0) targets.emplace_back(rows.output, number(f.output));
        std::vector<number_t> roots;
        for (const auto& [target, root] : targets) roots.push_back(root);
        compute(m, roots);
        std::vector<row_t> next;
        for (const auto& [target, root] : targets) {
            const op_t op = f.at(root).op;
            const bool is_own = op == op_t::state || op == op_t::last_output;
            row_t v = values_[at(root)];
            if (is_own && v.place != target.place) v = kept(v);
            next.push_back(v);
        }
        for (std::size_t i = 0; i < targets.size(); ++i) move(targets[i].first, next[i], some);
    }
    /// A copy of what a state has before the step.
    row_t kept(row_t row) {
        const row_t copy{lines_.new_temporary(), row.type, row.wide, row.fixed};
        move(copy, row, false);
        return copy;
    }

    void lower_starts() {
        begin_stretch();
        for (std::size_t i = 0; i < members_.size(); ++i) {
            const auto m = static_cast<number_t>(i);
            if (shape_.held[i] || shape_.alias[i] >= 0) continue;
            settle(m, false, [](const state_t& state) { return state.started; });
        }
        program_.start = end_stretch();
    }

    void lower_member(number_t m, bool some) {
        const formula_t& f = members_[at(m)].formula;
        member_rows_t& rows = layout_.of(m);
        member_ = m;
        if (rows.sampled.place != no_place && members_[at(m)].sources[0] != -1) move(rows.sampled, input(m, 0), some);
        if (!f.has_output() || shape_.held[at(m)] || shape_.alias[at(m)] >= 0) return;
        settle(m, some, [](const state_t& state) { return state.next; });
    }

    void lower_component(const std::vector<number_t>& members) {
        component_t component;
        const std::size_t before = layout_.bytes();
        component.segments.begin = static_cast<std::uint32_t>(program_.segments.size());
        for (std::size_t begin = 0; begin < members.size();) {
            std::size_t end = begin + 1;
            while (end < members.size() && members_[at(members[end])].gate == members_[at(members[begin])].gate) ++end;
            lower_segment(std::span(members).subspan(begin, end - begin));
            begin = end;
        }
        component.segments.end = static_cast<std::uint32_t>(program_.segments.size());
        std::size_t own = layout_.bytes() - before;
        for (const number_t m : members) {
            if (const row_t& flag = layout_.of(m).sampled; shape_.gates[at(m)])
                component.flags.push_back({flag.place, static_cast<std::uint32_t>(flag.wide ? program_.lanes : chunk)});
            const auto& states = layout_.of(m).states;
            own += (states.size() + 1) * (shape_.varied[at(m)] ? program_.lanes : chunk) * 8;
        }
        largest_ = std::max(largest_, own);
        append_taps(component, shape_.component[at(members[0])]);
        program_.components.push_back(std::move(component));
    }

    void lower_segment(std::span<const number_t> members) {
        segment_t segment;
        const number_t gate = members_[at(members[0])].gate;
        bool differs = false;
        if (gate >= 0) {
            const row_t& flag = layout_.of(gate).sampled;
            segment.flag = flag.place;
            segment.single = !flag.wide;
            differs = flag.wide;
            for (const number_t m : members) {
                member_rows_t& rows = layout_.of(m);
                if (!rows.tapped && !rows.tapped_input) continue;
                if (segment.ran == no_place) segment.ran = layout_.take_row(type_bool, segment.single);
                rows.ran = segment.ran;
                rows.ran_single = segment.single;
            }
        }
        segment.all = lower_stretch(members, false);
        if (differs) segment.some = lower_stretch(members, true);
        const bool empty = segment.all.begin == segment.all.end && segment.ran == no_place;
        if (!empty) program_.segments.push_back(segment);
    }

    range_t lower_stretch(std::span<const number_t> members, bool some) {
        begin_stretch();
        for (const number_t m : members) lower_member(m, some);
        const auto code = end_stretch();
        const auto begin = static_cast<std::uint32_t>(program_.code.size());
        program_.code.insert(program_.code.end(), code.begin(), code.end());
        return {begin, static_cast<std::uint32_t>(program_.code.size())};
    }

    void append_taps(component_t& component, std::uint32_t number) const {
        for (const std::size_t i : taps_[number]) {
            const signal_t& signal = request_.signals[i];
            const member_rows_t& rows = layout_.of(signal.member);
            const row_t& row = signal.input ? rows.sampled : rows.output;
            component.taps.push_back({i, row.place, row.type, !row.wide && !row.fixed, rows.ran, rows.ran_single});
        }
    }

    void begin_stretch() {
        lines_.clear();
        spread_.clear();
    }
    std::vector<instr_t> end_stretch() {
        lines_.join();
        return lines_.finish(request_.isa, [this](std::size_t n) { return layout_.scratch(n); });
    }

    const std::vector<member_t>& members_;
    const request_t& request_;
    shape_t shape_;
    program_t program_;
    Layout layout_;
    std::vector<std::vector<std::size_t>> taps_;  // signals of each component
    std::size_t largest_ = 0;
    std::map<std::pair<number_t, std::size_t>, row_t> known_;  // fixed values of formulas
    Lines lines_, fixed_;
    std::map<std::uint32_t, std::uint32_t> spread_;  // of this stretch: rows of single values in all lanes
    std::vector<row_t> values_;                      // of the formula at hand
    number_t member_ = -1;
};

}  // namespace

program_t lower(const model_t& model, const request_t& request) {
    constexpr std::size_t near_cache = 1u << 20;  // bytes: half of what a second cache has
    Lowering wide(model, request, request.lanes != 0 ? request.lanes : most_lanes);
    program_t program = wide.lower();
    if (request.lanes != 0 || wide.largest_component() <= near_cache) return program;
    return Lowering(model, request, chunk).lower();
}

}  // namespace tessel::ensemble
