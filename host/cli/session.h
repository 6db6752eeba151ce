// One call of the command: its common options, the bridge to the workspace, and the model at hand.
#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "IMetaModel.h"
#include "PropertiesModel.h"
#include "core/result.h"
#include "host/cli/limits.h"
#include "host/document/document.h"

namespace CLI {
class App;
}

namespace zarn {

class Interpreter;

/// Exit statuses of the command.
enum status_t : int {
    status_ok = 0,
    status_model = 1,         ///< the model, or a file, has a problem
    status_usage = 2,         ///< wrong use of the command
    status_interrupted = 130  ///< ended by Ctrl-C
};

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
};

/// Adds the positional MODEL and the common options to a verb.
void add_common(CLI::App& verb, options_t& options);

/// Ends a verb: `throw Failure{status}` once the message has been written.
struct Failure {
    int status;
};

/// Calls `work`, which may throw `Failure` or `std::exception`, and answers the exit status. A model that the memory
/// cannot hold is named.
int guarded(const std::function<int()>& work, const std::string& model = {});

/// Writes "zarn: TEXT" as one line to standard error, control characters as blanks.
void message(std::string_view text);

/// Whether what is written there may be coloured: a terminal that can, of a user who has not set NO_COLOR.
bool takes_colors(int descriptor);

/// Writes to standard output, buffered. A full disk or a closed reader throws `Failure`.
void out(std::string_view text);
/// Sends what `out` buffers on its way; called once at the end by `guarded`.
void flush_out();

/// Opens the bridge, runs the workspace scripts and drives the library through `load` and `compile`. Console texts and
/// log lines of the library go to standard error (the log only with -v) and are kept for JSON output.
///
/// Operations that fail write their message and throw `Failure`.
class Session {
public:
    Session(options_t options, bridge_t bridge);
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;
    ~Session();

    /// The model's file and what it refers to, read when first asked for.
    Document& document();

    /// Makes an empty model and loads the file, with the current folder set to the file's own, then applies --set. What
    /// the library says is the result; a load that fails has told why on the console. A file that would exhaust the
    /// memory fails before.
    tessel::result_t load();
    /// Compiles what was loaded. A closed loop that would keep the library busy for ever gives result_failure, and
    /// `loop` names its blocks; `on_loop` is called with the model as it is when the loop is found.
    tessel::result_t compile(const std::function<void()>& on_loop = {});
    /// Refuses what load or compile came to, unless it is result_ok, with a message that names the blocks at fault.
    void require(tessel::result_t result, std::string_view stage) const;

    /// What the last load or compile came to.
    tessel::result_t last_result() const { return last_result_; }

    tessel::IMetaModel& model() const { return *model_; }
    std::shared_ptr<tessel::IMetaModel> shared_model() const { return model_; }
    tessel::PropertiesModel& properties() const { return *properties_; }
    const options_t& options() const { return options_; }
    /// What --set gave.
    const std::vector<std::pair<std::string, double>>& settings() const { return settings_; }
    /// Absolute path of the model file.
    const std::filesystem::path& file() const { return file_; }
    /// Null when the literal bridge is in use.
    Interpreter* interpreter() const { return interpreter_.get(); }
    /// What the library wrote to the console and to the log since the last `load` began.
    const std::vector<std::string>& console() const { return console_; }
    const std::vector<std::string>& log() const { return log_; }
    /// Paths of the blocks of a loop that `compile` met, each feeding the next.
    const std::vector<std::string>& loop() const { return loop_.loop(); }
    /// While set, console texts are kept and not written to standard error.
    void set_console_silent(bool silent) { silent_ = silent; }

    /// Writes "zarn: MODEL: TEXT" to standard error.
    void complain(std::string_view text) const;
    /// The same and ends the verb with status 1.
    [[noreturn]] void refuse(std::string_view text) const;

private:
    void start_interpreter();
    void run_workspace();
    std::string locate(std::string_view scope) const;

    options_t options_;
    std::filesystem::path file_;
    std::unique_ptr<Document> document_;
    std::vector<std::pair<std::string, double>> settings_;
    std::unique_ptr<Interpreter> interpreter_;
    LoopGuard loop_;  // outlives the model, whose inputs it may feed
    std::function<void()> at_zones_;
    std::shared_ptr<tessel::PropertiesModel> properties_;
    std::shared_ptr<tessel::IMetaModel> model_;
    std::vector<std::string> console_;
    std::vector<std::string> log_;
    tessel::result_t last_result_ = tessel::result_failure;
    bool silent_ = false;
};

/// Dotted path of a block as users write it ("mainsys.motor.gain"), known once `compile` has begun; "" before.
const std::string& path_of(const tessel::IMetaBlock& block);
/// The path as the interpreter's scope.
const std::string& python_path_of(const tessel::IMetaBlock& block);
/// The path with the class, for messages: "mainsys.motor.gain (multiply)". Name and id stand in for a missing path.
std::string shown(const tessel::IMetaBlock& block);

}  // namespace zarn
