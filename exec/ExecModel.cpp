#include "exec/ExecModel.h"

#include <map>
#include <unordered_map>
#include <utility>

#include "exec/parallel_for_each.h"

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

std::unordered_map<std::uint64_t, ExecBlock*> index_of(const std::vector<std::unique_ptr<ExecBlock>>& blocks) {
    std::unordered_map<std::uint64_t, ExecBlock*> index;
    index.reserve(blocks.size());
    for (const auto& block : blocks)
        if (block != nullptr) index.try_emplace(block->id(), block.get());
    return index;
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
    wire();
    set_enables();
    const auto setting = [this](const char* key) { return properties->get(key).payload<double>(); };
    const double ti = setting("ti"), tf = setting("tf"), ts = setting("ts");
    return blocks.size() < parallel_objects ? run_serial(ti, tf, ts) : run_parallel(ti, tf, ts);
}

void ExecModel::wire() {
    const auto index = index_of(blocks);
    for (const link_t& link : properties->links) {
        const auto src = index.find(link.srcId);
        const auto dst = index.find(link.dstId);
        if (src == index.end() || dst == index.end() || link.dstPort < 0 || link.srcPort < 0) continue;
        ExecPort* port = dst->second->input(link.dstPort);
        if (port == nullptr || is_output(*dst->second, port) || src->second->output(link.srcPort) == nullptr) continue;
        port->connect(*src->second, static_cast<std::uint16_t>(link.srcPort));
    }
}

void ExecModel::set_enables() {
    const auto index = index_of(blocks);
    enable_blocks.clear();
    for (const auto& block : blocks) {
        if (block == nullptr) continue;
        const std::uint64_t gate = properties->enables_of(block->id()).second;
        const auto found = gate != 0 ? index.find(gate) : index.end();
        ExecPort* flag = found != index.end() ? found->second->input(0) : nullptr;
        if (flag == nullptr) {
            block->set_enable(&always_enabled);
            continue;
        }
        block->set_enable(static_cast<const bool*>(flag->value_ptr()));
        enable_blocks.insert(found->second);
    }
}

result_t ExecModel::run_serial(double ti, double tf, double ts) {
    for (const auto& block : blocks) {
        if (block == nullptr) continue;
        block->set_time(ti);
        block->start();
    }
    for (double t = ti; tf >= t; t = t + ts) {
        for (ExecBlock* enable : enable_blocks) *static_cast<bool*>(enable->input(0)->value_ptr()) = false;
        for (const auto& block : blocks)
            if (block != nullptr) step_object(*block, t);
        if (monitor_ != nullptr && !monitor_->step_done(t)) break;
    }
    for (const auto& block : blocks)
        if (block != nullptr) block->finish();
    return result_ok;
}

result_t ExecModel::run_parallel(double ti, double tf, double ts) {
    std::map<std::int32_t, std::vector<ExecBlock*>> zones;
    for (const auto& block : blocks)
        if (block != nullptr) zones[block->zone()].push_back(block.get());
    const auto wide = std::ranges::count_if(zones, [](const auto& zone) { return zone.second.size() > wide_zone; });
    if (static_cast<std::size_t>(wide) < wide_zones) return run_serial(ti, tf, ts);

    parallel_for_each(blocks, [ti](ExecBlock& block) {
        block.set_time(ti);
        block.start();
    });
    for (double t = ti; tf >= t; t = t + ts) {
        for (ExecBlock* enable : enable_blocks) *static_cast<bool*>(enable->input(0)->value_ptr()) = false;
        for (const auto& [zone, objects] : zones)
            parallel_for_each(objects, [t](ExecBlock& block) { step_object(block, t); });
        if (monitor_ != nullptr && !monitor_->step_done(t)) break;
    }
    parallel_for_each(blocks, [](ExecBlock& block) { block.finish(); });
    return result_ok;
}

}  // namespace tessel
