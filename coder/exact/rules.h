// The rules of core/exact.h as functions of a program.
#pragma once

#include <set>
#include <string>

namespace tessel::exact {

/// The functions of core/exact.h that a program calls, and what these call, in the order of that file. They are named
/// after the program ("motor_f64_to_i32"), so that several programs can be one text.
class Rules {
public:
    explicit Rules(std::string program) : program_(std::move(program)) {}

    /// The name of a function ("f64_to_i32") in the program, which from here on needs it.
    std::string use(const std::string& name);
    /// The functions needed, with a blank line behind each.
    std::string text() const;
    /// Whether the functions needed call the library of mathematics, or name the type of sizes.
    bool need_math() const;
    bool need_sizes() const;

private:
    std::string program_;
    std::set<std::string> used_;
};

}  // namespace tessel::exact
