// What the verbs share: common options, messages, exit status, and the model at hand.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "host/session/session.h"

namespace CLI {
class App;
}

namespace zarn {

class Interpreter;

/// Which bridge a verb takes when no option says: `run` and `generate` evaluate, verbs that only look do not.
enum class bridge_t { interpreter, literal };

/// The options that verbs on models share.
struct options_t {
    std::string model;
    std::vector<std::string> scripts;   ///< -w FILE.py, in order
    std::vector<std::string> code;      ///< -e CODE, in order, behind the scripts
    std::vector<std::string> settings;  ///< --set KEY=VALUE
    bool python = false;
    bool no_python = false;
    bool quiet = false;
    bool verbose = false;
    bool json = false;
    bool output_to_errors = false;  ///< whether what workspace code prints goes to standard error, as with `json`
};

/// Adds the positional MODEL and the common options to a verb.
void add_common(CLI::App& verb, options_t& options);

/// Calls `work`, which may throw `SessionError` or any `std::exception`, and answers the exit status. What is thrown is
/// told in one line; a model that the memory cannot hold is named. With `json`, a verb that fails with nothing printed
/// says so as an object with the findings.
int guarded(const std::function<int()>& work, const std::string& model = {}, bool json = false);

/// Writes "zarn: TEXT" as one line to standard error, control characters as blanks.
void message(std::string_view text);

/// The ending of a file name, which must be one of two.
std::string ending_of(const char* option, const std::string& file, const char* a, const char* b);

/// Whether what is written there may be coloured: a terminal that can, of a user who has not set NO_COLOR.
bool takes_colors(int descriptor);

/// Writes to standard output, buffered. A full disk or a closed reader throws `SessionError`.
void out(std::string_view text);
/// Sends what `out` buffers on its way; called once at the end by `guarded`.
void flush_out();

/// The interpreter with the package beside this command. `output_to_errors`: what workspace code prints goes to
/// standard error. Raises `std::runtime_error`.
std::shared_ptr<Interpreter> start_interpreter(const std::string& model, bool output_to_errors);
/// Runs files in the workspace. Raises `SessionError`.
void run_scripts(Interpreter& interpreter, const std::vector<std::string>& scripts);

/// One call of a verb on a model: the interpreter where one is wanted, with the workspace scripts run, and a session
/// that uses it. Console texts and log lines of the library go to standard error, the log only with -v.
class Call {
public:
    /// Raises `SessionError` for options that do not go together and for workspace code that fails.
    Call(options_t options, bridge_t bridge);
    Call(const Call&) = delete;
    Call& operator=(const Call&) = delete;
    ~Call();

    Session& session() { return *session_; }
    const options_t& options() const { return options_; }
    /// Null when the literal bridge is in use.
    Interpreter* interpreter() const { return interpreter_.get(); }
    /// Whether a run would evaluate expressions as this call does.
    bool evaluates() const { return interpreter_ != nullptr; }
    /// Checks, loads and compiles the model, and tells findings: errors, a few warnings or their number, all with -v.
    void prepare();
    /// What the library comes to with a model that is refused, never result_ok, without a word on the console.
    tessel::result_t library_result();
    /// The findings of the last checks, or those given, as a JSON array.
    std::string findings_json() const { return findings_json(session_->findings()); }
    std::string findings_json(const std::vector<finding_t>& findings) const;
    /// One JSON object to standard output: the result, the text of the error, and findings; then `rest`, as members.
    void out_failure(const SessionError& error, tessel::result_t result, std::string_view rest = {}) const;
    /// While set, console texts are kept by the session and not written to standard error.
    void set_console_silent(bool silent) { silent_ = silent; }
    /// Writes "zarn: MODEL: TEXT" to standard error.
    void complain(std::string_view text) const;

private:
    void run_workspace();
    void tell_findings() const;

    options_t options_;
    bool silent_ = false;
    std::shared_ptr<Interpreter> interpreter_;
    std::unique_ptr<Session> session_;
};

}  // namespace zarn
