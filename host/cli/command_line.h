// The command line as a whole: all verbs, and what is said of a line that cannot be read.
#pragma once

#include <CLI/App.hpp>
#include <memory>
#include <string>
#include <vector>

namespace zarn {

/// The command with all its verbs; `status` gets what the verb that was called came to.
std::unique_ptr<CLI::App> make_command(int& status);

/// Names of the verbs that the help lists.
std::vector<std::string> verb_names(const CLI::App& app);

/// Reads the command line, does what it asks for, and answers the exit status. A verb or an option that is not known
/// is told with the nearest that is.
int answer(CLI::App& app, int argc, char** argv, const int& status);

}  // namespace zarn
