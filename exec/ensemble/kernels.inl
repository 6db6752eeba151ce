// The loops for one instruction set. Included once for each, with BLOCKS_TARGET as the attribute of that set,
// BLOCKS_VECTOR as the bytes of its registers and BLOCKS_ISA_NAME as the name of what is handed out. What is called
// from here is compiled for the baseline where it is not inlined: nothing of one set can get into what the others
// share.
#include <cmath>
#include <type_traits>

#include "core/convert.h"
#include "core/exact.h"
#include "exec/ensemble/kernel_table.h"
#include "exec/ensemble/kernels.h"

#if defined(__clang__)
#pragma clang diagnostic ignored "-Wpass-failed"  // what an instruction set has no vectors for goes lane by lane
#define BLOCKS_LANES _Pragma("clang loop vectorize(assume_safety)")
#else
#define BLOCKS_LANES _Pragma("GCC ivdep")
#endif

namespace tessel::ensemble {
namespace {

template <class T>
T* row(frame_t& f, std::uint32_t place) noexcept {
    return static_cast<T*>(__builtin_assume_aligned(f.base + place, alignment));
}

/// A truth value as it lies in a row.
using truth_t = unsigned char;
template <class T>
using cell = std::conditional_t<std::is_same_v<T, bool>, truth_t, T>;

// ---- what is done with each lane
// clang-format off
template <class T> using bits_of_integer = std::conditional_t<std::is_integral_v<T>, std::make_unsigned<T>, std::type_identity<T>>;
template <class T> using wrapped = typename bits_of_integer<T>::type;
struct Add { template <class T> static T of(T a, T b) noexcept { return static_cast<T>(static_cast<wrapped<T>>(a) + static_cast<wrapped<T>>(b)); } };
struct Subtract { template <class T> static T of(T a, T b) noexcept { return static_cast<T>(static_cast<wrapped<T>>(a) - static_cast<wrapped<T>>(b)); } };
struct Multiply { template <class T> static T of(T a, T b) noexcept { return static_cast<T>(static_cast<wrapped<T>>(a) * static_cast<wrapped<T>>(b)); } };
struct Divide { template <class T> static T of(T a, T b) noexcept { return a / b; } };
struct BitAnd { template <class T> static T of(T a, T b) noexcept { return a & b; } };
struct BitXor { template <class T> static T of(T a, T b) noexcept { return a ^ b; } };
struct ShiftLeft { template <class T> static T of(T a, T n) noexcept { return a << (n % (8 * sizeof(T))); } };
struct ShiftRight { template <class T> static T of(T a, T n) noexcept { return a >> (n % (8 * sizeof(T))); } };
struct Equal { template <class T> static truth_t of(T a, T b) noexcept { return a == b; } };
struct Unequal { template <class T> static truth_t of(T a, T b) noexcept { return a != b; } };
struct Less { template <class T> static truth_t of(T a, T b) noexcept { return a < b; } };
struct LessEqual { template <class T> static truth_t of(T a, T b) noexcept { return a <= b; } };
struct Greater { template <class T> static truth_t of(T a, T b) noexcept { return a > b; } };
struct GreaterEqual { template <class T> static truth_t of(T a, T b) noexcept { return a >= b; } };
struct And { static truth_t of(truth_t a, truth_t b) noexcept { return a & b; } };
struct Or { static truth_t of(truth_t a, truth_t b) noexcept { return a | b; } };
struct Not { static truth_t of(truth_t a) noexcept { return a ^ 1; } };
struct Same { template <class T> static T of(T a) noexcept { return a; } };
struct Absolute { template <class T> static T of(T a) noexcept { return std::fabs(a); } };
struct SquareRoot { template <class T> static T of(T a) noexcept { return std::sqrt(a); } };
// clang-format on
template <class To>
struct Convert {
    template <class From>
    static cell<To> of(From v) noexcept {
        return convert<To>(v);
    }
};
template <class To>
struct ConvertTruth {
    static To of(truth_t v) noexcept { return static_cast<To>(v); }
};

// ---- loops
/// Calls `body` for each lane. A full batch, the usual case, has a number of lanes that the compiler knows.
template <class T, class Body>
[[gnu::always_inline]] inline void for_lanes(std::size_t chunks, Body body) noexcept {
    const std::size_t all = chunks * chunk;
    if constexpr (sizeof(T) == 8) {
        if (all == most_lanes) {
            BLOCKS_LANES
            for (std::size_t k = 0; k < most_lanes; ++k) body(k);
            return;
        }
    }
    BLOCKS_LANES
    for (std::size_t k = 0; k < all; ++k) body(k);
}
#define BLOCKS_EACH [=](std::size_t k) __attribute__((always_inline))

template <class F, class Out, class A>
BLOCKS_TARGET void unary(const instr_t& i, frame_t& f) noexcept {
    Out* out = row<Out>(f, i.out);
    const A* a = row<const A>(f, i.of[0]);
    for_lanes<Out>(
        f.chunks[i.single], BLOCKS_EACH { out[k] = F::of(a[k]); });
}

template <class F, class Out, class A>
BLOCKS_TARGET void binary(const instr_t& i, frame_t& f) noexcept {
    Out* out = row<Out>(f, i.out);
    const A* a = row<const A>(f, i.of[0]);
    const A* b = row<const A>(f, i.of[1]);
    for_lanes<Out>(
        f.chunks[i.single], BLOCKS_EACH { out[k] = F::of(a[k], b[k]); });
}

template <class T>
BLOCKS_TARGET void select(const instr_t& i, frame_t& f) noexcept {
    T* out = row<T>(f, i.out);
    const truth_t* c = row<const truth_t>(f, i.of[0]);
    const T* a = row<const T>(f, i.of[1]);
    const T* b = row<const T>(f, i.of[2]);
    for_lanes<T>(
        f.chunks[i.single], BLOCKS_EACH {
            const T x = a[k], y = b[k];
            out[k] = c[k] != 0 ? x : y;
        });
}

template <class T>
BLOCKS_TARGET void spread(const instr_t& i, frame_t& f) noexcept {
    T* out = row<T>(f, i.out);
    const T value = *row<const T>(f, i.of[0]);
    for_lanes<T>(
        f.chunks[0], BLOCKS_EACH { out[k] = value; });
}

template <class T>
BLOCKS_TARGET void blend(const instr_t& i, frame_t& f) noexcept {
    T* out = row<T>(f, i.out);
    const T* a = row<const T>(f, i.of[0]);
    const auto* mask = static_cast<const truth_t*>(__builtin_assume_aligned(f.mask, alignment));
    for_lanes<T>(
        f.chunks[0], BLOCKS_EACH {
            const T x = a[k], y = out[k];
            out[k] = mask[k] != 0 ? x : y;
        });
}

template <class F, class T>
BLOCKS_TARGET void choosing(const instr_t& i, frame_t& f) noexcept {
    T* out = row<T>(f, i.out);
    const T* a = row<const T>(f, i.of[0]);
    const T* b = row<const T>(f, i.of[1]);
    const T* c = row<const T>(f, i.of[2]);
    const T* d = row<const T>(f, i.of[3]);
    for_lanes<T>(
        f.chunks[i.single], BLOCKS_EACH {
            const T x = c[k], y = d[k];
            out[k] = F::of(a[k], b[k]) != 0 ? x : y;
        });
}

template <class F, class G, bool Reversed>
BLOCKS_TARGET void fused(const instr_t& i, frame_t& f) noexcept {
    double* out = row<double>(f, i.out);
    const double* a = row<const double>(f, i.of[0]);
    const double* b = row<const double>(f, i.of[1]);
    const double* c = row<const double>(f, i.of[2]);
    for_lanes<double>(
        f.chunks[i.single], BLOCKS_EACH {
            const double x = F::of(a[k], b[k]), y = c[k];
            out[k] = Reversed ? G::of(y, x) : G::of(x, y);
        });
}

// a difference: a sum with zeros would turn -0 into 0
#define BLOCKS_ALL(v) ((v)-lanes_t{})
using lanes_t [[gnu::vector_size(BLOCKS_VECTOR), gnu::may_alias]] = double;

BLOCKS_TARGET void interpolate_by_selects(const instr_t& i, frame_t& f) noexcept {
    double* out = row<double>(f, i.out);
    const double* x = row<const double>(f, i.of[0]);
    const double* bp = f.lists[i.of[1]].data;
    const double* values = f.lists[i.of[2]].data;
    const std::size_t last = f.lists[i.of[1]].count - 1;
    const double first_x = bp[0], first_y = values[0], last_x = bp[last], last_y = values[last];
    const double first_length = bp[1] - first_x, first_rise = values[1] - first_y;
    const std::size_t all = f.chunks[i.single] * chunk;
    // the segment of each lane is chosen in registers
    for (std::size_t k = 0; k < all; k += sizeof(lanes_t) / sizeof(double)) {
        const lanes_t v = *reinterpret_cast<const lanes_t*>(x + k);
        lanes_t from = BLOCKS_ALL(first_x), length = BLOCKS_ALL(first_length), rise = BLOCKS_ALL(first_rise),
                y = BLOCKS_ALL(first_y);
        for (std::size_t s = 1; s < last; ++s) {
            const double begin = bp[s], base = values[s];
            const auto here = v >= begin;
            from = here ? BLOCKS_ALL(begin) : from;
            length = here ? BLOCKS_ALL(bp[s + 1] - begin) : length;
            rise = here ? BLOCKS_ALL(values[s + 1] - base) : rise;
            y = here ? BLOCKS_ALL(base) : y;
        }
        lanes_t inside = (v - from) / length * rise + y;
        inside = v >= last_x ? BLOCKS_ALL(last_y) : inside;
        *reinterpret_cast<lanes_t*>(out + k) = v <= first_x ? BLOCKS_ALL(first_y) : inside;
    }
}

// ---- which loop
template <class T>
kernel_t arithmetic(op_t op) noexcept {
    switch (op) {
        case op_t::add: return binary<Add, T, T>;
        case op_t::subtract: return binary<Subtract, T, T>;
        case op_t::multiply: return binary<Multiply, T, T>;
        default: break;
    }
    if constexpr (std::is_floating_point_v<T>) {
        switch (op) {
            case op_t::divide: return binary<Divide, T, T>;
            case op_t::absolute: return unary<Absolute, T, T>;
            case op_t::square_root: return unary<SquareRoot, T, T>;
            default: break;
        }
    } else if constexpr (std::is_unsigned_v<T>) {
        switch (op) {
            case op_t::bit_and: return binary<BitAnd, T, T>;
            case op_t::bit_xor: return binary<BitXor, T, T>;
            case op_t::shift_left: return binary<ShiftLeft, T, T>;
            case op_t::shift_right: return binary<ShiftRight, T, T>;
            default: break;
        }
    }
    return nullptr;
}

template <class T>
kernel_t comparison(op_t op) noexcept {
    switch (op) {
        case op_t::equal: return binary<Equal, truth_t, T>;
        case op_t::unequal: return binary<Unequal, truth_t, T>;
        case op_t::less: return binary<Less, truth_t, T>;
        case op_t::less_equal: return binary<LessEqual, truth_t, T>;
        case op_t::greater: return binary<Greater, truth_t, T>;
        case op_t::greater_equal: return binary<GreaterEqual, truth_t, T>;
        default: return nullptr;
    }
}

template <class T>
kernel_t choosing_by(op_t op) noexcept {
    switch (op) {
        case op_t::equal: return choosing<Equal, T>;
        case op_t::less: return choosing<Less, T>;
        case op_t::less_equal: return choosing<LessEqual, T>;
        case op_t::greater: return choosing<Greater, T>;
        case op_t::greater_equal: return choosing<GreaterEqual, T>;
        default: return nullptr;
    }
}

template <class From, class To>
kernel_t conversion() noexcept {
    if constexpr (std::is_floating_point_v<From> && std::is_integral_v<To> && !std::is_same_v<To, bool>) {
        return nullptr;  // one by one: see kernels.cpp
    } else if constexpr (std::is_same_v<From, To>) {
        return nullptr;
    } else if constexpr (std::is_same_v<From, bool>) {
        return unary<ConvertTruth<To>, To, truth_t>;
    } else {
        return unary<Convert<To>, cell<To>, From>;
    }
}

template <class T>
kernel_t of_type(op_t op) noexcept {
    if constexpr (std::is_same_v<T, bool>) {
        switch (op) {
            case op_t::logical_and: return binary<And, truth_t, truth_t>;
            case op_t::logical_or: return binary<Or, truth_t, truth_t>;
            case op_t::negate: return unary<Not, truth_t, truth_t>;
            default: return comparison<truth_t>(op);
        }
    } else {
        if constexpr (sizeof(T) >= 4)
            if (const kernel_t found = arithmetic<T>(op); found != nullptr) return found;
        return comparison<T>(op);
    }
}

template <class Use>
kernel_t by_size(type_t type, Use use) noexcept {
    switch (size_of(type)) {
        case 1: return use(std::uint8_t{});
        case 2: return use(std::uint16_t{});
        case 4: return use(std::uint32_t{});
        default: return use(std::uint64_t{});
    }
}

kernel_t find_kernel(op_t op, type_t from, type_t to) noexcept {
    kernel_t found = nullptr;
    if (op == op_t::select) return by_size(to, [](auto v) -> kernel_t { return select<decltype(v)>; });
    if (op == op_t::convert) {
        with_type(from,
                  [&]<class From>(From) { with_type(to, [&]<class To>(To) { found = conversion<From, To>(); }); });
    } else {
        with_type(from, [&]<class T>(T) { found = of_type<T>(op); });
    }
    return found;
}

kernel_t find_move(move_t move, type_t type) noexcept {
    return by_size(type, [move]<class T>(T) -> kernel_t {
        switch (move) {
            case move_t::copy: return unary<Same, T, T>;
            case move_t::spread: return spread<T>;
            default: return blend<T>;
        }
    });
}

template <class F, bool Reversed>
kernel_t fused_by(op_t second) noexcept {
    switch (second) {
        case op_t::add: return fused<F, Add, false>;
        case op_t::subtract: return fused<F, Subtract, Reversed>;
        case op_t::multiply: return fused<F, Multiply, false>;
        default: return nullptr;
    }
}

kernel_t find_fused(op_t first, op_t second, bool reversed) noexcept {
    switch (first) {
        case op_t::add: return reversed ? fused_by<Add, true>(second) : fused_by<Add, false>(second);
        case op_t::subtract: return reversed ? fused_by<Subtract, true>(second) : fused_by<Subtract, false>(second);
        case op_t::multiply: return reversed ? fused_by<Multiply, true>(second) : fused_by<Multiply, false>(second);
        default: return nullptr;
    }
}

kernel_t find_choosing(op_t compare, type_t type) noexcept {
    kernel_t found = nullptr;
    with_type(type, [&]<class T>(T) { found = choosing_by<cell<T>>(compare); });
    return found;
}

}  // namespace

extern const kernel_table_t BLOCKS_ISA_NAME{find_kernel, find_move, find_fused, find_choosing, interpolate_by_selects};

}  // namespace tessel::ensemble
