// From a kernel to a runnable class.
//
// A kernel is what one accepted combination of types computes: a struct with the aliases `in` and `out` (the port
// lists of exec/ports.h) and an operation `eval`. Exec<K> makes the runnable class of a pure kernel, StatefulExec<K> of
// one with parameters, memory or a need for time. `step` and the lowered run call the same `eval`.
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

/// The cell that operand `i` of an object points at.
template <class T>
const T& cell(const void* const* operands, std::size_t i) noexcept {
    return *static_cast<const T*>(operands[1 + i]);
}

template <class Run>
Run& self(const void* const* operands) noexcept {
    return *static_cast<Run*>(static_cast<ExecBlock*>(const_cast<void*>(operands[0])));
}

/// Whether a kernel says that its output equals its input after every step.
template <class K>
inline constexpr bool passes_through = requires {
    requires K::passes_through;
};

/// Number of ports in a list.
template <class In>
inline constexpr std::size_t count_of = 0;
template <class... T>
inline constexpr std::size_t count_of<inputs<T...>> = sizeof...(T);
template <class T, std::size_t N>
inline constexpr std::size_t count_of<same_inputs<T, N>> = N;

template <class Out>
inline constexpr bool has_output = true;
template <>
inline constexpr bool has_output<outputs<>> = false;

}  // namespace detail

/// Runnable class of a pure kernel: out0 = K::eval(in0, in1, ...). One form for each number of inputs, spelt out: the
/// compiler sees thousands of these.
template <class K, class In = typename K::in>
class Exec;

#define BLOCKS_EXEC_MEMBERS(count)                                            \
public:                                                                       \
    const lowering_t* lowering() const noexcept override { return &lowered; } \
                                                                              \
private:                                                                      \
    static constexpr lowering_t lowered{&Exec::run, count, detail::passes_through<K>};

template <class K, class A>
class Exec<K, inputs<A>> final : public Ports<inputs<A>, typename K::out> {
public:
    void step() noexcept override { this->out0.value = K::eval(this->in0.value); }

private:
    static void run(const void* const* p, std::size_t count, double) noexcept {
        do {
            detail::self<Exec>(p).out0.value = K::eval(*static_cast<const A*>(p[1]));
            p += 2;
        } while (--count != 0);
    }
    BLOCKS_EXEC_MEMBERS(1)
};

template <class K, class A, class B>
class Exec<K, inputs<A, B>> final : public Ports<inputs<A, B>, typename K::out> {
public:
    void step() noexcept override { this->out0.value = K::eval(this->in0.value, this->in1.value); }

private:
    static void run(const void* const* p, std::size_t count, double) noexcept {
        do {
            detail::self<Exec>(p).out0.value = K::eval(*static_cast<const A*>(p[1]), *static_cast<const B*>(p[2]));
            p += 3;
        } while (--count != 0);
    }
    BLOCKS_EXEC_MEMBERS(2)
};

template <class K, class A, class B, class C>
class Exec<K, inputs<A, B, C>> final : public Ports<inputs<A, B, C>, typename K::out> {
public:
    void step() noexcept override { this->out0.value = K::eval(this->in0.value, this->in1.value, this->in2.value); }

private:
    static void run(const void* const* p, std::size_t count, double) noexcept {
        do {
            detail::self<Exec>(p).out0.value =
                K::eval(*static_cast<const A*>(p[1]), *static_cast<const B*>(p[2]), *static_cast<const C*>(p[3]));
            p += 4;
        } while (--count != 0);
    }
    BLOCKS_EXEC_MEMBERS(3)
};

/// N inputs of one type: the kernel is handed an array of pointers to the values.
template <class K, class T, std::size_t N>
class Exec<K, same_inputs<T, N>> final : public Ports<same_inputs<T, N>, typename K::out> {
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
            detail::self<Exec>(p).out0.value = K::eval(u);
        }
    }
    BLOCKS_EXEC_MEMBERS(N)
};

#undef BLOCKS_EXEC_MEMBERS

/// Runnable class of a kernel with state and at most three inputs. The kernel is a member of the object and has
///   O eval(double t, O y, I... u)   the new output from time, last output and inputs; for a sink void eval(t, u...)
/// and, where it needs them,
///   O initial() const               the output at creation
///   void configure(const void*)     takes the class's record
///   void start(double t, O& y)      at the head of a run; for a sink start(t)
///   void finish()                   at its end
template <class K>
class StatefulExec final : public Ports<typename K::in, typename K::out> {
    static constexpr std::size_t count = detail::count_of<typename K::in>;
    static constexpr bool sink = !detail::has_output<typename K::out>;

public:
    StatefulExec() noexcept {
        if constexpr (requires(K & k) { k.initial(); }) this->out0.value = kernel.initial();
    }
    void configure(const void* record) noexcept override {
        if constexpr (requires(K & k) { k.configure(record); }) kernel.configure(record);
    }
    void start() noexcept override {
        if constexpr (sink) {
            if constexpr (requires(K & k) { k.start(0.0); }) kernel.start(this->time());
        } else {
            if constexpr (requires(K & k, StatefulExec & b) { k.start(0.0, b.out0.value); })
                kernel.start(this->time(), this->out0.value);
        }
    }
    void finish() noexcept override {
        if constexpr (requires(K & k) { k.finish(); }) kernel.finish();
    }
    void step() noexcept override {
        if constexpr (count == 0) advance(*this, this->time());
        else if constexpr (count == 1) advance(*this, this->time(), this->in0.value);
        else if constexpr (count == 2) advance(*this, this->time(), this->in0.value, this->in1.value);
        else advance(*this, this->time(), this->in0.value, this->in1.value, this->in2.value);
    }
    const lowering_t* lowering() const noexcept override { return &lowered; }

    K kernel;

private:
    template <class... U>
    static void advance(StatefulExec& b, double t, U... u) noexcept {
        if constexpr (sink) b.kernel.eval(t, u...);
        else b.out0.value = b.kernel.eval(t, b.out0.value, u...);
    }
    template <class P>
    using value_of = std::remove_reference_t<decltype(std::declval<P&>().value)>;

    static void run(const void* const* p, std::size_t n, double t) noexcept {
        for (; n != 0; --n, p += 1 + count) {
            auto& b = detail::self<StatefulExec>(p);
            if constexpr (count == 0) advance(b, t);
            else if constexpr (count == 1) advance(b, t, detail::cell<value_of<decltype(b.in0)>>(p, 0));
            else if constexpr (count == 2)
                advance(b, t, detail::cell<value_of<decltype(b.in0)>>(p, 0),
                        detail::cell<value_of<decltype(b.in1)>>(p, 1));
            else
                advance(b, t, detail::cell<value_of<decltype(b.in0)>>(p, 0),
                        detail::cell<value_of<decltype(b.in1)>>(p, 1), detail::cell<value_of<decltype(b.in2)>>(p, 2));
        }
    }
    static constexpr lowering_t lowered{&StatefulExec::run, static_cast<std::uint8_t>(count), false};
};

/// Runnable class of a block whose step does nothing: it only holds what it samples, or what was put into its output.
template <class In, class Out>
class HoldExec final : public Ports<In, Out> {
public:
    void step() noexcept override {}
    const lowering_t* lowering() const noexcept override { return &lowered; }

private:
    static constexpr lowering_t lowered{nullptr, static_cast<std::uint8_t>(detail::count_of<In>), false};
};

// `new` and not make_unique: naming unique_ptr<Run> for thousands of Runs multiplies the build time.
template <class Run>
std::unique_ptr<ExecBlock> make_exec() {
    return std::unique_ptr<ExecBlock>(new Run);
}

}  // namespace tessel
