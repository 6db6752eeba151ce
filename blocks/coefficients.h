// What `lerp` and `poly1st` share: two coefficients.
#pragma once

#include "blocks/parameters.h"

namespace tessel {

struct coefficients_t {
    double a = 0.0;
    double b = 0.0;
};

class CoefficientBlock : public ParameterBlock {
public:
    using ParameterBlock::ParameterBlock;

    result_t calculate_type() override {
        const result_t result = read_each({{"coeffA", "_coeff_a", &coeff_a_}, {"coeffB", "_coeff_b", &coeff_b_}});
        if (result != result_ok) return result;
        outputs_[0].set_type_if_unset(type_flt64);
        return MetaBlock::calculate_type();
    }

protected:
    coefficients_t coefficients() const noexcept { return {double(coeff_a_), double(coeff_b_)}; }

private:
    var_t coeff_a_;
    var_t coeff_b_;
};

}  // namespace tessel
