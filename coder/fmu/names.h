// What the variables of an interface are called, and what is said of them.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "coder/exact/unit.h"

namespace tessel::fmu {

/// Gives variables their names, each once: the path of the block below the root; of a parameter its place among the
/// parameters of the program, "controller.kp" or "ref.time". All are identifiers with points.
class Names {
public:
    explicit Names(const exact::unit_t& unit);

    /// A path without the name of the root, or of the part that the program is: "controller.error" of
    /// "mainsys.controller.error".
    std::string_view below_root(std::string_view path) const;
    std::string of(const exact::cell_t& cell);
    /// The text, or the first of TEXT_2, TEXT_3 ... that is free.
    std::string unique(std::string text);
    bool has(std::string_view name) const { return taken_.contains(std::string(name)); }

private:
    std::string part_;
    std::unordered_set<std::string> shared_;  // paths of several blocks
    std::unordered_set<std::string> taken_;
};

/// A unit of measurement by powers of the base units.
struct measure_t {
    const char* name;
    int s = 0, rad = 0;
};
/// The units that variables have: kernels compute in them.
inline constexpr measure_t units[] = {{"s", 1, 0}, {"rad/s", -1, 1}, {"rad", 0, 1}};

struct fact_t {
    std::string description;
    std::string unit;  ///< one of `units`, or ""
};

/// What the classes of a program's blocks know of their parameters.
class Facts {
public:
    explicit Facts(const exact::unit_t& unit);
    fact_t of(const exact::cell_t& cell) const;

private:
    std::unordered_map<std::uint64_t, const char*> class_of_;  // by id of the block
};

}  // namespace tessel::fmu
