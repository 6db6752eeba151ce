// Numbers drawn by counting: the same for the same seed, variant and name, on every machine and in every order.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace zarn {

/// A number strictly between 0 and 1.
double uniform(std::uint64_t seed, std::uint64_t variant, std::uint64_t name) noexcept;

struct distribution_t {
    enum class kind_t { normal, uniform, lognormal };
    kind_t kind = kind_t::normal;
    double a = 0.0, b = 1.0;

    /// The value below which lies that share of all.
    double quantile(double share) const noexcept;
};

/// "normal(4,0.1)", "uniform(1,2)", "lognormal(0,1)"; nothing for another text.
std::optional<distribution_t> parse_distribution(const std::string& text);

}  // namespace zarn
