// What stands around a program: a test with values of a run, files for builders and calibrators, a page for readers.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "coder/exact/write_c.h"

namespace tessel::exact {

/// The first steps of a run: what is fed to the program in each, and what it must show behind some of them.
struct golden_t {
    std::vector<cell_number> inputs, checked;
    std::size_t steps = 0, stride = 1;  ///< behind steps 0, stride, 2 * stride, ... values are known
    std::vector<std::vector<std::uint64_t>> fed, expected;  ///< the bytes: of each step, and of those with known values
};

/// `N_test.c`: runs the program beside the values of a run; its exit status tells whether they are equal.
text_file_t write_test(const unit_t& unit, const golden_t& golden);
/// `Makefile` and `CMakeLists.txt`.
std::vector<text_file_t> write_build(const unit_t& unit);
/// `N.json`: which block is which symbol, at which line and place.
text_file_t write_trace(const unit_t& unit);
/// `N.a2l`: inputs, outputs and signals as measurements, parameters as characteristics.
text_file_t write_a2l(const unit_t& unit);
/// `README.md`; `picture` is the name of a file beside it, "" for none.
text_file_t write_readme(const unit_t& unit, const std::string& picture);

/// Where the members of the structure stand on processors that put a number at a multiple of its size.
struct places_t {
    std::map<cell_number, std::size_t> offsets;
    std::size_t size = 0;
};
places_t places_of(const unit_t& unit);

}  // namespace tessel::exact
