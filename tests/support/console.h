// What the library tells the user.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "core/python.h"

namespace test {

/// Collects the console's texts while it lives.
class Console {
public:
    Console() : before_(python::set_console([this](std::string_view text) { texts.emplace_back(text); })) {}
    Console(const Console&) = delete;
    Console& operator=(const Console&) = delete;
    ~Console() { python::set_console(before_); }

    std::vector<std::string> texts;

private:
    python::console_t before_;
};

}  // namespace test
