// Other programs, started without a shell.
#pragma once

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zarn {

/// What a program left.
struct outcome_t {
    int status = 0;    ///< its exit status; 128 and the signal's number where a signal ended it
    std::string out;   ///< its standard output
    std::string said;  ///< its standard error

    bool is_good() const { return status == 0; }
};

/// The file of a program of that name on the user's PATH; a name with a slash is a file itself.
std::optional<std::filesystem::path> find_program(std::string_view name);

/// The C compiler of this machine: $CC where it is set, else the first of cc, gcc and clang; nothing where there is
/// none.
std::optional<std::filesystem::path> find_c_compiler();

/// Runs a program with arguments, the first of which names it, in a folder, to its end. Standard input is empty. Once
/// `interrupted` answers true the program is ended. Raises `std::runtime_error` for one that cannot be started.
outcome_t run_program(const std::vector<std::string>& arguments, const std::filesystem::path& folder,
                      const std::function<bool()>& interrupted = {});

}  // namespace zarn
