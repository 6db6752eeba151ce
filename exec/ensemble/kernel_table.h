// The loops of one instruction set.
#pragma once

#include "exec/ensemble/kernels.h"

namespace tessel::ensemble {

struct kernel_table_t {
    kernel_t (*operation)(op_t op, type_t from, type_t to) noexcept;
    kernel_t (*move)(move_t move, type_t type) noexcept;
    kernel_t (*fused)(op_t first, op_t second, bool reversed) noexcept;
    kernel_t (*choosing)(op_t compare, type_t type) noexcept;
    kernel_t interpolation;
};

extern const kernel_table_t baseline_kernels;
#if defined(__x86_64__)
extern const kernel_table_t avx2_kernels;
extern const kernel_table_t avx512_kernels;
#endif

}  // namespace tessel::ensemble
