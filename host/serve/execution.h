// What is executed of the open model, and by whose leave.
#pragma once

#include <cstdint>
#include <deque>
#include <memory>
#include <string>
#include <vector>

#include "host/serve/child.h"
#include "host/serve/state.h"

namespace zarn::serve {

/// An expression of the open model that is no literal.
struct expression_t {
    std::string block, path, key, text;
};

/// The consent of the user and the processes that it starts.
class Execution {
public:
    explicit Execution(State& state) : state_(state) {}
    Execution(const Execution&) = delete;
    Execution& operator=(const Execution&) = delete;
    ~Execution();

    /// Nothing is executed any more; another model was opened.
    void forget();
    /// Ends the processes of runs that nobody asks for any more. With the state's mutex free: their threads use it.
    void bury();

    bool allowed() const { return allowed_; }
    const std::vector<std::string>& scripts() const { return scripts_; }
    void allow(bool allowed, std::vector<std::string> scripts);
    /// The next evaluation runs the scripts anew.
    void renew();
    /// What evaluating would execute.
    std::vector<expression_t> expressions() const;
    /// The scripts that would be run: those that were named, else the one beside the model where there is one.
    std::vector<std::string> scripts_at_hand() const;

    /// Checks as a run would, in the evaluating process. Called in the checker's thread, without the state's mutex.
    verdict_t judge_evaluated(const sheet_t& sheet);
    json_t value(const std::string& block, const std::string& key, std::unique_lock<std::mutex>& lock);

    struct run_t {
        std::int64_t number = 0;
        std::string file;
        json_t description;
        json_t last;                   ///< what was told of its progress last
        std::unique_ptr<Child> child;  // ends first: its threads use the rest
    };
    json_t start(const Params& params, std::unique_lock<std::mutex>& lock);
    /// The run of that number, or the last one. Raises `RpcError` for none.
    std::shared_ptr<run_t> run(std::int64_t number);
    /// What is told of a run whose process has ended. Returns whether that is news.
    bool note_end(run_t& run);
    /// The run, nothing where there is none.
    std::shared_ptr<run_t> last_run() const { return runs_.empty() ? nullptr : runs_.back(); }

private:
    std::shared_ptr<Child> evaluator();
    std::unique_ptr<Child> start_child(run_t* run);
    json_t begin_of(bool evaluates) const;

    State& state_;
    bool allowed_ = false;
    std::vector<std::string> scripts_;
    std::mutex evaluator_mutex_;
    std::shared_ptr<Child> evaluator_;
    std::uint64_t wanted_ = 1, had_ = 0;  // generations of the evaluator
    std::deque<std::shared_ptr<run_t>> runs_;
    std::vector<std::shared_ptr<run_t>> gone_;  // to be buried
    std::int64_t started_ = 0;
};

}  // namespace zarn::serve
