// The port layouts of runnable objects, shared by every block class with ports of the same types.
//
// The virtual operations are declared here and instantiated in ports_*.cpp alone: a block file that names one of the
// 1,500 layouts adds its `step` to it and compiles nothing else.
#pragma once

#include <array>
#include <cstddef>

#include "ExecBlock.h"
#include "exec/Port.h"
#include "formula/port_lists.h"

namespace tessel {

/// Runnable block with the ports In and Out: inputs as members in0, in1, in2, the output as out0.
template <class In, class Out>
class Ports;

#define BLOCKS_PORT_OPERATIONS                                       \
    Ports() noexcept;                                                \
    ExecPort* input(std::int16_t index) noexcept final;              \
    const ExecPort* input(std::int16_t index) const noexcept final;  \
    ExecPort* output(std::int16_t index) noexcept final;             \
    const ExecPort* output(std::int16_t index) const noexcept final; \
    void sample() noexcept final;

template <class O>
class Ports<inputs<>, outputs<O>> : public ExecBlock {
public:
    static constexpr int input_count = 0;
    BLOCKS_PORT_OPERATIONS
    Port<O> out0;
};

template <class A>
class Ports<inputs<A>, outputs<>> : public ExecBlock {
public:
    static constexpr int input_count = 1;
    BLOCKS_PORT_OPERATIONS
    Port<A> in0;
};

template <class A, class O>
class Ports<inputs<A>, outputs<O>> : public ExecBlock {
public:
    static constexpr int input_count = 1;
    BLOCKS_PORT_OPERATIONS
    Port<A> in0;
    Port<O> out0;
};

template <class A, class B, class O>
class Ports<inputs<A, B>, outputs<O>> : public ExecBlock {
public:
    static constexpr int input_count = 2;
    BLOCKS_PORT_OPERATIONS
    Port<A> in0;
    Port<B> in1;
    Port<O> out0;
};

template <class A, class B, class C, class O>
class Ports<inputs<A, B, C>, outputs<O>> : public ExecBlock {
public:
    static constexpr int input_count = 3;
    BLOCKS_PORT_OPERATIONS
    Port<A> in0;
    Port<B> in1;
    Port<C> in2;
    Port<O> out0;
};

template <class T, std::size_t N, class O>
class Ports<same_inputs<T, N>, outputs<O>> : public ExecBlock {
public:
    static constexpr int input_count = static_cast<int>(N);
    BLOCKS_PORT_OPERATIONS
    std::array<Port<T>, N> in;
    Port<O> out0;
};

#undef BLOCKS_PORT_OPERATIONS

}  // namespace tessel
