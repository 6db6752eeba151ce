// Checks the newest state of a model in a thread of its own.
#pragma once

#include <condition_variable>
#include <functional>
#include <mutex>
#include <optional>
#include <thread>

#include "host/serve/verdict.h"

namespace zarn::serve {

class Checker {
public:
    using judge_t = std::function<verdict_t(const sheet_t& sheet)>;
    using done_t = std::function<void(verdict_t verdict)>;
    /// `done` is called in the thread of the checker.
    Checker(judge_t judge, done_t done);
    Checker(const Checker&) = delete;
    Checker& operator=(const Checker&) = delete;
    /// Waits for the check under way.
    ~Checker();

    /// Checks a state of the model. One that waits to be checked is passed over, and the verdict of one that is being
    /// checked is dropped.
    void ask(sheet_t sheet);

private:
    void work();

    judge_t judge_;
    done_t done_;
    std::mutex mutex_;
    std::condition_variable wake_;
    std::optional<sheet_t> waiting_;
    bool ends_ = false;
    std::thread thread_;
};

}  // namespace zarn::serve
