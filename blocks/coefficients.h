// What `lerp` and `poly1st` share: two coefficients.
#pragma once

#include "blocks/parameters.h"
#include "blocks/table.h"

namespace tessel {

struct coefficients_t {
    double a = 0.0;
    double b = 0.0;
};

/// Ports and parameters of a kernel with two coefficients.
template <class T>
struct Coefficients {
    using in = inputs<T>;
    using out = outputs<T>;

    with<T, double> a = 0.0, b = 0.0;

    void configure(const void* record) noexcept {
        a = static_cast<const coefficients_t*>(record)->a;
        b = static_cast<const coefficients_t*>(record)->b;
    }
    void members(auto& visit) {
        visit.parameter("a", a);
        visit.parameter("b", b);
    }
};

class CoefficientBlock : public ParameterBlock {
public:
    using ParameterBlock::ParameterBlock;

protected:
    /// The type rule, with the parameters of the class, first "coeffA".
    result_t type_by(std::span<const parameter_traits_t, 2> parameters) {
        const result_t result = read_each({{parameters[0], &coeff_a_}, {parameters[1], &coeff_b_}});
        if (result != result_ok) return result;
        outputs_[0].set_type_if_unset(type_flt64);
        return MetaBlock::calculate_type();
    }

    coefficients_t coefficients() const noexcept { return {double(coeff_a_), double(coeff_b_)}; }

private:
    var_t coeff_a_;
    var_t coeff_b_;
};

}  // namespace tessel
