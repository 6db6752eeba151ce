// What zarn sweep tells at its end.
#pragma once

#include <cstdint>
#include <limits>
#include <string>
#include <vector>

namespace zarn {

/// A column of measures.
struct measure_summary_t {
    std::string name;
    double least = std::numeric_limits<double>::infinity(), most = -std::numeric_limits<double>::infinity();
    double sum = 0.0, count = 0.0;
    std::uint64_t least_at = 0, most_at = 0;

    void add(std::uint64_t variant, double value);
};

struct sweep_summary_t {
    std::vector<measure_summary_t> measures;
    std::uint64_t done = 0, there = 0;  ///< variants that ran now, and that an earlier sweep has left
    std::uint64_t kept = 0, ended = 0;
    std::string first_ended;
    bool filtered = false;
    std::size_t kinds = 1;
    double seconds = 0.0;
};

std::string summary_text(const sweep_summary_t& summary);
/// One JSON object.
std::string summary_json(const sweep_summary_t& summary);

}  // namespace zarn
