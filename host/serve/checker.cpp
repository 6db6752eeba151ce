#include "host/serve/checker.h"

#include <utility>

namespace zarn::serve {

Checker::Checker(judge_t judge, done_t done)
    : judge_(std::move(judge)), done_(std::move(done)), thread_([this] { work(); }) {}

Checker::~Checker() {
    {
        const std::lock_guard lock(mutex_);
        ends_ = true;
    }
    wake_.notify_one();
    thread_.join();
}

void Checker::ask(sheet_t sheet) {
    {
        const std::lock_guard lock(mutex_);
        waiting_ = std::move(sheet);
    }
    wake_.notify_one();
}

void Checker::work() {
    for (;;) {
        std::unique_lock lock(mutex_);
        wake_.wait(lock, [this] { return ends_ || waiting_.has_value(); });
        if (ends_) return;
        const sheet_t sheet = *std::exchange(waiting_, std::nullopt);
        lock.unlock();
        verdict_t verdict;
        try {
            verdict = judge_(sheet);
        } catch (const std::exception& error) {  // such as a model that the memory cannot hold
            verdict = {};
            verdict.revision = sheet.revision;
            found_t& found = verdict.findings.emplace_back();
            found.finding.file = sheet.shown;
            found.finding.what = error.what();
        }
        verdict.ticket = sheet.ticket;
        lock.lock();
        const bool outdated = waiting_.has_value() || ends_;
        lock.unlock();
        if (!outdated) done_(std::move(verdict));
    }
}

}  // namespace zarn::serve
