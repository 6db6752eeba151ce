#include "formula/tracer.h"

#include <algorithm>
#include <utility>

namespace tessel {

thread_local tracer* tracer::current_ = nullptr;

std::int32_t tracer::add(value_t value) {
    const auto same = [&](const value_t& v) {
        return v.op == value.op && v.type == value.type && v.bits == value.bits && v.of == value.of;
    };
    auto& values = formula.values;
    const auto found = std::ranges::find_if(values, same);
    if (found != values.end()) return static_cast<std::int32_t>(found - values.begin());
    values.push_back(std::move(value));
    return static_cast<std::int32_t>(values.size()) - 1;
}

formula_t tracer::take() {
    const auto for_each_root = [this](auto use) {
        use(formula.output.started);
        use(formula.output.next);
        use(formula.taken);
        for (state_t& state : formula.states) {
            use(state.started);
            use(state.next);
        }
    };
    std::vector<std::int32_t> place(formula.values.size(), -1);  // not below 0: needed
    for_each_root([&](std::int32_t root) {
        if (root >= 0) place[static_cast<std::size_t>(root)] = 0;
    });
    for (std::size_t i = place.size(); i-- > 0;) {
        if (place[i] < 0) continue;
        for (const std::int32_t operand : formula.values[i].of) place[static_cast<std::size_t>(operand)] = 0;
    }
    std::vector<value_t> kept;
    for (std::size_t i = 0; i < place.size(); ++i) {
        if (place[i] < 0) continue;
        place[i] = static_cast<std::int32_t>(kept.size());
        for (std::int32_t& operand : formula.values[i].of) operand = place[static_cast<std::size_t>(operand)];
        kept.push_back(std::move(formula.values[i]));
    }
    for_each_root([&](std::int32_t& root) {
        if (root >= 0) root = place[static_cast<std::size_t>(root)];
    });
    formula.values = std::move(kept);
    return std::move(formula);
}

}  // namespace tessel
