#include "host/sweep/distributions.h"

#include <cmath>
#include <cstdlib>

namespace zarn {
namespace {

/// The finisher of a generator of 64 bits that counts (SplitMix64).
constexpr std::uint64_t mixed(std::uint64_t v) noexcept {
    v = (v ^ (v >> 30)) * 0xBF58476D1CE4E5B9u;
    v = (v ^ (v >> 27)) * 0x94D049BB133111EBu;
    return v ^ (v >> 31);
}

double polynomial(const double* coefficients, int count, double x) noexcept {
    double y = coefficients[count - 1];
    for (int i = count - 2; i >= 0; --i) y = y * x + coefficients[i];
    return y;
}

/// Quantile of the standard normal distribution to 16 digits: algorithm AS 241 of Wichura (1988).
double normal_quantile(double p) noexcept {
    static constexpr double a[] = {3.3871328727963666080e0, 1.3314166789178437745e2, 1.9715909503065514427e3,
                                   1.3731693765509461125e4, 4.5921953931549871457e4, 6.7265770927008700853e4,
                                   3.3430575583588128105e4, 2.5090809287301226727e3};
    static constexpr double b[] = {1.0,
                                   4.2313330701600911252e1,
                                   6.8718700749205790830e2,
                                   5.3941960214247511077e3,
                                   2.1213794301586595867e4,
                                   3.9307895800092710610e4,
                                   2.8729085735721942674e4,
                                   5.2264952788528545610e3};
    static constexpr double c[] = {1.42343711074968357734e0,  4.63033784615654529590e0, 5.76949722146069140550e0,
                                   3.64784832476320460504e0,  1.27045825245236838258e0, 2.41780725177450611770e-1,
                                   2.27238449892691845833e-2, 7.74545014278341407640e-4};
    static constexpr double d[] = {1.0,
                                   2.05319162663775882187e0,
                                   1.67638483018380384940e0,
                                   6.89767334985100004550e-1,
                                   1.48103976427480074590e-1,
                                   1.51986665636164571966e-2,
                                   5.47593808499534494600e-4,
                                   1.05075007164441684324e-9};
    static constexpr double e[] = {6.65790464350110377720e0,  5.46378491116411436990e0,  1.78482653991729133580e0,
                                   2.96560571828504891230e-1, 2.65321895265761230930e-2, 1.24266094738807843860e-3,
                                   2.71155556874348757815e-5, 2.01033439929228813265e-7};
    static constexpr double f[] = {1.0,
                                   5.99832206555887937690e-1,
                                   1.36929880922735805310e-1,
                                   1.48753612908506148525e-2,
                                   7.86869131145613259100e-4,
                                   1.84631831751005468180e-5,
                                   1.42151175831644588870e-7,
                                   2.04426310338993978564e-15};
    const double q = p - 0.5;
    if (std::fabs(q) <= 0.425) {
        const double r = 0.180625 - q * q;
        return q * polynomial(a, 8, r) / polynomial(b, 8, r);
    }
    const double tail = std::sqrt(-std::log(q < 0.0 ? p : 1.0 - p));
    const double x = tail <= 5.0 ? polynomial(c, 8, tail - 1.6) / polynomial(d, 8, tail - 1.6)
                                 : polynomial(e, 8, tail - 5.0) / polynomial(f, 8, tail - 5.0);
    return q < 0.0 ? -x : x;
}

}  // namespace

double uniform(std::uint64_t seed, std::uint64_t variant, std::uint64_t name) noexcept {
    const std::uint64_t key = mixed(mixed(seed + 0x9E3779B97F4A7C15u) ^ (name + 1) * 0xD1342543DE82EF95u);
    const std::uint64_t bits = mixed(key + (variant + 1) * 0x9E3779B97F4A7C15u);
    return (static_cast<double>(bits >> 12) + 0.5) * 0x1p-52;
}

double distribution_t::quantile(double share) const noexcept {
    switch (kind) {
        case kind_t::uniform: return a + (b - a) * share;
        case kind_t::normal: return a + b * normal_quantile(share);
        default: return std::exp(a + b * normal_quantile(share));
    }
}

std::optional<distribution_t> parse_distribution(const std::string& text) {
    const auto open = text.find('('), comma = text.find(',');
    if (open == std::string::npos || comma == std::string::npos || !text.ends_with(')')) return std::nullopt;
    const std::string name = text.substr(0, open);
    distribution_t d;
    if (name == "uniform") d.kind = distribution_t::kind_t::uniform;
    else if (name == "lognormal") d.kind = distribution_t::kind_t::lognormal;
    else if (name != "normal") return std::nullopt;
    const std::string first = text.substr(open + 1, comma - open - 1);
    const std::string second = text.substr(comma + 1, text.size() - comma - 2);
    char *first_end = nullptr, *second_end = nullptr;
    d.a = std::strtod(first.c_str(), &first_end);
    d.b = std::strtod(second.c_str(), &second_end);
    const bool good = !first.empty() && !second.empty() && *first_end == '\0' && *second_end == '\0' &&
                      std::isfinite(d.a) && std::isfinite(d.b);
    const bool rises = d.kind == distribution_t::kind_t::uniform ? d.b >= d.a : d.b >= 0.0;
    return good && rises ? std::optional(d) : std::nullopt;
}

}  // namespace zarn
