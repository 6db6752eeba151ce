// Programs compiled and loaded into the test.
#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "coder/exact/unit.h"

namespace tessel::test {

/// Units as one shared library, of one compiler call. Throws `std::runtime_error` with what the compiler says.
class Library {
public:
    Library(const std::filesystem::path& folder, const std::vector<const exact::unit_t*>& units,
            const std::string& compiler);
    Library(const Library&) = delete;
    Library& operator=(const Library&) = delete;
    ~Library();

    void* symbol(const std::string& name) const;

private:
    void* handle_ = nullptr;
};

/// One instance of a program.
class Program {
public:
    Program(const Library& library, const exact::unit_t& unit);

    void step() { step_(memory_.data()); }
    double time() const;
    void set_time(double t);
    /// The bytes of a variable that is kept.
    std::uint64_t get(exact::cell_number cell) const;
    void set(exact::cell_number cell, std::uint64_t bits);

private:
    struct place_t {
        std::uint64_t offset, size;
    };
    const place_t& place(exact::cell_number cell) const;

    const exact::unit_t& unit_;
    std::map<std::string, place_t> places_;
    std::vector<std::uint64_t> memory_;
    void (*step_)(void*) = nullptr;
};

/// Equal bits; one not-a-number is as good as another.
bool same(type_t type, std::uint64_t a, std::uint64_t b);

/// The warnings that the code must not give, as errors.
inline constexpr const char* warnings = "-Wall -Wextra -Wpedantic -Wconversion -Wshadow -Wdouble-promotion -Werror";

}  // namespace tessel::test
