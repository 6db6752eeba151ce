#include "formula/trace.h"

namespace tessel {

member_walk& member_walk::now(doing what) noexcept {
    what_ = what;
    next_state_ = 0;
    return *this;
}

traced* member_walk::shaped(traced& v) noexcept {
    if (what_ == doing::shape) {
        tracer* tracer = tracer::current();
        const traced block(type_, 0);
        v = v.number() >= 0 && tracer != nullptr ? like(block, v) : block;
    }
    return &v;
}

void member_walk::parameter(const char* name, traced* v) {
    if (what_ != doing::open) return;
    auto& parameters = formula_.parameters;
    parameters.push_back({name, v->type(), formula_.at(v->number()).bits});
    *v = traced(op_t::parameter, v->type(), parameters.size() - 1, name);
}

void member_walk::state(const char* name, traced* v) {
    auto& states = formula_.states;
    if (what_ == doing::open) {
        states.push_back({name, v->type(), formula_.at(v->number()).bits});
        *v = traced(op_t::state, v->type(), states.size() - 1, name);
    } else if (what_ != doing::shape) {
        state_t& state = states[next_state_++];
        (what_ == doing::note_start ? state.started : state.next) = expect_type(*v, state.type).number();
    }
}

void member_walk::list(const char* name, traced_list& list) {
    if (what_ != doing::open) return;
    const auto [data, count] = list.view();
    formula_.lists.push_back({name, std::vector<double>(data, data + count)});
    list.set_value(traced(op_t::list, type_flt64, formula_.lists.size() - 1, name));
}

namespace detail {

void begin_trace(tracer& tracer, std::span<const type_t> in, type_t out, std::span<traced> inputs) {
    static constexpr const char* numbered[] = {"u0", "u1", "u2", "u3", "u4", "u5", "u6", "u7"};
    if (in.size() != inputs.size()) tracer.fail("a kernel of another number of inputs");
    for (std::size_t i = 0; i < inputs.size(); ++i) {
        const type_t type = i < in.size() ? in[i] : type_unknown;
        const char* name = inputs.size() == 1 ? "u" : numbered[i];
        tracer.formula.inputs.push_back({name, type});
        inputs[i] = traced(op_t::input, type, i, nullptr);
    }
    tracer.formula.output.name = "y";
    tracer.formula.output.type = out;
}

void note_output(formula_t& formula, traced y) noexcept {
    formula.output.next = expect_type(y, formula.output.type).number();
    // what is nothing but a parameter is held, and there before the first step
    const value_t& next = formula.at(formula.output.next);
    if (next.op == op_t::parameter) formula.output.initial = formula.parameters[next.bits].value;
}

}  // namespace detail

}  // namespace tessel
