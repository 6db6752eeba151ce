// A program that is asked one question: text in, text out.
#pragma once

#include <chrono>
#include <string>
#include <string_view>
#include <vector>

namespace zarn::draw {

struct Answer {
    std::string text;
    std::string error;   ///< why the program could not be started, "" when it was
    bool ended = false;  ///< whether it has ended its answer in time
};

/// Starts a program of the PATH, without a shell, writes to it and reads what it writes. It is ended when it has
/// answered or when the time is over.
Answer ask(const std::vector<std::string>& command, std::string_view question, std::chrono::milliseconds limit);

}  // namespace zarn::draw
