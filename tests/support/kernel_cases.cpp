#include "tests/support/kernel_cases.h"

#include <limits>
#include <string_view>

#include "tests/support/slow_math.h"

namespace tessel::test {
namespace {

// For each class with parameters some choices of them; a class that is not named has none.
const std::vector<case_t> choices = {
    {"constant", {{"expression", "3.7"}}},
    {"constant", {{"expression", "-1"}}},
    {"constant", {{"expression", "256"}}},
    {"constant", {{"expression", "1e300"}}},
    {"debounce", {{"fall", "0"}, {"rise", "0.375"}}},
    {"debounce", {{"fall", "0.375"}, {"rise", "0"}}},
    {"debounce", {{"fall", "0.25"}, {"rise", "0.375"}}},
    {"debounce", {{"fall", "0"}, {"rise", "0"}}},
    {"from_workspace", {{"expression", "s"}}},
    {"from_workspace", {{"expression", "empty"}}},
    {"hysteresis", {{"valueOff", "-1.5"}, {"valueOn", "2.5"}}},
    {"hysteresis", {{"valueOff", "200"}, {"valueOn", "100"}}},
    {"lerp", {{"coeffA", "0.1"}, {"coeffB", "0.7"}}},
    {"lerp", {{"coeffA", "-2"}, {"coeffB", "3"}}},
    {"lerp", {{"coeffA", "5"}, {"coeffB", "-1e300"}}},
    {"lerp", {{"coeffA", "-7"}, {"coeffB", "-7.25"}}},
    {"logical", {{"operator", "and"}}},
    {"logical", {{"operator", "or"}}},
    {"logical", {{"operator", "nand"}}},
    {"logical", {{"operator", "nor"}}},
    {"lut1d", {{"bp1", "[-2.0, 0.5, 1.0, 100.0]"}, {"out", "[5.0, -3.0, 0.1, 7.0]"}}},
    {"lut1d", {{"bp1", "[-2.0, 0.5, 1.0, 100.0]"}, {"out", "[-0.0, -0.0, 0.0, -0.0]"}}},
    {"lut1d", {{"bp1", "[1.0]"}, {"out", "[4.5]"}}},
    {"lut2d", {{"bp1", "[-2.0, 0.5, 3.0]"}, {"bp2", "[0.0, 10.0]"}, {"out", "[[1.0, 2.0], [-3.0, 4.0], [0.1, 9.0]]"}}},
    {"lut2d", {{"bp1", "[1.0]"}, {"bp2", "[0.0, 10.0]"}, {"out", "[[1.0, 2.0]]"}}},
    {"poly1st", {{"coeffA", "0.1"}, {"coeffB", "-0.7"}}},
    {"poly1st", {{"coeffA", "-1e300"}, {"coeffB", "12"}}},
    {"random", {{"max", "10"}, {"min", "-3"}, {"seed", "12345"}}},
    {"random", {{"max", "1e15"}, {"min", "0.5"}, {"seed", "7"}}},
    {"random", {{"max", "10"}, {"min", "1"}, {"seed", "0"}}},
    {"relational", {{"operator", "eq"}}},
    {"relational", {{"operator", "ne"}}},
    {"relational", {{"operator", "lt"}}},
    {"relational", {{"operator", "le"}}},
    {"relational", {{"operator", "gt"}}},
    {"relational", {{"operator", "ge"}}},
    {"sinewave", {{"frequency", "0.7"}, {"phase", "30"}}},
    {"squarewave", {{"timeOff", "0.25"}, {"timeOn", "0.375"}, {"valueOff", "-1"}, {"valueOn", "3"}}},
    {"squarewave", {{"timeOff", "0"}, {"timeOn", "0"}, {"valueOff", "0.1"}, {"valueOn", "0.2"}}},
    {"step", {{"initialValue", "1.5"}, {"finalValue", "-2.5"}, {"stepTime", "1"}}},
    {"unpack", {{"lsb", "3"}, {"msb", "11"}, {"coeffA", "0.5"}, {"coeffB", "-1"}}},
    {"unpack", {{"lsb", "0"}, {"msb", "31"}, {"coeffA", "1"}, {"coeffB", "2"}}},
    {"unpack", {{"lsb", "0"}, {"msb", "30"}, {"coeffA", "1"}, {"coeffB", "0"}}},
};

}  // namespace

std::vector<case_t> cases_of(const char* class_name) {
    std::vector<case_t> cases;
    for (const case_t& c : choices)
        if (std::string_view(c.class_name) == class_name) cases.push_back(c);
    if (cases.empty()) cases.push_back({class_name, {}});
    return cases;
}

Draw::Draw(unsigned seed) : random_(seed) {
    for (int type = 0; type <= type_flt64; ++type)
        if (size_of(static_cast<type_t>(type)) != 0) edges_[type] = edge_values(static_cast<type_t>(type));
}

value_t Draw::operator()(type_t type) {
    const std::uint64_t bits = random_();
    const auto& edges = edges_[type];
    if (bits % 4 != 0 || type == type_bool) return edges[(bits >> 8) % edges.size()];
    if (bits % 8 == 0) return convert_to(type, value(static_cast<std::int32_t>(bits >> 40) % 300 - 150));
    return {type, size_of(type) == 8 ? bits * 0x9E3779B97F4A7C15u : bits >> (64 - 8 * size_of(type))};
}

bool has_no_quotient(const std::string& class_name, const std::vector<value_t>& u) {
    if (class_name != "divide" && class_name != "mod") return false;
    const auto a = static_cast<std::int64_t>(convert_to(type_int64, u[0]).bits);
    return (a == std::numeric_limits<std::int32_t>::min() || a == std::numeric_limits<std::int64_t>::min()) &&
           convert_to(type_int64, u[1]).bits == std::numeric_limits<std::uint64_t>::max();
}

}  // namespace tessel::test
