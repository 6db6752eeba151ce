#include "host/verify/in_lanes.h"

#include <atomic>
#include <string>
#include <utility>
#include <vector>

#include "core/format.h"
#include "exec/ensemble/batch.h"
#include "exec/ensemble/lower.h"
#include "host/sweep/lanes.h"

namespace zarn::verify {
namespace {

namespace ensemble = tessel::ensemble;

/// Takes the signals of each step, which come in order, together.
class Collector final : public ensemble::Listener {
public:
    Collector(const look_t& look, std::size_t ports, const std::function<bool()>& interrupted)
        : watcher(look), bits_(ports), left_(look.steps), interrupted_(interrupted) {}

    void take(std::size_t signal, std::uint64_t step, double t, const void* row, tessel::type_t type,
              const std::uint8_t*) noexcept override {
        if (ended) return;
        const std::size_t size = tessel::size_of(type), lane = step % ensemble::most_lanes;
        const bool is_float = type == tessel::type_flt32 || type == tessel::type_flt64;
        bits_[signal] =
            trace_bits(static_cast<const std::byte*>(row) + lane * size, static_cast<std::uint32_t>(size), is_float);
        if (signal + 1 != bits_.size()) return;
        watcher.step(t, bits_.size(), [this](std::size_t i) { return bits_[i]; });
        if (watcher.seen().trace.steps >= left_ || (interrupted_ && interrupted_())) ended = true;
    }
    double feed(std::size_t number, std::uint64_t step) noexcept override {
        return trace_input(step, static_cast<std::uint32_t>(number));
    }
    const std::vector<std::uint64_t>& last() const { return bits_; }

    Watcher watcher;
    std::atomic<bool> ended = false;

private:
    std::vector<std::uint64_t> bits_;
    std::uint64_t left_;
    const std::function<bool()>& interrupted_;
};

class InLanes final : public Way {
public:
    InLanes(Session& session, std::span<const std::uint64_t> fed, ensemble::isa_t isa,
            const std::function<bool()>& interrupted)
        : isa_(isa), interrupted_(interrupted) {
        lane_model_t lanes;
        try {
            lanes = model_in_lanes(session, fed);
        } catch (const SessionError& error) {
            why_not_ = error.what();
            return;
        }
        request_.isa = isa;
        request_.apart = false;
        request_.lanes = ensemble::most_lanes;
        for (std::size_t m = 0; m < lanes.blocks.size(); ++m) show(session, lanes, m);
        model_ = std::move(lanes.model);
    }

    std::string name() const override {
        static constexpr const char* names[] = {"baseline", "AVX2", "AVX-512"};
        return tessel::format("{} lanes, {}", ensemble::most_lanes, names[static_cast<std::size_t>(isa_)]);
    }
    const std::vector<watched_t>& ports() const override { return ports_; }

    seen_t run(const look_t& look) override {
        if (!why_not_.empty()) throw Skipped(why_not_);
        if (ports_.empty()) throw Skipped("the model has no port to look at");
        Collector collector(look, ports_.size(), interrupted_);
        if (look.steps == 0) return std::move(collector.watcher.seen());
        const auto program = ensemble::lower(model_, request_);
        ensemble::Batch batch(program);
        std::vector<std::uint64_t> values;
        for (const ensemble::place_t& place : request_.places)
            values.insert(values.end(), ensemble::most_lanes,
                          value_at(model_.members[static_cast<std::size_t>(place.member)].formula, place));
        batch.run(values, ensemble::most_lanes, {model_.ti, model_.tf, model_.ts}, collector, &collector.ended);
        if (interrupted_ && interrupted_()) throw SessionError(problem_t::interrupted, "interrupted");
        seen_t& seen = collector.watcher.seen();
        seen.final = collector.last();
        return std::move(seen);
    }

private:
    void show(Session& session, const lane_model_t& lanes, std::size_t m) {
        const auto& formula = lanes.model.members[m].formula;
        const auto number = static_cast<std::int32_t>(m);
        for (std::uint32_t i = 0; i < formula.parameters.size(); ++i)
            request_.places.push_back({number, ensemble::part_t::parameter, i});
        if (!formula.has_output() && formula.inputs.empty()) return;
        const bool input = !formula.has_output();
        const tessel::type_t type = input ? formula.inputs[0].type : formula.output.type;
        request_.signals.push_back({number, input});
        ports_.push_back({session.written_path(*lanes.blocks[m]), lanes.blocks[m]->class_name(), lanes.blocks[m]->id(),
                          0, input, type});
    }

    ensemble::isa_t isa_;
    const std::function<bool()>& interrupted_;
    ensemble::model_t model_;
    ensemble::request_t request_;
    std::vector<watched_t> ports_;
    std::string why_not_;
};

}  // namespace

std::unique_ptr<Way> in_lanes(Session& session, std::span<const std::uint64_t> fed, ensemble::isa_t isa,
                              const std::function<bool()>& interrupted) {
    return std::make_unique<InLanes>(session, fed, isa, interrupted);
}

}  // namespace zarn::verify
