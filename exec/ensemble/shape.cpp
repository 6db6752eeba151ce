#include "exec/ensemble/shape.h"

#include <algorithm>
#include <numeric>

namespace tessel::ensemble {
namespace {

using number_t = std::int32_t;
std::size_t at(number_t i) noexcept { return static_cast<std::size_t>(i); }

class Analysis {
public:
    Analysis(const model_t& model, std::span<const signal_t> signals)
        : members_(model.members), readers_(members_.size()), tapped_(members_.size()) {
        const std::size_t n = members_.size();
        shape.held.resize(n);
        shape.varied.resize(n);
        shape.gates.resize(n);
        shape.alias.assign(n, -1);
        for (std::size_t i = 0; i < n; ++i) {
            const formula_t& f = members_[i].formula;
            shape.held[i] = f.has_output() && f.at(f.output.next).op == op_t::parameter;
            for (const number_t source : members_[i].sources)
                if (source >= 0) readers_[at(source)].push_back(static_cast<number_t>(i));
            if (members_[i].gate >= 0) shape.gates[at(members_[i].gate)] = true;
        }
        for (const signal_t& signal : signals)
            if (!signal.input) tapped_[at(signal.member)] = true;
    }

    void spread_variation(std::span<const place_t> places) {
        std::vector<number_t> open;
        const auto reach = [&](number_t i) {
            if (shape.varied[at(i)]) return;
            shape.varied[at(i)] = true;
            open.push_back(i);
        };
        std::vector<std::vector<number_t>> gated(members_.size());
        for (std::size_t i = 0; i < members_.size(); ++i)
            if (members_[i].gate >= 0) gated[at(members_[i].gate)].push_back(static_cast<number_t>(i));
        for (const place_t& place : places) reach(place.member);
        while (!open.empty()) {
            const number_t i = open.back();
            open.pop_back();
            for (const number_t reader : readers_[at(i)]) reach(reader);
            for (const number_t member : gated[at(i)]) reach(member);
        }
    }

    void find_aliases() {
        for (std::size_t i = 0; i < members_.size(); ++i)
            if (can_be_alias(static_cast<number_t>(i))) shape.alias[i] = members_[i].sources[0];
    }

    void find_components(bool apart) {
        std::vector<number_t> root(members_.size());
        std::iota(root.begin(), root.end(), 0);
        const auto root_of = [&root](number_t i) {
            while (root[at(i)] != i) i = root[at(i)] = root[at(root[at(i)])];
            return i;
        };
        const auto join = [&](number_t a, number_t b) {
            a = root_of(a);
            b = root_of(b);
            root[at(std::max(a, b))] = std::min(a, b);
        };
        for (std::size_t i = 0; i < members_.size(); ++i) {
            const auto own = static_cast<number_t>(i);
            if (!apart) join(own, 0);
            for (const number_t source : members_[i].sources)
                if (source >= 0 && !shape.held[at(source)]) join(own, source);
            if (members_[i].gate >= 0) join(own, members_[i].gate);
        }
        shape.component.resize(members_.size());
        for (std::size_t i = 0; i < members_.size(); ++i) {
            const number_t first = root_of(static_cast<number_t>(i));
            shape.component[i] = first == static_cast<number_t>(i) ? shape.components++ : shape.component[at(first)];
        }
    }

    shape_t shape;

private:
    /// A member that passes on what its source has, and whose readers all come while its source still has it. What it
    /// holds before its first turn nobody sees.
    bool can_be_alias(number_t i) const {
        const member_t& member = members_[at(i)];
        const formula_t& f = member.formula;
        if (!f.has_output() || !f.states.empty() || f.output.started >= 0) return false;
        if (member.gate >= 0 || tapped_[at(i)] || f.at(f.output.next).op != op_t::input) return false;
        const number_t source = member.sources[0];
        if (source < 0 || source == i || shape.alias[at(source)] >= 0) return false;
        const member_t& of = members_[at(source)];
        if (of.gate >= 0 || of.formula.output.type != f.output.type) return false;
        return std::ranges::all_of(readers_[at(i)], [&](number_t reader) {
            const bool in_time = source < i || reader <= source || shape.held[at(source)];
            return reader > i && in_time;
        });
    }

    const std::vector<member_t>& members_;
    std::vector<std::vector<number_t>> readers_;
    std::vector<bool> tapped_;
};

}  // namespace

shape_t shape_of(const model_t& model, std::span<const place_t> places, std::span<const signal_t> signals, bool apart) {
    Analysis analysis(model, signals);
    analysis.spread_variation(places);
    analysis.find_aliases();
    analysis.find_components(apart);
    return std::move(analysis.shape);
}

}  // namespace tessel::ensemble
