// A model in memory, and everything that can be asked of it.
#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "IExecModel.h"
#include "IMetaModel.h"
#include "PropertiesModel.h"
#include "core/python.h"
#include "core/result.h"
#include "host/diagnose/diagnose.h"
#include "host/document/document.h"
#include "host/session/error.h"
#include "host/session/memo.h"
#include "host/session/written_names.h"

namespace zarn {

/// What a session is made of.
struct session_setup_t {
    std::string model;                                     ///< the file, as its user names it
    std::vector<std::pair<std::string, double>> settings;  ///< "ti", "tf" and "ts" in place of the model's
    std::shared_ptr<python::IPythonWrap> bridge;           ///< null: literals only, nothing is executed
    std::filesystem::path folder;                          ///< references stay within, "" for anywhere
    std::function<void(std::string_view)> on_console;      ///< hears each text as it comes
    std::function<void(std::string_view)> on_log;
};

/// One model from its file to its runnable form. Sessions share nothing but the process: each has its own bridge,
/// console, log and folder, which are the library's while an operation of it lasts; operations of different sessions
/// wait for each other. Operations raise `SessionError`; a session is of use after that.
class Session {
public:
    explicit Session(session_setup_t setup);
    /// A model whose text is at hand; `setup.model` names it, and references are relative to its folder.
    Session(session_setup_t setup, std::string text);
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;
    ~Session();

    /// The model's file and what it refers to, read when first asked for.
    Document& document();
    /// Lets go of the texts of files, which would be read anew.
    void forget_document() { document_.reset(); }

    /// Every problem that the checks find, which load nothing. What the bridge answers is kept until a run begins.
    /// `final_bridge`: a run will use this session's bridge. The findings stay with the session.
    const std::vector<finding_t>& check(bool final_bridge, bool confirm = false);
    const std::vector<finding_t>& findings() const { return findings_; }

    /// Makes an empty model and loads the document; references are relative to its folder. What the library says is the
    /// result; a load that fails has told why on the console. A file that would exhaust the memory is refused before.
    tessel::result_t load();
    /// Compiles what was loaded. A closed loop that would keep the library busy for ever gives result_failure, and
    /// `loop` names its blocks.
    tessel::result_t compile();
    /// Refuses what load or compile came to, unless it is result_ok, with a text that names the blocks at fault.
    void require(tessel::result_t result, std::string_view stage) const;
    /// Loads, checks what was loaded, and compiles it, up to the first of them that finds an error.
    void prepare();
    /// What the library itself comes to with the file, whatever the checks say of it.
    tessel::result_t library_result();
    /// The meaning hash of the document under this session's settings (see host/session/meaning.h). It loads a model of
    /// its own, so that it can be asked for at any time, and evaluates nothing. Refuses what does not load.
    std::string meaning();
    /// The runnable model of a compiled one. A block without a runnable form is refused.
    std::shared_ptr<tessel::IExecModel> build();

    /// What the last load or compile came to.
    tessel::result_t last_result() const { return last_result_; }
    tessel::IMetaModel& model() const { return *model_; }
    const std::shared_ptr<tessel::IMetaModel>& shared_model() const { return model_; }
    tessel::PropertiesModel& properties() const { return *properties_; }
    double setting(const char* key) const { return static_cast<double>(properties_->get(key)); }
    const session_setup_t& setup() const { return setup_; }
    /// Absolute path of the model file.
    const std::filesystem::path& file() const { return file_; }
    /// What the library wrote to the console and to the log since the last `load` began.
    const std::vector<std::string>& console() const { return console_; }
    const std::vector<std::string>& log() const { return log_; }
    /// Paths of the blocks of a loop that `compile` met, each feeding the next.
    const std::vector<std::string>& loop() const { return loop_; }

    /// The path of a block of the compiled model with its letters as they are written.
    std::string written_path(const tessel::IMetaBlock& block) const { return names_.path_of(block); }

    /// From here on expressions are asked anew.
    void forget_answers();

    /// "MODEL: TEXT" as an error.
    SessionError error(problem_t kind, std::string_view text, std::vector<finding_t> findings = {}) const;
    /// The path of the block that a scope of the bridge belongs to; the scope itself when there is none.
    std::string block_of(std::string_view scope) const;

    /// While it lives, the library talks to this session's bridge, console and log. For work on the model or on what
    /// was built of it outside the session's own operations.
    class Active {
    public:
        explicit Active(Session& session);
        Active(const Active&) = delete;
        Active& operator=(const Active&) = delete;
        ~Active();

    private:
        struct impl_t;
        std::unique_ptr<impl_t> impl_;
    };

private:
    void hear_log(std::string_view text);
    const std::vector<finding_t>& check(check_options_t how);
    /// Loads and keeps to itself what is said of it, which the checks tell in their own words.
    bool load_for_checks();

    session_setup_t setup_;
    std::shared_ptr<Memo> memo_;  // before the bridge; null where the bridge only reads literals
    std::filesystem::path file_;
    std::unique_ptr<Document> document_;
    std::vector<finding_t> findings_;
    std::vector<std::string> loop_;
    std::shared_ptr<tessel::PropertiesModel> properties_;
    std::shared_ptr<tessel::IMetaModel> model_;
    WrittenNames names_;
    std::vector<std::string> console_;
    std::vector<std::string> log_;
    tessel::result_t last_result_ = tessel::result_failure;
};

/// Dotted path of a block as users write it ("mainsys.motor.gain"), known once `compile` has begun; "" before.
std::string path_of(const tessel::IMetaBlock& block);
/// The path with the class, for messages: "mainsys.motor.gain (multiply)". Name and id stand in for a missing path.
std::string shown(const tessel::IMetaBlock& block);

}  // namespace zarn
