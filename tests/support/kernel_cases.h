// Blocks of every class with parameters, and values to feed them with.
#pragma once

#include <cstdint>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/block_test.h"

namespace tessel::test {

struct case_t {
    const char* class_name;
    std::vector<std::pair<const char*, const char*>> parameters;
};

/// Choices of parameters for a class, at least one; the series "s" and "empty" are the test's to provide.
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
