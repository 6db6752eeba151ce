#include "host/verify/in_process.h"

#include <algorithm>
#include <unordered_map>
#include <utility>

#include "core/hash.h"
#include "core/thread_pool.h"
#include "exec/ExecModel.h"
#include "host/session/run.h"
#include "port.h"

namespace zarn::verify {
namespace {

/// A cell to read behind each step.
struct cell_t {
    const void* value;
    std::uint32_t size;
    bool is_float;

    explicit cell_t(tessel::ExecPort& port)
        : value(port.value_ptr()),
          size(static_cast<std::uint32_t>(tessel::size_of(port.type()))),
          is_float(port.type() == tessel::type_flt32 || port.type() == tessel::type_flt64) {}
    std::uint64_t bits() const noexcept { return trace_bits(value, size, is_float); }
};

/// Looks at cells at the end of each step, and feeds the next one. It stands behind all others, and as nobody knows how
/// to step it but by its operations, every cell must be up to date when its turn comes.
class Observer final : public tessel::ExecBlock {
public:
    Observer(std::vector<cell_t> cells, std::vector<double*> inputs, Watcher& watcher)
        : cells_(std::move(cells)), inputs_(std::move(inputs)), watcher_(watcher) {
        feed();
    }

    tessel::ExecPort* input(std::int16_t) noexcept override { return nullptr; }
    const tessel::ExecPort* input(std::int16_t) const noexcept override { return nullptr; }
    tessel::ExecPort* output(std::int16_t) noexcept override { return nullptr; }
    const tessel::ExecPort* output(std::int16_t) const noexcept override { return nullptr; }
    void sample() noexcept override {}
    void step() noexcept override {
        watcher_.step(time(), cells_.size(), [this](std::size_t i) { return cells_[i].bits(); });
        feed();
    }

private:
    /// Writes the inputs of the step that comes.
    void feed() {
        for (std::uint32_t i = 0; i < inputs_.size(); ++i) *inputs_[i] = trace_input(watcher_.seen().trace.steps, i);
    }

    std::vector<cell_t> cells_;
    std::vector<double*> inputs_;
    Watcher& watcher_;
};

/// Ends a run behind the steps that are wanted, or where the user wants an end.
class Limit final : public Watch {
public:
    Limit(Run& run, std::uint64_t steps, const std::function<bool()>& interrupted)
        : Watch(run), left_(steps), interrupted_(interrupted) {}
    std::uint64_t done() const noexcept { return done_; }

protected:
    bool go_on(double) noexcept override {
        constexpr std::uint64_t often = 256;
        if (++done_ % often == 0 && interrupted_ && interrupted_()) return false;
        return --left_ > 0;
    }

private:
    std::uint64_t left_, done_ = 0;
    const std::function<bool()>& interrupted_;
};

/// Has the pool believe in a number of threads.
class Threads {
public:
    explicit Threads(unsigned count) { tessel::sys::set_hardware_threads(count); }
    Threads(const Threads&) = delete;
    Threads& operator=(const Threads&) = delete;
    ~Threads() { tessel::sys::set_hardware_threads(0); }
};

class InProcess final : public Way {
public:
    InProcess(Session& session, const around_t& around, recipe_t recipe, const std::vector<watched_t>* shows)
        : session_(session), around_(around), recipe_(std::move(recipe)) {
        if (shows != nullptr) ports_ = *shows;
        shows_all_ = shows == nullptr;
    }
    std::string name() const override { return recipe_.name; }
    const std::vector<watched_t>& ports() const override { return ports_; }
    seen_t run(const look_t& look) override;

private:
    std::vector<cell_t> cells_of(tessel::IExecModel& exec) const;

    Session& session_;
    const around_t& around_;
    recipe_t recipe_;
    std::vector<watched_t> ports_;
    bool shows_all_;
};

std::vector<cell_t> InProcess::cells_of(tessel::IExecModel& exec) const {
    std::unordered_map<std::uint64_t, tessel::ExecBlock*> objects;
    for (const auto& object : exec)
        if (object != nullptr) objects.try_emplace(object->id(), object.get());
    std::vector<cell_t> cells;
    cells.reserve(ports_.size());
    for (const watched_t& watched : ports_) {
        tessel::ExecBlock& object = *objects.at(watched.block);
        cells.emplace_back(watched.is_input ? *object.input(watched.port) : *object.output(watched.port));
    }
    return cells;
}

seen_t InProcess::run(const look_t& look) {
    if (recipe_.load && around_.prepare) around_.prepare();
    Run run(session_);
    auto& exec = static_cast<tessel::ExecModel&>(run.model());
    if (shows_all_) ports_ = ports_of(session_, exec);
    Watcher watcher(look);
    const auto cells = cells_of(exec);
    std::vector<double*> inputs;
    for (const std::uint64_t id : fed_blocks(session_, exec))
        inputs.push_back(static_cast<double*>(exec.find_block(id)->input(0)->value_ptr()));
    if (!recipe_.watched && !inputs.empty()) throw Skipped("the model has inputs, which somebody must write");
    if (recipe_.watched) {
        std::vector<tessel::attachment_t> attachments;
        attachments.push_back({0, std::make_unique<Observer>(cells, inputs, watcher)});
        exec.attach(std::move(attachments));
    }
    const auto guard = around_.guard ? around_.guard(exec) : nullptr;
    const Threads threads(recipe_.threads);
    if (recipe_.threads != 0) exec.share_next_run();
    seen_t& seen = watcher.seen();
    seen.final_only = !recipe_.watched;
    for (int i = 0; i < recipe_.runs; ++i) {
        Limit limit(run, look.steps, around_.interrupted);
        run.go(limit, recipe_.engine);
        if (!recipe_.watched) seen.trace.steps += limit.done();
    }
    if (around_.interrupted && around_.interrupted()) throw SessionError(problem_t::interrupted, "interrupted");
    for (const cell_t& cell : cells) seen.final.push_back(cell.bits());
    return std::move(seen);
}

}  // namespace

std::vector<std::uint64_t> fed_blocks(const Session& session, tessel::IExecModel& exec) {
    constexpr std::uint32_t inport = tessel::class_hash_of("inport");
    std::unordered_map<std::uint64_t, bool> fed;
    for (const auto& block : session.model())
        if (block != nullptr && block->class_hash() == inport && block->input(0)->source_block() == nullptr)
            fed[block->id()] = block->input(0)->type() == tessel::type_flt64;
    std::vector<std::uint64_t> ids;
    for (const auto& object : exec)
        if (object != nullptr && fed[object->id()]) ids.push_back(object->id());
    return ids;
}

std::vector<watched_t> ports_of(const Session& session, tessel::IExecModel& exec) {
    std::unordered_map<std::uint64_t, const tessel::IMetaBlock*> blocks;
    for (const auto& block : session.model())
        if (block != nullptr) blocks.try_emplace(block->id(), block.get());
    std::vector<watched_t> ports;
    for (const auto& object : exec) {
        if (object == nullptr) continue;
        const auto found = blocks.find(object->id());
        if (found == blocks.end()) continue;
        const tessel::IMetaBlock& block = *found->second;
        const auto inputs = static_cast<std::int16_t>(block.input_count());
        for (std::int16_t i = 0; i < inputs; ++i)
            if (const auto* port = object->input(i))
                ports.push_back({session.written_path(block), block.class_name(), block.id(), i, true, port->type()});
        std::int16_t i = 0;
        for (const tessel::ExecPort* port = object->output(i); port != nullptr; port = object->output(++i))
            ports.push_back({session.written_path(block), block.class_name(), block.id(), i, false, port->type()});
    }
    return ports;
}

std::unique_ptr<Way> in_process(Session& session, const around_t& around, recipe_t recipe,
                                const std::vector<watched_t>* shows) {
    return std::make_unique<InProcess>(session, around, std::move(recipe), shows);
}

}  // namespace zarn::verify
