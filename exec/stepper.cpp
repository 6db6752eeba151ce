// A run in the hands of its caller.
#include <algorithm>
#include <bit>
#include <cstring>

#include "exec/ExecModel.h"
#include "exec/plan.h"

namespace tessel {
namespace {

/// Ahead of the values that a stepper saves.
struct head_t {
    std::uint64_t shape;  // of the objects
    std::uint64_t count;
    double t;
};

/// Calls `use(address, bytes)` for each value that a later step can depend on, in the order of the objects. False,
/// ahead of the first call for it, at an object that does not tell its states.
template <class Use>
bool for_each_value(const ExecModel& model, Use use) {
    struct visitor_t final : StateVisitor {
        Use& use;
        explicit visitor_t(Use& given) : use(given) {}
        void state(void* value, std::size_t bytes) override { use(value, bytes); }
    } visitor(use);
    for (const auto& block : model.blocks) {
        if (block == nullptr) continue;
        const lowering_t* lowering = block->lowering();
        if (lowering == nullptr) return false;
        ExecPort* port = nullptr;
        for (std::int16_t n = 0; (port = block->input(n)) != nullptr; ++n)
            use(port->value_ptr(), size_of(port->type()));
        if (lowering->states != nullptr) lowering->states(*block, visitor);
    }
    return true;
}

/// A number that models of other objects do not have, and how many bytes their values take; 0 where an object does not
/// tell its states.
struct shape_t {
    std::uint64_t hash = 0xcbf29ce484222325;
    std::size_t bytes = 0;
};
shape_t shape_of(const ExecModel& model) {
    shape_t shape;
    const bool told = for_each_value(model, [&shape](const void*, std::size_t bytes) {
        shape.hash = (shape.hash ^ bytes) * 0x100000001b3;
        shape.bytes += bytes;
    });
    for (const auto& block : model.blocks) {
        std::uint64_t ports = 0;
        for (std::int16_t n = 0; block != nullptr && block->input(n) != nullptr; ++n)
            ports = ports * 31 + static_cast<std::uint64_t>(block->input(n)->type());
        shape.hash = (shape.hash ^ ports) * 0x100000001b3;
    }
    return told ? shape : shape_t{0, 0};
}

}  // namespace

/// Steps by a plan whose outputs stay in their ports, where the caller reads them.
class Stepper final : public IStepper {
public:
    explicit Stepper(ExecModel& model)
        : model_(model),
          context_(model.plan_context({}, true)),
          plan_(context_),
          flags_(model.flags()),
          t_(model.properties->get("ti").payload<double>()),
          tf_(model.properties->get("tf").payload<double>()),
          ts_(model.properties->get("ts").payload<double>()) {
        context_.plans_made();
    }

    std::uint64_t step(std::uint64_t count) noexcept override {
        std::uint64_t taken = 0;
        while (taken < count && !done()) {
            for (bool* flag : flags_) *flag = false;
            plan_.step(t_);
            ++taken;
            ended_ = model_.monitor_ != nullptr && !model_.monitor_->step_done(t_);
            t_ = t_ + ts_;
        }
        count_ += taken;
        return taken;
    }
    double time() const noexcept override { return t_; }
    std::uint64_t count() const noexcept override { return count_; }
    bool done() const noexcept override { return ended_ || !(tf_ >= t_); }
    void settle() noexcept override { plan_.settle(); }
    void finish() noexcept override {
        ended_ = true;
        context_.store_outputs();
        plan_.settle();
        for (const auto& block : model_.blocks)
            if (block != nullptr) block->finish();
    }

    std::vector<std::byte> save() override {
        const shape_t shape = shape_of(model_);
        if (shape.hash == 0) return {};
        plan_.settle();
        std::vector<std::byte> saved(sizeof(head_t) + shape.bytes);
        const head_t head{shape.hash, count_, t_};
        std::memcpy(saved.data(), &head, sizeof head);
        std::byte* next = saved.data() + sizeof head;
        for_each_value(model_, [&next](const void* value, std::size_t bytes) {
            std::memcpy(next, value, bytes);
            next += bytes;
        });
        return saved;
    }

    bool restore(std::span<const std::byte> saved) noexcept override {
        const shape_t shape = shape_of(model_);
        head_t head;
        if (shape.hash == 0 || saved.size() != sizeof head + shape.bytes) return false;
        std::memcpy(&head, saved.data(), sizeof head);
        if (head.shape != shape.hash) return false;
        const std::byte* next = saved.data() + sizeof head;
        for_each_value(model_, [&next](void* value, std::size_t bytes) {
            std::memcpy(value, next, bytes);
            next += bytes;
        });
        count_ = head.count;
        t_ = head.t;
        ended_ = false;
        plan_.cells_written();
        return true;
    }

private:
    ExecModel& model_;
    PlanContext context_;
    Plan plan_;
    std::vector<bool*> flags_;
    double t_, tf_, ts_;
    std::uint64_t count_ = 0;
    bool ended_ = false;
};

std::unique_ptr<IStepper> ExecModel::start() {
    bind();
    const double ti = properties->get("ti").payload<double>();
    for (const auto& block : blocks) {
        if (block == nullptr) continue;
        block->set_time(ti);
        block->start();
    }
    return std::make_unique<Stepper>(*this);
}

}  // namespace tessel
