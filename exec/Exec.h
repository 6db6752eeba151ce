// From a kernel to a runnable class.
//
// A kernel is what one accepted combination of types computes: a struct with the aliases `in` and `out` (port lists)
// and an operation `eval` over values (formula/value.h), so that it also tells its formula (formula/trace.h). Exec<K>
// makes the runnable class of a pure kernel, StatefulExec<K> of one with parameters, memory or a need for time,
// HoldExec<K> of one with nothing to do in a step. `step` and the lowered run call the same `eval`.
#pragma once

#include <array>
#include <cstddef>
#include <memory>
#include <type_traits>
#include <utility>

#include "exec/lowering.h"
#include "exec/ports.h"

namespace tessel {

namespace detail {

template <class T>
const T& read(const void* cell) noexcept {
    return *static_cast<const T*>(cell);
}
template <class T>
T& written(const void* cell) noexcept {
    return *static_cast<T*>(const_cast<void*>(cell));
}
template <class Run>
Run& self(const void* object) noexcept {
    return *static_cast<Run*>(static_cast<ExecBlock*>(const_cast<void*>(object)));
}

/// Operand `I` of a chain's step of which input `Last` comes from the step before.
template <int I, int Last>
double read_or_last(const void* cell, double last) noexcept {
    if constexpr (I == Last) return last;
    else return read<double>(cell);
}
/// Goes on with the chain behind a step; a tail call where the build optimises.
inline void next_link(const void* const* operands, double t, double last) noexcept {
    reinterpret_cast<link_step_t>(const_cast<void*>(operands[0]))(operands, t, last);
}

template <class T, class... More>
inline constexpr bool all_flt64 = std::is_same_v<T, double> && (std::is_same_v<More, double> && ...);

/// Whether a kernel says that its output equals its input after every step.
template <class K>
inline constexpr bool passes_through = requires {
    requires K::passes_through;
};

/// Walks over a kernel's members and shows its states.
struct state_walk {
    StateVisitor& visitor;

    void parameter(const char*, const auto&) noexcept {}
    void list(const char*, const auto&) noexcept {}
    template <class T>
    void state(const char*, T& value) {
        static_assert(std::is_trivially_copyable_v<T>);
        visitor.state(&value, sizeof value);
    }
};

template <class Out>
struct output_of {
    using type = void;
};
template <class O>
struct output_of<outputs<O>> {
    using type = O;
};

template <class Out>
inline constexpr bool has_output = true;
template <>
inline constexpr bool has_output<outputs<>> = false;

/// The types of the inputs of a port list, as parameters of a call.
template <class In>
struct inputs_of;
template <class... T>
struct inputs_of<inputs<T...>> {
    static constexpr std::size_t count = sizeof...(T);
};
template <class T, std::size_t N>
struct inputs_of<same_inputs<T, N>> {
    static constexpr std::size_t count = N;
};

}  // namespace detail

/// Runnable class of a pure kernel: out0 = K::eval(in0, in1, ...). One form for each number of inputs, spelt out: the
/// compiler sees thousands of these.
template <class K, class In = typename K::in>
class Exec;

// what the forms share; `links` stands in each
#define BLOCKS_EXEC_MEMBERS(count)                                            \
public:                                                                       \
    const lowering_t* lowering() const noexcept override { return &lowered; } \
                                                                              \
private:                                                                      \
    static constexpr lowering_t lowered{&Exec::run, count, false, true, detail::passes_through<K>, links()};

#define BLOCKS_EXEC_LINKS(flt64, ...)                               \
    static constexpr const link_step_t* links() noexcept {          \
        if constexpr (flt64) return link_table<__VA_ARGS__>.data(); \
        else return nullptr;                                        \
    }                                                               \
    template <int... Last>                                          \
    static constexpr std::array<link_step_t, sizeof...(Last)> link_table{&Exec::link<Last>...};

template <class K, class A>
class Exec<K, inputs<A>> final : public Ports<inputs<A>, typename K::out> {
    using O = typename detail::output_of<typename K::out>::type;

public:
    void step() noexcept override { this->out0.value = K::eval(this->in0.value); }

private:
    static void run(const void* const* p, std::size_t count, double) noexcept {
        do {
            detail::written<O>(p[0]) = K::eval(detail::read<A>(p[1]));
            p += 2;
        } while (--count != 0);
    }
    template <int Last>
    static void link(const void* const* p, double t, [[maybe_unused]] double last) noexcept {
        const double y = K::eval(detail::read_or_last<0, Last>(p[2], last));
        detail::written<double>(p[1]) = y;
        detail::next_link(p + 3, t, y);
    }
    BLOCKS_EXEC_LINKS((detail::all_flt64<A, O>), -1, 0)
    BLOCKS_EXEC_MEMBERS(1)
};

template <class K, class A, class B>
class Exec<K, inputs<A, B>> final : public Ports<inputs<A, B>, typename K::out> {
    using O = typename detail::output_of<typename K::out>::type;

public:
    void step() noexcept override { this->out0.value = K::eval(this->in0.value, this->in1.value); }

private:
    static void run(const void* const* p, std::size_t count, double) noexcept {
        do {
            detail::written<O>(p[0]) = K::eval(detail::read<A>(p[1]), detail::read<B>(p[2]));
            p += 3;
        } while (--count != 0);
    }
    template <int Last>
    static void link(const void* const* p, double t, [[maybe_unused]] double last) noexcept {
        const double y = K::eval(detail::read_or_last<0, Last>(p[2], last), detail::read_or_last<1, Last>(p[3], last));
        detail::written<double>(p[1]) = y;
        detail::next_link(p + 4, t, y);
    }
    BLOCKS_EXEC_LINKS((detail::all_flt64<A, B, O>), -1, 0, 1)
    BLOCKS_EXEC_MEMBERS(2)
};

template <class K, class A, class B, class C>
class Exec<K, inputs<A, B, C>> final : public Ports<inputs<A, B, C>, typename K::out> {
    using O = typename detail::output_of<typename K::out>::type;

public:
    void step() noexcept override { this->out0.value = K::eval(this->in0.value, this->in1.value, this->in2.value); }

private:
    static void run(const void* const* p, std::size_t count, double) noexcept {
        do {
            detail::written<O>(p[0]) = K::eval(detail::read<A>(p[1]), detail::read<B>(p[2]), detail::read<C>(p[3]));
            p += 4;
        } while (--count != 0);
    }
    template <int Last>
    static void link(const void* const* p, double t, [[maybe_unused]] double last) noexcept {
        const double y = K::eval(detail::read_or_last<0, Last>(p[2], last), detail::read_or_last<1, Last>(p[3], last),
                                 detail::read_or_last<2, Last>(p[4], last));
        detail::written<double>(p[1]) = y;
        detail::next_link(p + 5, t, y);
    }
    BLOCKS_EXEC_LINKS((detail::all_flt64<A, B, C, O>), -1, 0, 1, 2)
    BLOCKS_EXEC_MEMBERS(3)
};

#undef BLOCKS_EXEC_LINKS

/// N inputs of one type: the kernel is handed an array of pointers to the values.
template <class K, class T, std::size_t N>
class Exec<K, same_inputs<T, N>> final : public Ports<same_inputs<T, N>, typename K::out> {
    using O = typename detail::output_of<typename K::out>::type;

public:
    void step() noexcept override {
        std::array<const T*, N> u;
        for (std::size_t i = 0; i < N; ++i) u[i] = &this->in[i].value;
        this->out0.value = K::eval(u);
    }

private:
    static void run(const void* const* p, std::size_t count, double) noexcept {
        for (; count != 0; --count, p += 1 + N) {
            std::array<const T*, N> u;
            for (std::size_t i = 0; i < N; ++i) u[i] = static_cast<const T*>(p[1 + i]);
            detail::written<O>(p[0]) = K::eval(u);
        }
    }
    static constexpr const link_step_t* links() noexcept { return nullptr; }
    BLOCKS_EXEC_MEMBERS(N)
};

#undef BLOCKS_EXEC_MEMBERS

/// Runnable class of a kernel with state and at most three inputs. The kernel is a member of the object and has
///   O eval(double t, O y, I... u)   the new output from time, last output and inputs; for a sink void eval(t, u...)
/// and, where it needs them,
///   O initial(O) const              the output at creation
///   void configure(const void*)     takes the class's record
///   void start(double t, O& y)      at the head of a run
///   void finish()                   at its end
template <class K, class In = typename K::in>
class StatefulExec;

template <class K, class... In>
class StatefulExec<K, inputs<In...>> final : public Ports<inputs<In...>, typename K::out> {
    using O = typename detail::output_of<typename K::out>::type;
    static constexpr std::size_t count = sizeof...(In);
    static constexpr bool sink = !detail::has_output<typename K::out>;
    static constexpr std::size_t operands = 1 + (sink ? 0 : 1) + count;

public:
    StatefulExec() noexcept {
        if constexpr (requires(K & k) { k.initial(O{}); }) this->out0.value = kernel.initial(O{});
    }
    void configure(const void* record) noexcept override {
        if constexpr (requires(K & k) { k.configure(record); }) kernel.configure(record);
    }
    void start() noexcept override {
        if constexpr (requires(K & k, StatefulExec & b) { k.start(0.0, b.out0.value); })
            kernel.start(this->time(), this->out0.value);
    }
    void finish() noexcept override {
        if constexpr (requires(K & k) { k.finish(); }) kernel.finish();
    }
    void step() noexcept override {
        if constexpr (sink) {
            if constexpr (count == 0) kernel.eval(this->time());
            else if constexpr (count == 1) kernel.eval(this->time(), this->in0.value);
            else if constexpr (count == 2) kernel.eval(this->time(), this->in0.value, this->in1.value);
            else kernel.eval(this->time(), this->in0.value, this->in1.value, this->in2.value);
        } else {
            O& y = this->out0.value;
            if constexpr (count == 0) y = kernel.eval(this->time(), y);
            else if constexpr (count == 1) y = kernel.eval(this->time(), y, this->in0.value);
            else if constexpr (count == 2) y = kernel.eval(this->time(), y, this->in0.value, this->in1.value);
            else y = kernel.eval(this->time(), y, this->in0.value, this->in1.value, this->in2.value);
        }
    }
    const lowering_t* lowering() const noexcept override { return &lowered; }

    K kernel;

private:
    static void run(const void* const* p, std::size_t n, double t) noexcept {
        for (; n != 0; --n, p += operands) run_one(p, t, std::make_index_sequence<count>{});
    }
    template <std::size_t... I>
    static void run_one(const void* const* p, double t, std::index_sequence<I...>) noexcept {
        K& k = detail::self<StatefulExec>(p[0]).kernel;
        if constexpr (sink) {
            k.eval(t, detail::read<In>(p[1 + I])...);
        } else {
            O& y = detail::written<O>(p[1]);
            y = k.eval(t, y, detail::read<In>(p[2 + I])...);
        }
    }

    template <int Last>
    static void link(const void* const* p, double t, [[maybe_unused]] double last) noexcept {
        const double y = link_value<Last>(p, t, last, std::make_index_sequence<count>{});
        detail::written<double>(p[2]) = y;
        detail::next_link(p + 1 + operands, t, y);
    }
    template <int Last, std::size_t... I>
    static double link_value(const void* const* p, double t, [[maybe_unused]] double last,
                             std::index_sequence<I...>) noexcept {
        return detail::self<StatefulExec>(p[1]).kernel.eval(
            t, detail::read<double>(p[2]), detail::read_or_last<static_cast<int>(I), Last>(p[3 + I], last)...);
    }
    template <std::size_t... I>
    static constexpr std::array<link_step_t, 1 + count> link_table(std::index_sequence<I...>) noexcept {
        return {&StatefulExec::link<-1>, &StatefulExec::link<static_cast<int>(I)>...};
    }
    static constexpr const link_step_t* links() noexcept {
        if constexpr (detail::all_flt64<O, In...>) {
            return stored_links<void>.data();
        } else {
            return nullptr;
        }
    }
    template <class>
    static constexpr auto stored_links = link_table(std::make_index_sequence<count>{});

    static constexpr bool has_members = requires(K & k, detail::state_walk& walk) { k.members(walk); };
    static void show_states(ExecBlock& object, StateVisitor& visitor) {
        detail::state_walk walk{visitor};
        static_cast<StatefulExec&>(object).kernel.members(walk);
    }
    static constexpr auto states() noexcept -> decltype(lowering_t::states) {
        if constexpr (has_members) return &StatefulExec::show_states;
        else return nullptr;
    }

    static constexpr lowering_t lowered{
        &StatefulExec::run, static_cast<std::uint8_t>(count), true, !sink, false, links(), states()};
};

/// Runnable class of a block whose step does nothing: it only holds what it samples, or the output that its kernel has
/// once it is configured.
template <class K>
class HoldExec final : public Ports<typename K::in, typename K::out> {
public:
    void configure([[maybe_unused]] const void* record) noexcept override {
        if constexpr (has_output) {
            K kernel;
            kernel.configure(record);
            this->out0.value = kernel.eval(0.0, this->out0.value);
        }
    }
    void step() noexcept override {}
    const lowering_t* lowering() const noexcept override { return &lowered; }

private:
    static constexpr bool has_output = detail::has_output<typename K::out>;
    static constexpr lowering_t lowered{nullptr, static_cast<std::uint8_t>(detail::inputs_of<typename K::in>::count),
                                        false, has_output};
};

// `new` and not make_unique: naming unique_ptr<Run> for thousands of Runs multiplies the build time.
template <class Run>
std::unique_ptr<ExecBlock> make_exec() {
    return std::unique_ptr<ExecBlock>(new Run);
}

}  // namespace tessel
