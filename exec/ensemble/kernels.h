// The loops over rows: one for each operation and type, for each instruction set.
#pragma once

#include <cstdint>

#include "core/export.h"
#include "core/type.h"
#include "exec/ensemble/program.h"
#include "formula/formula.h"

namespace tessel::ensemble {

/// What an instruction does, beside the operations of a formula.
enum class move_t : std::uint8_t {
    copy,    ///< a row to a row of the same width
    spread,  ///< a single value to all lanes
    blend,   ///< of[0] where the gate is open, elsewhere what is there
};

/// Instruction sets, each with all that those before it have.
enum class isa_t : std::uint8_t { baseline, avx2, avx512 };

/// The best that the processor has, or a lower one that BLOCKS_ISA names: "baseline", "avx2", "avx512".
BLOCKS_API isa_t best_isa() noexcept;

/// The loop of an operation on operands of type `from` with results of type `to`; the best that there is up to `isa`.
/// Null for an operation that has none. Leaves and `choose` have none.
kernel_t kernel_of(isa_t isa, op_t op, type_t from, type_t to) noexcept;
/// The remainder that ends a run where it divides by 0.
kernel_t ending_remainder() noexcept;
kernel_t kernel_of(isa_t isa, move_t move, type_t type) noexcept;
/// interpolate1d in a list of rising breakpoints that no variant varies.
kernel_t interpolation_by_selects(isa_t isa) noexcept;

/// A family of two operations on flt64 in one loop: (a FIRST b) SECOND c, or c - (a FIRST b) for `reversed`.
kernel_t fused_kernel(isa_t isa, op_t first, op_t second, bool reversed) noexcept;
/// a COMPARE b ? c : d on one type, of[] in this order.
kernel_t choosing_kernel(isa_t isa, op_t compare, type_t type) noexcept;

}  // namespace tessel::ensemble
