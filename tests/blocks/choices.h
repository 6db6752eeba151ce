// Parameters and inputs for tests that go through every accepted combination of every class.
#pragma once

#include <random>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/block_test.h"

namespace tessel::test {

using parameters_of_test = std::vector<std::pair<const char*, const char*>>;
struct case_t {
    const char* class_name;
    parameters_of_test parameters;
};

// For each class with parameters some choices of them; a class that is not named has none.
/// For each class with parameters some choices of them; a class that is not named has none.
std::vector<case_t> cases_of(const char* class_name);

/// Values of each type: the edges, and any bits.
class Draw {
public:
    explicit Draw(unsigned seed);
    value_t operator()(type_t type);

private:
    std::mt19937_64 random_;
    std::vector<value_t> edges_[type_flt64 + 1];
};

/// Whether the operands would end the process.
bool has_no_quotient(const std::string& class_name, const std::vector<value_t>& u);

}  // namespace tessel::test
