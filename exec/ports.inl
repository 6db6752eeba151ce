// Definitions of the port layouts, for the files that instantiate them.
#pragma once

#include "exec/ports.h"

namespace tessel {
namespace detail {

template <class O>
ExecPort* port_at(Ports<inputs<>, outputs<O>>& b, int i) noexcept {
    return i == 0 ? &b.out0 : nullptr;
}
template <class A>
ExecPort* port_at(Ports<inputs<A>, outputs<>>& b, int i) noexcept {
    return i == 0 ? &b.in0 : nullptr;
}
template <class A, class O>
ExecPort* port_at(Ports<inputs<A>, outputs<O>>& b, int i) noexcept {
    switch (i) {
        case 0: return &b.in0;
        case 1: return &b.out0;
        default: return nullptr;
    }
}
template <class A, class B, class O>
ExecPort* port_at(Ports<inputs<A, B>, outputs<O>>& b, int i) noexcept {
    switch (i) {
        case 0: return &b.in0;
        case 1: return &b.in1;
        case 2: return &b.out0;
        default: return nullptr;
    }
}
template <class A, class B, class C, class O>
ExecPort* port_at(Ports<inputs<A, B, C>, outputs<O>>& b, int i) noexcept {
    switch (i) {
        case 0: return &b.in0;
        case 1: return &b.in1;
        case 2: return &b.in2;
        case 3: return &b.out0;
        default: return nullptr;
    }
}
template <class T, std::size_t N, class O>
ExecPort* port_at(Ports<same_inputs<T, N>, outputs<O>>& b, int i) noexcept {
    if (i < 0 || i > static_cast<int>(N)) return nullptr;
    if (i == static_cast<int>(N)) return &b.out0;
    return &b.in[static_cast<std::size_t>(i)];
}

template <class O>
void pull_all(Ports<inputs<>, outputs<O>>&) noexcept {}
template <class A, class... O>
void pull_all(Ports<inputs<A>, outputs<O...>>& b) noexcept {
    b.in0.pull();
}
template <class A, class B, class O>
void pull_all(Ports<inputs<A, B>, outputs<O>>& b) noexcept {
    b.in0.pull();
    b.in1.pull();
}
template <class A, class B, class C, class O>
void pull_all(Ports<inputs<A, B, C>, outputs<O>>& b) noexcept {
    b.in0.pull();
    b.in1.pull();
    b.in2.pull();
}
template <class T, std::size_t N, class O>
void pull_all(Ports<same_inputs<T, N>, outputs<O>>& b) noexcept {
    for (auto& port : b.in) port.pull();
}

}  // namespace detail

#define BLOCKS_DEFINE_PORTS(Parameters, Class)                                  \
    template <Parameters>                                                       \
    Class::Ports() noexcept = default;                                          \
    template <Parameters>                                                       \
    ExecPort* Class::input(std::int16_t index) noexcept {                       \
        return detail::port_at(*this, index);                                   \
    }                                                                           \
    template <Parameters>                                                       \
    const ExecPort* Class::input(std::int16_t index) const noexcept {           \
        return detail::port_at(const_cast<Class&>(*this), index);               \
    }                                                                           \
    template <Parameters>                                                       \
    ExecPort* Class::output(std::int16_t index) noexcept {                      \
        return detail::port_at(*this, index + input_count);                     \
    }                                                                           \
    template <Parameters>                                                       \
    const ExecPort* Class::output(std::int16_t index) const noexcept {          \
        return detail::port_at(const_cast<Class&>(*this), index + input_count); \
    }                                                                           \
    template <Parameters>                                                       \
    void Class::sample() noexcept {                                             \
        detail::pull_all(*this);                                                \
    }
#define BLOCKS_COMMA ,

BLOCKS_DEFINE_PORTS(class O, Ports<inputs<> BLOCKS_COMMA outputs<O>>)
BLOCKS_DEFINE_PORTS(class A, Ports<inputs<A> BLOCKS_COMMA outputs<>>)
BLOCKS_DEFINE_PORTS(class A BLOCKS_COMMA class O, Ports<inputs<A> BLOCKS_COMMA outputs<O>>)
BLOCKS_DEFINE_PORTS(class A BLOCKS_COMMA class B BLOCKS_COMMA class O,
                    Ports<inputs<A BLOCKS_COMMA B> BLOCKS_COMMA outputs<O>>)
BLOCKS_DEFINE_PORTS(class A BLOCKS_COMMA class B BLOCKS_COMMA class C BLOCKS_COMMA class O,
                    Ports<inputs<A BLOCKS_COMMA B BLOCKS_COMMA C> BLOCKS_COMMA outputs<O>>)
BLOCKS_DEFINE_PORTS(class T BLOCKS_COMMA std::size_t N BLOCKS_COMMA class O,
                    Ports<same_inputs<T BLOCKS_COMMA N> BLOCKS_COMMA outputs<O>>)

#undef BLOCKS_COMMA
#undef BLOCKS_DEFINE_PORTS

}  // namespace tessel
