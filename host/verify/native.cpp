#include "host/verify/native.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "host/native/engine.h"
#include "host/session/run.h"

namespace zarn::verify {
namespace {

using tessel::exact::cell_number;

class Native final : public Way {
public:
    Native(Session& session, std::vector<std::uint64_t> fed, bool watched, std::function<bool()> interrupted)
        : session_(session), fed_(std::move(fed)), watched_(watched), interrupted_(std::move(interrupted)) {}
    std::string name() const override { return watched_ ? "native" : "native, nobody looking"; }
    const std::vector<watched_t>& ports() const override { return ports_; }
    seen_t run(const look_t& look) override;

private:
    struct cell_t {
        const void* value;
        std::uint32_t size;
        bool is_float;
        std::uint64_t bits() const { return trace_bits(value, size, is_float); }
    };
    std::vector<cell_t> cells_of(native::Engine& engine);
    void make();
    void feed(std::uint64_t step);

    Session& session_;
    std::vector<std::uint64_t> fed_;
    bool watched_;
    std::function<bool()> interrupted_;
    std::unique_ptr<Run> run_;
    std::unique_ptr<native::Engine> engine_;
    std::vector<watched_t> ports_;
    std::vector<std::byte*> inputs_;
};

/// What stands in the structure: every port that has a variable there.
std::vector<Native::cell_t> Native::cells_of(native::Engine& engine) {
    std::vector<cell_t> cells;
    ports_.clear();
    for (const auto& port : engine.unit().ports) {
        if (!engine.has(port.cell)) continue;
        const tessel::type_t type = engine.unit().cell(port.cell).type;
        cells.push_back({engine.value(port.cell), static_cast<std::uint32_t>(tessel::size_of(type)),
                         type == tessel::type_flt32 || type == tessel::type_flt64});
        ports_.push_back({port.path, "", port.block, port.port, port.is_input, type});
    }
    return cells;
}

void Native::make() {
    run_ = std::make_unique<Run>(session_);
    native::Cache cache;
    try {
        engine_ = std::make_unique<native::Engine>(session_, *run_, cache, interrupted_);
    } catch (const native::Unavailable& reason) {
        throw Skipped(reason.what());
    }
    const auto& unit = engine_->unit();
    for (const std::uint64_t id : fed_)
        for (std::size_t i = 0; i < unit.cells.size(); ++i)
            if (unit.cells[i].role == tessel::exact::role_t::input && unit.cells[i].block == id)
                inputs_.push_back(engine_->value(static_cast<cell_number>(i)));
}

void Native::feed(std::uint64_t step) {
    for (std::uint32_t i = 0; i < inputs_.size(); ++i) {
        const double value = trace_input(step, i);
        std::memcpy(inputs_[i], &value, sizeof value);
    }
}

seen_t Native::run(const look_t& look) {
    if (engine_ == nullptr) make();
    if (!watched_ && !inputs_.empty()) throw Skipped("the model has inputs, which somebody must write");
    Watcher watcher(look);
    seen_t& seen = watcher.seen();
    seen.final_only = !watched_;
    engine_->begin();
    const auto cells = cells_of(*engine_);
    while (watched_ && seen.trace.steps < look.steps) {
        feed(seen.trace.steps);
        if (!engine_->step()) {
            feed(seen.trace.steps - 1);  // a port that shows its input as it is keeps that of the last step
            break;
        }
        watcher.step(engine_->last(), cells.size(), [&](std::size_t i) { return cells[i].bits(); });
        if (seen.trace.steps % 256 == 0 && interrupted_ && interrupted_())
            throw SessionError(problem_t::interrupted, "interrupted");
    }
    if (!watched_) seen.trace.steps = engine_->steps(look.steps);
    for (const cell_t& cell : cells) seen.final.push_back(cell.bits());
    return std::move(seen);
}

}  // namespace

std::unique_ptr<Way> native_way(Session& session, std::vector<std::uint64_t> fed, bool watched,
                                std::function<bool()> interrupted) {
    return std::make_unique<Native>(session, std::move(fed), watched, std::move(interrupted));
}

}  // namespace zarn::verify
