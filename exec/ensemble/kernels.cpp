#include "exec/ensemble/kernels.h"

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <string_view>
#include <type_traits>

#include "exec/ensemble/kernel_table.h"
#include "formula/value.h"

// The operations that go lane by lane: functions of the machine's C library, integer division, float to integer, lists
// whose place depends on the lane.

namespace tessel::ensemble {
namespace {

template <class T>
T* row(frame_t& f, std::uint32_t place) noexcept {
    return reinterpret_cast<T*>(f.base + place);
}

template <class T, T (*Of)(T)>
void function(const instr_t& i, frame_t& f) noexcept {
    T* out = row<T>(f, i.out);
    const T* a = row<const T>(f, i.of[0]);
    for (std::size_t k = 0; k < f.lanes[i.single]; ++k) out[k] = Of(a[k]);
}
template <class T, T (*Of)(T, T)>
void function2(const instr_t& i, frame_t& f) noexcept {
    T* out = row<T>(f, i.out);
    const T* a = row<const T>(f, i.of[0]);
    const T* b = row<const T>(f, i.of[1]);
    for (std::size_t k = 0; k < f.lanes[i.single]; ++k) out[k] = Of(a[k], b[k]);
}
template <class From, class To>
void convert_each(const instr_t& i, frame_t& f) noexcept {
    To* out = row<To>(f, i.out);
    const From* a = row<const From>(f, i.of[0]);
    for (std::size_t k = 0; k < f.lanes[i.single]; ++k) out[k] = convert<To>(a[k]);
}

/// Notes that a step of the member ended the run: of one lane, or of all that run where it is the same in all.
void end_run(const instr_t& i, frame_t& f, std::size_t lane) noexcept {
    const std::size_t begin = i.single ? 0 : lane, end = i.single ? f.lanes[0] : lane + 1;
    for (std::size_t k = begin; k < end; ++k) {
        if (f.mask != nullptr && f.mask[k] == 0) continue;
        fault_t& known = f.faults[k];
        if (f.step < known.step || (f.step == known.step && i.member < known.member)) known = {f.step, i.member};
    }
}

template <class T>
bool has_no_quotient(T a, T b) noexcept {
    if constexpr (std::is_signed_v<T>) return a == std::numeric_limits<T>::min() && b == -1;
    else return false;
}

template <class T, bool Remainder, bool EndsOnZero = false>
void divide(const instr_t& i, frame_t& f) noexcept {
    T* out = row<T>(f, i.out);
    const T* a = row<const T>(f, i.of[0]);
    const T* b = row<const T>(f, i.of[1]);
    for (std::size_t k = 0; k < f.lanes[i.single]; ++k) {
        const bool ends = has_no_quotient(a[k], b[k]) || (EndsOnZero && b[k] == 0);
        if (ends) end_run(i, f, k);
        if constexpr (Remainder) out[k] = ends ? T{0} : remainder(a[k], b[k]);
        else out[k] = ends ? T{0} : quotient(a[k], b[k]);
    }
}

void between_each(const instr_t& i, frame_t& f) noexcept {
    double* out = row<double>(f, i.out);
    const double* a = row<const double>(f, i.of[0]);
    const double* b = row<const double>(f, i.of[1]);
    const double* x = row<const double>(f, i.of[2]);
    for (std::size_t k = 0; k < f.lanes[i.single]; ++k) out[k] = between(a[k], b[k], x[k]);
}

list_view view(const frame_t& f, std::uint32_t list, std::size_t lane) noexcept {
    const list_rows_t& rows = f.lists[list];
    return {rows.data + lane * rows.stride, rows.count};
}

void interpolate_each(const instr_t& i, frame_t& f) noexcept {
    double* out = row<double>(f, i.out);
    const double* x = row<const double>(f, i.of[0]);
    for (std::size_t k = 0; k < f.lanes[i.single]; ++k)
        out[k] = interpolate(x[k], view(f, i.of[1], k), view(f, i.of[2], k));
}
void interpolate2d_each(const instr_t& i, frame_t& f) noexcept {
    double* out = row<double>(f, i.out);
    const double* x1 = row<const double>(f, i.of[0]);
    const double* x2 = row<const double>(f, i.of[1]);
    for (std::size_t k = 0; k < f.lanes[i.single]; ++k)
        out[k] = interpolate(x1[k], x2[k], view(f, i.of[2], k), view(f, i.of[3], k), view(f, i.of[4], k));
}
void advance_each(const instr_t& i, frame_t& f) noexcept {
    auto* out = row<std::uint64_t>(f, i.out);
    const auto* index = row<const std::uint64_t>(f, i.of[1]);
    const double* t = row<const double>(f, i.of[2]);
    for (std::size_t k = 0; k < f.lanes[i.single]; ++k) out[k] = advance(view(f, i.of[0], k), index[k], t[k]);
}
void element_each(const instr_t& i, frame_t& f) noexcept {
    double* out = row<double>(f, i.out);
    const auto* index = row<const std::uint64_t>(f, i.of[1]);
    for (std::size_t k = 0; k < f.lanes[i.single]; ++k) {
        const list_view list = view(f, i.of[0], k);
        out[k] = list.count == 0 ? 0.0 : list.data[std::min(index[k], list.count - 1)];
    }
}

template <class T>
kernel_t float_function(op_t op) noexcept {
    switch (op) {
        case op_t::sine: return function<T, sine<T>>;
        case op_t::cosine: return function<T, cosine<T>>;
        case op_t::tangent: return function<T, tangent<T>>;
        case op_t::arc_sine: return function<T, arc_sine<T>>;
        case op_t::arc_cosine: return function<T, arc_cosine<T>>;
        case op_t::arc_tangent: return function<T, arc_tangent<T>>;
        case op_t::logarithm: return function<T, logarithm<T>>;
        case op_t::power: return function2<T, power<T>>;
        case op_t::remainder: return function2<T, detail::left_over>;
        default: return nullptr;
    }
}

kernel_t lane_by_lane(op_t op, type_t from, type_t to) noexcept {
    kernel_t found = nullptr;
    switch (op) {
        case op_t::between: return between_each;
        case op_t::interpolate1d: return interpolate_each;
        case op_t::interpolate2d: return interpolate2d_each;
        case op_t::advance: return advance_each;
        case op_t::element: return element_each;
        case op_t::convert:
            with_type(to, [&]<class To>(To) {
                if constexpr (std::is_integral_v<To>)
                    found = from == type_flt64 ? convert_each<double, To> : convert_each<float, To>;
            });
            return found;
        default: break;
    }
    with_type(from, [&]<class T>(T) {
        if constexpr (std::is_floating_point_v<T>) {
            found = float_function<T>(op);
        } else if constexpr (sizeof(T) >= 4) {
            if (op == op_t::divide) found = divide<T, false>;
            if (op == op_t::remainder) found = divide<T, true>;
        }
    });
    return found;
}

const kernel_table_t& table_of([[maybe_unused]] isa_t isa) noexcept {
#if defined(__x86_64__)
    if (isa == isa_t::avx512) return avx512_kernels;
    if (isa == isa_t::avx2) return avx2_kernels;
#endif
    return baseline_kernels;
}

isa_t isa_of_processor() noexcept {
#if defined(__x86_64__)
    const bool wide = __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
                      __builtin_cpu_supports("avx512dq") && __builtin_cpu_supports("avx512vl") &&
                      __builtin_cpu_supports("avx512cd");
    const bool medium = __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma") &&
                        __builtin_cpu_supports("bmi") && __builtin_cpu_supports("bmi2");
    if (wide && medium) return isa_t::avx512;
    if (medium) return isa_t::avx2;
#endif
    return isa_t::baseline;
}

}  // namespace

isa_t best_isa() noexcept {
    const char* wanted = std::getenv("BLOCKS_ISA");
    const isa_t there = isa_of_processor();
    if (wanted == nullptr) return there;
    const std::string_view name(wanted);
    if (name == "baseline") return isa_t::baseline;
    return name == "avx2" ? std::min(there, isa_t::avx2) : there;
}

kernel_t kernel_of(isa_t isa, op_t op, type_t from, type_t to) noexcept {
    const kernel_t found = table_of(isa).operation(op, from, to);
    return found != nullptr ? found : lane_by_lane(op, from, to);
}

kernel_t ending_remainder() noexcept { return divide<std::uint64_t, true, true>; }

kernel_t kernel_of(isa_t isa, move_t move, type_t type) noexcept { return table_of(isa).move(move, type); }

kernel_t interpolation_by_selects(isa_t isa) noexcept { return table_of(isa).interpolation; }

kernel_t fused_kernel(isa_t isa, op_t first, op_t second, bool reversed) noexcept {
    return table_of(isa).fused(first, second, reversed);
}

kernel_t choosing_kernel(isa_t isa, op_t compare, type_t type) noexcept {
    return table_of(isa).choosing(compare, type);
}

}  // namespace tessel::ensemble
