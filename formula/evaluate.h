// A formula computed value by value: slow, exact, needs no compiler. What every other use of formulas is tested
// against.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "core/export.h"
#include "formula/formula.h"

namespace tessel {

/// An object made of a formula, which must outlive it: `start` at the head of a run, then `step`. Values are bytes. A
/// division that ends a run's process gives 0 here: see `divide` and `remainder` of core/exact.h.
class BLOCKS_API evaluator {
public:
    explicit evaluator(const formula_t& formula);

    void start(double t);
    /// One step from as many inputs as the formula has: the output, or what is taken.
    std::uint64_t step(std::span<const std::uint64_t> inputs, double t);
    std::uint64_t output() const noexcept { return output_; }

private:
    void compute(double t);
    std::uint64_t value_of(const value_t& v) const;
    std::uint64_t operand(const value_t& v, std::size_t i) const noexcept {
        return bits_[static_cast<std::size_t>(v.of[i])];
    }
    const list_t& list(const value_t& v, std::size_t i) const noexcept {
        return formula_.lists[static_cast<std::size_t>(formula_.at(v.of[i]).bits)];
    }
    std::uint64_t over_lists(const value_t& v) const;

    const formula_t& formula_;
    std::vector<std::uint64_t> bits_;  // of every value
    std::vector<std::uint64_t> inputs_;
    std::vector<std::uint64_t> states_;
    std::uint64_t output_;
    double t_ = 0.0;
};

}  // namespace tessel
