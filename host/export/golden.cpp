#include "host/export/golden.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <unordered_map>

#include "core/convert.h"

namespace zarn {
namespace {

namespace exact = tessel::exact;
using tessel::ExecBlock;
using tessel::ExecPort;

// so that the test is a text of some thousand lines at most, and is there within seconds
constexpr std::size_t most_fed = 8000, most_expected = 4000, most_steps = 20000, most_compared = 100, fewest = 5;
constexpr std::size_t most_work = 20'000'000;  // steps of blocks

std::uint64_t bits_of(ExecPort& port) {
    std::uint64_t bits = 0;
    std::memcpy(&bits, port.value_ptr(), tessel::size_of(port.type()));
    return bits;
}

/// Where the value of one input of the program is seen in a run.
struct source_t {
    ExecPort* port;
    bool fed = false;     ///< a root inport, which gets its values from here
    bool before = false;  ///< what is there ahead of the step counts
    std::uint64_t last = 0;
};

class Recorder final : public tessel::RunMonitor {
public:
    Recorder(const exact::unit_t& unit, tessel::IExecModel& exec) : unit_(unit) {
        for (const auto& object : exec)
            if (object != nullptr) objects_.try_emplace(object->id(), object.get());
        for (const exact::cell_number input : unit.of(exact::role_t::input)) add_input(input);
        choose_checked();
        choose_steps();
        feed(0);
    }

    bool step_done(double) noexcept override {
        std::vector<std::uint64_t> fed, expected;
        for (source_t& source : sources_) {
            const std::uint64_t now = bits_of(*source.port);
            fed.push_back(source.before ? source.last : now);
            source.last = now;
        }
        golden.fed.push_back(std::move(fed));
        if (golden.steps % golden.stride == 0) {
            for (ExecPort* port : checked_) expected.push_back(bits_of(*port));
            golden.expected.push_back(std::move(expected));
        }
        feed(++golden.steps);
        return golden.steps < steps_;
    }

    exact::golden_t golden;

private:
    void add_input(exact::cell_number input) {
        const exact::cell_t& cell = unit_.cell(input);
        ExecBlock* const object = objects_.at(cell.block);
        ExecPort* const output = object->output(0);
        ExecPort* const first = object->input(0);
        // inputs stand before outputs in the list of ports
        const bool fed = first != output && first->source() == nullptr;
        const bool inside = unit_.part.empty() || cell.path.starts_with(unit_.part + ".");
        sources_.push_back(
            {fed || output == nullptr ? first : output, fed, cell.of_last_step && !inside, cell.initial});
        golden.inputs.push_back(input);
    }

    /// Outputs first, then signals while there is room.
    void choose_checked() {
        constexpr std::size_t room = most_expected / fewest;
        for (const bool of_outputs : {true, false}) {
            for (const exact::port_t& port : unit_.ports) {
                const exact::cell_t& cell = unit_.cell(port.cell);
                if (!cell.kept || (cell.role == exact::role_t::output) != of_outputs || checked_.size() >= room)
                    continue;
                if (cell.role != exact::role_t::output && cell.role != exact::role_t::signal) continue;
                ExecBlock* const object = objects_.at(port.block);
                checked_.push_back(port.is_input ? object->input(0) : object->output(port.port));
                golden.checked.push_back(port.cell);
            }
        }
    }

    void choose_steps() {
        const auto share = [](std::size_t all, std::size_t count) {
            return std::max(fewest, all / std::max<std::size_t>(count, 1));
        };
        const double of_run = std::max(1.0, std::floor((unit_.tf - unit_.ti) / unit_.ts) + 1.0);
        steps_ = std::min({most_steps, share(most_fed, sources_.size()), share(most_work, objects_.size())});
        if (of_run < static_cast<double>(steps_)) steps_ = static_cast<std::size_t>(of_run);
        const std::size_t compared = std::min(most_compared, share(most_expected, checked_.size()));
        golden.stride = (steps_ + compared - 1) / compared;
    }

    void feed(std::size_t step) {
        std::size_t i = 0;
        for (const source_t& source : sources_) {
            if (!source.fed) continue;
            const double value = (static_cast<double>((step * 7 + i++ * 3) % 21) - 10.0) * 0.5;
            tessel::with_type(source.port->type(), [&]<class T>(T) {
                const T own = tessel::convert<T>(value);
                std::memcpy(source.port->value_ptr(), &own, sizeof own);
            });
        }
    }

    const exact::unit_t& unit_;
    std::unordered_map<std::uint64_t, ExecBlock*> objects_;
    std::vector<source_t> sources_;
    std::vector<ExecPort*> checked_;
    std::size_t steps_ = fewest;
};

}  // namespace

tessel::exact::golden_t record_golden(const exact::unit_t& unit, tessel::IExecModel& exec) {
    Recorder recorder(unit, exec);
    exec.set_monitor(&recorder);
    exec.set_engine(tessel::engine_t::objects);  // which keep every cell up to date
    exec.run();
    exec.set_monitor(nullptr);
    return std::move(recorder.golden);
}

}  // namespace zarn
