// Which values a sweep takes.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace zarn {

/// How the values of several names meet.
enum class combine_t {
    automatic,  ///< zip for a table, else grid
    grid,       ///< each with each; the last varies fastest
    zip,        ///< the first of each, then the second
    random,
    sobol,
    latin,
};

/// What of a model varies, and how. A text is
///   NAME=1,2,5            a list
///   NAME=0.1:0.1:10       a range, first, step and last
///   NAME~normal(4,0.1)    mean and deviation
///   NAME~uniform(1,2)     bounds
///   NAME~lognormal(0,1)   mean and deviation of the logarithm
///   @FILE.csv             a column for each name, a row for each variant
/// and NAME a name of the workspace or PATH.PARAMETER of a block.
struct variation_t {
    std::vector<std::string> texts;
    combine_t combine = combine_t::automatic;
    std::uint64_t count = 0;  ///< of variants, where they are drawn
    std::uint64_t seed = 1;
};

/// The values of every variant. Variant k has the same ones wherever and whenever it is asked for.
class Variants {
public:
    virtual ~Variants() = default;
    virtual std::uint64_t size() const = 0;
    virtual double value(std::uint64_t variant, std::size_t name) const = 0;

    const std::vector<std::string>& names() const { return names_; }
    /// Whether all values of a name are written as whole numbers.
    bool is_whole(std::size_t name) const { return whole_[name]; }

protected:
    std::vector<std::string> names_;
    std::vector<bool> whole_;
};

/// Points of the unit cube of so many dimensions, row by row: what a library of the interpreter draws.
using draw_points_t = std::function<std::vector<double>(std::string_view kind, std::size_t dimensions,
                                                        std::uint64_t count, std::uint64_t seed)>;

/// Raises `SessionError` for texts that make no sense.
std::unique_ptr<Variants> make_variants(const variation_t& variation, const draw_points_t& draw_points);

/// Values that are at hand: one column for each name, all of one length. Whole numbers are integers where a column has
/// no others, unless `floats`.
std::unique_ptr<Variants> make_variants(std::vector<std::string> names, std::vector<std::vector<double>> columns,
                                        bool floats = false);

}  // namespace zarn
