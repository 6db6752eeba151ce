// The embedded interpreter that holds the user's workspace.
#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "core/python.h"
#include "core/type.h"

namespace zarn {

/// Values over times, to be drawn; a value that is not a number is a gap.
struct curve_t {
    std::string name;
    tessel::type_t type = tessel::type_flt64;  ///< of the signal
    std::vector<double> times;
    std::vector<double> values;
};

/// Owns the interpreter of the process: one at a time. Between calls the interpreter's lock is free, so that bridge
/// operations can come from any thread.
class Interpreter {
public:
    struct setup_t {
        std::filesystem::path packages;      ///< folder that holds the package `zarn`
        std::vector<std::string> arguments;  ///< sys.argv
        bool output_to_errors = false;       ///< what workspace code prints goes to standard error
    };
    /// Raises `std::runtime_error` when the interpreter or the package cannot be had.
    explicit Interpreter(const setup_t& setup);
    Interpreter(const Interpreter&) = delete;
    Interpreter& operator=(const Interpreter&) = delete;
    ~Interpreter();

    /// The workspace as the library sees it, as long as the interpreter lives.
    python::IPythonWrap& bridge();

    /// How a piece of workspace code ended.
    enum class ended_t { well, failed, interrupted };
    /// Runs a file in the workspace, with `__file__` set and its folder first among the places of modules. A failure
    /// has written its traceback to standard error; a file that cannot be read raises `std::runtime_error`.
    ended_t run_file(const std::string& file);
    /// Runs statements in the workspace.
    ended_t run_code(const std::string& code);
    /// Lets the user talk to the workspace until the end of input.
    void interact();

    /// Raises `std::runtime_error` where the interpreter has nothing to draw with.
    void require_plot();
    /// Draws the curves into `file`, `form` "png" or "svg". Raises `std::runtime_error`.
    void save_plot(const std::string& file, const std::string& form, const std::string& title,
                   const std::vector<curve_t>& curves);

    /// Tells the bridge how to name a block in its messages: from a scope to the block's path.
    void set_locator(std::function<std::string(std::string_view scope)> locate);

private:
    struct impl_t;
    std::unique_ptr<impl_t> impl_;
};

}  // namespace zarn
