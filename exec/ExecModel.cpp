#include "exec/ExecModel.h"

#include <map>
#include <numeric>
#include <span>
#include <unordered_map>
#include <utility>

#include "exec/parallel_for_each.h"
#include "exec/plan.h"

namespace tessel {
namespace {

/// The flag of every object that nothing gates.
constexpr bool always_enabled = true;

void step_object(ExecBlock& block, double t) noexcept {
    if (!block.enabled()) return;
    block.set_time(t);
    block.sample();
    block.step();
}

/// Whether a port that `input` gave, which knows the flat list of all ports, is an output.
bool is_output(ExecBlock& block, const ExecPort* port) noexcept {
    std::int16_t i = 0;
    const ExecPort* output = block.output(i);
    while (output != nullptr && output != port) output = block.output(++i);
    return output != nullptr;
}

}  // namespace

std::shared_ptr<IExecModel> create_empty_exec_model() { return std::make_shared<ExecModel>(); }

ExecModel::ExecModel() = default;

ExecModel::~ExecModel() {
    properties.reset();
    enable_blocks.clear();
    blocks.clear();
}

void ExecModel::clear() noexcept {
    enable_blocks.clear();
    blocks.clear();
}

void ExecModel::set_properties(std::shared_ptr<PropertiesModel> given) noexcept { properties = std::move(given); }

void ExecModel::add_block(std::unique_ptr<ExecBlock>& block) { blocks.push_back(std::move(block)); }

void ExecModel::insert_behind(iterator position, std::unique_ptr<ExecBlock> block) {
    blocks.insert(position + 1, std::move(block));
}

ExecBlock* ExecModel::find_block(std::uint64_t id) const noexcept {
    for (const auto& block : blocks)
        if (block != nullptr && block->id() == id) return block.get();
    return nullptr;
}

result_t ExecModel::run() noexcept {
    bind();
    const auto setting = [this](const char* key) { return properties->get(key).payload<double>(); };
    const double ti = setting("ti"), tf = setting("tf"), ts = setting("ts");
    return blocks.size() < parallel_objects ? run_serial(ti, tf, ts) : run_parallel(ti, tf, ts);
}

void ExecModel::bind() {
    IdIndex<ExecBlock> index(blocks.size());
    for (const auto& block : blocks)
        if (block != nullptr) index.add(block->id(), block.get());
    wire(index);
    set_enables(index);
}

void ExecModel::wire(const IdIndex<ExecBlock>& index) {
    for (const link_t& link : properties->links) {
        ExecBlock* src = index.find(link.srcId);
        ExecBlock* dst = index.find(link.dstId);
        if (src == nullptr || dst == nullptr || link.dstPort < 0 || link.srcPort < 0) continue;
        ExecPort* port = dst->input(link.dstPort);
        if (port == nullptr || is_output(*dst, port) || src->output(link.srcPort) == nullptr) continue;
        port->connect(*src, static_cast<std::uint16_t>(link.srcPort));
    }
}

void ExecModel::set_enables(const IdIndex<ExecBlock>& index) {
    enable_blocks.clear();
    gates_.assign(blocks.size(), nullptr);
    for (std::size_t i = 0; i < blocks.size(); ++i) {
        if (blocks[i] == nullptr) continue;
        const std::uint64_t gate = properties->enables_of(blocks[i]->id()).second;
        ExecBlock* enable = gate != 0 ? index.find(gate) : nullptr;
        ExecPort* flag = enable != nullptr ? enable->input(0) : nullptr;
        if (flag == nullptr) {
            blocks[i]->set_enable(&always_enabled);
            continue;
        }
        blocks[i]->set_enable(static_cast<const bool*>(flag->value_ptr()));
        enable_blocks.insert(enable);
        gates_[i] = enable;
    }
}

PlanContext ExecModel::plan_context() const {
    std::unordered_map<const ExecBlock*, std::size_t> positions;  // of enable blocks, among the objects
    std::vector<planned_t> objects;
    objects.reserve(blocks.size());
    for (const auto& block : blocks) {
        if (block == nullptr) continue;
        if (enable_blocks.contains(block.get())) positions.emplace(block.get(), objects.size());
        objects.push_back({block.get(), &always_enabled, 0});
    }
    std::size_t n = 0;
    for (std::size_t i = 0; i < blocks.size(); ++i) {
        if (blocks[i] == nullptr) continue;
        planned_t& object = objects[n++];
        if (gates_[i] == nullptr) continue;
        object.gate = static_cast<const bool*>(const_cast<ExecBlock*>(gates_[i])->input(0)->value_ptr());
        object.enable_position = positions.at(gates_[i]);
    }
    return {std::move(objects), &always_enabled, monitor_ != nullptr && monitor_->looks_at_cells()};
}

template <class Step>
void ExecModel::run_steps(double ti, double tf, double ts, const Step& step) {
    std::vector<bool*> flags;
    for (ExecBlock* enable : enable_blocks) flags.push_back(static_cast<bool*>(enable->input(0)->value_ptr()));
    for (double t = ti; tf >= t; t = t + ts) {
        for (bool* flag : flags) *flag = false;
        step(t);
        if (monitor_ != nullptr && !monitor_->step_done(t)) break;
    }
}

result_t ExecModel::run_serial(double ti, double tf, double ts) {
    for (const auto& block : blocks) {
        if (block == nullptr) continue;
        block->set_time(ti);
        block->start();
    }
    if (engine_ == engine_t::plan) {
        const PlanContext context = plan_context();
        Plan plan = [&context] {
            std::vector<std::size_t> all(context.objects().size());
            std::iota(all.begin(), all.end(), std::size_t{0});
            return Plan(context, all);
        }();
        run_steps(ti, tf, ts, [&plan](double t) { plan.step(t); });
        context.store_outputs();
        plan.settle();
    } else {
        run_steps(ti, tf, ts, [this](double t) {
            for (const auto& block : blocks)
                if (block != nullptr) step_object(*block, t);
        });
    }
    for (const auto& block : blocks)
        if (block != nullptr) block->finish();
    return result_ok;
}

result_t ExecModel::run_parallel(double ti, double tf, double ts) {
    std::map<std::int32_t, std::vector<ExecBlock*>> zones;
    std::map<std::int32_t, std::vector<std::size_t>> positions;  // the same, as positions among the objects
    std::size_t count = 0;
    for (const auto& block : blocks) {
        if (block == nullptr) continue;
        const std::int32_t zone = block->zone();
        zones[zone].push_back(block.get());
        positions[zone].push_back(count++);
    }
    const auto wide = std::ranges::count_if(zones, [](const auto& zone) { return zone.second.size() > wide_zone; });
    if (static_cast<std::size_t>(wide) < wide_zones) return run_serial(ti, tf, ts);

    parallel_for_each(blocks, [ti](ExecBlock& block) {
        block.set_time(ti);
        block.start();
    });
    if (engine_ == engine_t::plan) {
        // one plan for each chunk of each zone
        struct zone_plan_t {
            partition_t part;
            std::vector<Plan> chunks;
        };
        const PlanContext context = plan_context();
        std::vector<zone_plan_t> plans;
        for (const auto& [zone, members] : positions) {
            const std::span<const std::size_t> all(members);
            const auto part = partition_t::of(all.size(), sys::hardware_threads());
            plans.push_back({part, {}});
            for (std::size_t i = 0; i < part.chunks; ++i)
                plans.back().chunks.emplace_back(context,
                                                 all.subspan(part.begin_of(i), part.end_of(i) - part.begin_of(i)));
        }
        run_steps(ti, tf, ts, [&plans](double t) {
            for (zone_plan_t& zone : plans)
                parallel_for_parts(zone.chunks.size(), [&zone, t](std::size_t i) { zone.chunks[i].step(t); });
        });
        context.store_outputs();
        for (zone_plan_t& zone : plans)
            for (Plan& chunk : zone.chunks) chunk.settle();
    } else {
        run_steps(ti, tf, ts, [&zones](double t) {
            for (const auto& [zone, objects] : zones)
                parallel_for_each(objects, [t](ExecBlock& block) { step_object(block, t); });
        });
    }
    parallel_for_each(blocks, [](ExecBlock& block) { block.finish(); });
    return result_ok;
}

}  // namespace tessel
