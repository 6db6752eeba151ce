// From a kernel to its formula.
#pragma once

#include <array>
#include <cstddef>
#include <span>
#include <type_traits>
#include <utility>

#include "formula/traced.h"
#include "formula/tracer.h"

namespace tessel {

/// `traced` for a value type, anything else itself: the arguments of a kernel template that tells its formula.
template <class T>
struct symbolic_type {
    using type = T;
};
template <number T>
struct symbolic_type<T> {
    using type = traced;
};
template <class T>
using symbolic = typename symbolic_type<T>::type;

/// Walks over a kernel's members: K::members(auto& visit) calls parameter, state and list with a name and the member.
class member_walk {
public:
    /// shape gives members the block's type; open makes leaves of them; the others note what the kernel left there.
    enum class doing { shape, open, note_start, note_step };

    member_walk(formula_t& formula, type_t type) noexcept : formula_(formula), type_(type) {}
    member_walk& now(doing what) noexcept;

    void parameter(const char* name, traced& v) { parameter(name, shaped(v)); }
    void state(const char* name, traced& v) { state(name, shaped(v)); }
    template <class T>
    void parameter(const char* name, traced_of<T>& v) {
        parameter(name, &v);
    }
    template <class T>
    void state(const char* name, traced_of<T>& v) {
        state(name, &v);
    }
    void list(const char* name, traced_list& list);

private:
    traced* shaped(traced& v) noexcept;
    void parameter(const char* name, traced* v);
    void state(const char* name, traced* v);

    formula_t& formula_;
    type_t type_;
    doing what_ = doing::shape;
    std::size_t next_state_ = 0;
};

namespace detail {

template <class List>
struct port_list;
template <template <class...> class List, class... T>
struct port_list<List<T...>> {
    static constexpr std::size_t count = sizeof...(T);
    static constexpr bool same = false;
};
template <class T, std::size_t N>
struct port_list<same_inputs<T, N>> {
    static constexpr std::size_t count = N;
    static constexpr bool same = true;
};

template <class Out>
struct single_output;
template <class O>
struct single_output<outputs<O>> {
    using type = O;
};

/// Opens the formula: the inputs, and the output if it has one.
void begin_trace(tracer& tracer, std::span<const type_t> in, type_t out, std::span<traced> inputs);
void note_output(formula_t& formula, traced y) noexcept;

/// The start of a run, on a copy of the kernel: what it leaves in the states and the output.
template <class K, class Y>
void trace_start(tracer& tracer, member_walk& walk, K kernel, traced t, Y y) {
    constexpr bool has_members = requires { kernel.members(walk); };
    if constexpr (requires { kernel.start(t, y); }) {
        kernel.start(t, y);
        tracer.formula.output.started = y.number();
        if constexpr (has_members) kernel.members(walk.now(member_walk::doing::note_start));
    }
}

template <class K, std::size_t... I>
void trace_stateful(tracer& tracer, type_t type, [[maybe_unused]] std::span<const traced> u, const void* record,
                    std::index_sequence<I...>) {
    using doing = member_walk::doing;
    const type_t out = tracer.formula.output.type;
    K kernel;
    member_walk walk(tracer.formula, type);
    constexpr bool has_members = requires { kernel.members(walk); };
    if constexpr (has_members) kernel.members(walk.now(doing::shape));
    if constexpr (requires { kernel.configure(record); }) {
        if (record != nullptr) kernel.configure(record);
    }
    if constexpr (has_members) kernel.members(walk.now(doing::open));
    const traced t(op_t::time, type_flt64, 0, nullptr);
    typename single_output<typename K::out>::type y = traced(op_t::last_output, out, 0, tracer.formula.output.name);
    trace_start(tracer, walk, kernel, t, y);
    if constexpr (requires { kernel.initial(y); })
        tracer.formula.output.initial = tracer.formula.at(traced(kernel.initial(y)).number()).bits;
    note_output(tracer.formula, kernel.eval(t, y, u[I]...));
    if constexpr (has_members) kernel.members(walk.now(doing::note_step));
}

template <class K, std::size_t... I>
void trace_ports(tracer& tracer, type_t type, [[maybe_unused]] std::span<const traced> u, const void* record,
                 std::index_sequence<I...> indices) {
    if constexpr (requires { K::taken(u[I]...); }) {
        tracer.formula.taken = traced(K::taken(u[I]...)).number();
    } else if constexpr (port_list<typename K::in>::same) {
        const std::array<const traced*, sizeof...(I)> pointers{&u[I]...};
        note_output(tracer.formula, K::eval(pointers));
    } else if constexpr (std::is_member_function_pointer_v<decltype(&K::eval)>) {
        trace_stateful<K>(tracer, type, u, record, indices);
    } else {
        note_output(tracer.formula, K::eval(u[I]...));
    }
}

}  // namespace detail

/// The formula of a kernel for the types of its ports, `out` unknown where it has no output. The record configures it
/// as it does a run's; without one, parameters are 0 and lists empty.
template <class K>
formula_t trace(std::span<const type_t> in, type_t out, const void* record) {
    constexpr std::size_t count = detail::port_list<typename K::in>::count;
    tracer tracer;
    std::array<traced, count> u;
    detail::begin_trace(tracer, in, out, u);
    detail::trace_ports<K>(tracer, in.empty() ? out : in[0], u, record, std::make_index_sequence<count>{});
    return tracer.take();
}

}  // namespace tessel
