// Numeric services: identifiers and table interpolation.
#pragma once

#include <cstddef>
#include <cstdint>

#include "core/export.h"

namespace tessel::num {

/// A fresh block id: 16 decimal digits, below 2^53 so that every JSON reader holds it exactly, never 0, never repeated
/// in the process. Safe from any thread.
BLOCKS_API std::uint64_t create_id();

/// Linear interpolation in a table of `n` >= 1 points with strictly rising `bp`; beyond an end the end's value.
/// Not-a-number gives not-a-number.
BLOCKS_API double interpolate1d_clip(double x, const double* __restrict bp, const double* __restrict out,
                                     std::size_t n) noexcept;

/// Bilinear interpolation in a table of `n1` rows and `n2` values a row, both at least 1, stored row by row. Inputs
/// are clipped to the table; along an axis of one point the value is constant. Not-a-number gives not-a-number.
BLOCKS_API double interpolate2d_clip(double x1, double x2, const double* __restrict bp1, const double* __restrict bp2,
                                     const double* __restrict out, std::size_t n1, std::size_t n2) noexcept;

}  // namespace tessel::num
