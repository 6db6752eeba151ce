#include "exec/ExecModel.h"

#include <algorithm>
#include <map>
#include <numeric>
#include <span>
#include <unordered_map>
#include <utility>

#include "core/num.h"
#include "exec/PortIndex.h"
#include "exec/parallel_for_each.h"
#include "exec/plan.h"
#include "exec/team.h"

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

/// The objects of one zone, and the threads' shares of them: neighbouring chunks of the partition, equally many but for
/// one. A zone that is done sooner than another thread hears of it is not shared, unless all are.
struct shared_zone_t {
    std::vector<position_t> objects;
    partition_t part;
    std::size_t shares;

    shared_zone_t(std::vector<position_t> positions, unsigned threads, bool always)
        : objects(std::move(positions)),
          part(partition_t::of(objects.size(), threads)),
          shares(objects.size() < narrow * threads && !always ? 1 : threads) {
        objects.shrink_to_fit();
    }

    std::span<const position_t> share(std::size_t i) const noexcept {
        const std::span<const position_t> all(objects);
        const std::size_t begin = part.begin_of(i * part.chunks / shares);
        return all.subspan(begin, part.begin_of((i + 1) * part.chunks / shares) - begin);
    }

    static constexpr std::size_t narrow = 128;  // objects for each thread
};

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

void ExecModel::attach(std::vector<attachment_t> attachments) {
    std::unordered_map<std::uint64_t, std::vector<std::unique_ptr<ExecBlock>*>> wanted;
    for (attachment_t& attachment : attachments) wanted[attachment.behind].push_back(&attachment.block);
    // In a parallel run an object must come behind the one that it follows: it gets a zone between that and the next.
    const bool spread = blocks.size() + attachments.size() >= parallel_objects;
    std::vector<std::unique_ptr<ExecBlock>> all;
    all.reserve(blocks.size() + attachments.size());
    std::int32_t last_zone = 0;
    const auto follow = [&](std::uint64_t id, std::int32_t zone) {
        const auto found = wanted.find(id);
        if (found == wanted.end()) return;
        const std::uint64_t gate = id != 0 ? properties->enables_of(id).second : 0;
        for (auto* block : found->second) {
            const std::uint64_t own = num::create_id();
            properties->enable_map.emplace(own, std::pair(std::uint64_t{0}, gate));
            (*block)->set_identity(own, zone);
            all.push_back(std::move(*block));
        }
        wanted.erase(found);
    };
    for (auto& entry : blocks) {
        all.push_back(std::move(entry));
        if (all.back() == nullptr) continue;
        ExecBlock& block = *all.back();
        const std::int32_t zone = block.zone();
        if (spread) block.set_identity(block.id(), zone * 2);
        last_zone = std::max(last_zone, block.zone());
        if (block.id() != 0) follow(block.id(), spread ? zone * 2 + 1 : zone);
    }
    follow(0, last_zone + 2);
    blocks = std::move(all);
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
    const bool parallel = share_all_ || (blocks.size() >= parallel_objects && is_wide());
    if (parallel) run_parallel(ti, tf, ts);
    else run_serial(ti, tf, ts);
    share_all_ = false;
    return result_ok;
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
    enables_.clear();
    gates_.assign(blocks.size(), 0);
    std::unordered_map<const ExecBlock*, std::uint32_t> numbers;  // 1 + those among enables_
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
        const auto [number, is_new] = numbers.try_emplace(enable, static_cast<std::uint32_t>(enables_.size() + 1));
        if (is_new) {
            enable_blocks.insert(enable);
            enables_.push_back(enable);
        }
        gates_[i] = number->second;
    }
}

PlanContext ExecModel::plan_context(std::span<const position_t> order, bool looked_at) {
    const auto gated_by = std::exchange(gates_, {});
    std::vector<gate_t> gates{{&always_enabled, 0}};
    std::unordered_map<const ExecBlock*, std::size_t> numbers;  // of the gates
    for (ExecBlock* enable : enables_) {
        numbers.emplace(enable, gates.size());
        gates.push_back({static_cast<const bool*>(enable->input(0)->value_ptr()), 0});
    }
    large_array<planned_t> objects;
    objects.reserve(blocks.size());
    const auto add = [&](std::size_t i) {
        if (blocks[i] == nullptr) return;
        if (const auto found = numbers.find(blocks[i].get()); found != numbers.end())
            gates[found->second].enable_position = static_cast<position_t>(objects.size());
        objects.push_back({blocks[i].get(), gated_by[i]});
    };
    if (order.empty())
        for (std::size_t i = 0; i < blocks.size(); ++i) add(i);
    else
        for (const position_t i : order) add(i);
    return {std::move(objects), std::move(gates), looked_at};
}

std::vector<bool*> ExecModel::flags() const {
    std::vector<bool*> all;
    for (ExecBlock* enable : enable_blocks) all.push_back(static_cast<bool*>(enable->input(0)->value_ptr()));
    return all;
}

template <class Step>
void ExecModel::run_steps(double ti, double tf, double ts, const Step& step) {
    const std::vector<bool*> gates = flags();
    double t = ti;
    while (tf >= t) {
        for (bool* flag : gates) *flag = false;
        step(t);
        if (monitor_ != nullptr && !monitor_->step_done(t)) break;
        t = t + ts;
    }
}

template <class Zones, class Share>
void ExecModel::run_zones(const Zones& zones, unsigned threads, double ti, double tf, double ts,
                          const Share& step_share) {
    struct phase_t {
        const Share& step_share;
        std::size_t zone;
        double t;
    } phase{step_share, 0, ti};
    const auto part = [](void* p, std::size_t i) {
        const auto& now = *static_cast<const phase_t*>(p);
        now.step_share(now.zone, i, now.t);
    };
    Team team(threads, part, &phase);
    run_steps(ti, tf, ts, [&](double t) {
        phase.t = t;
        for (phase.zone = 0; phase.zone < zones.size(); ++phase.zone) {
            if (zones[phase.zone].shares == 1) step_share(phase.zone, 0, t);
            else team.run_phase();
        }
    });
}

void ExecModel::run_serial(double ti, double tf, double ts) {
    for (const auto& block : blocks) {
        if (block == nullptr) continue;
        block->set_time(ti);
        block->start();
    }
    if (engine_ == engine_t::plan) {
        PlanContext context = plan_context({}, is_looked_at());
        Plan plan(context);
        context.plans_made();
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
}

bool ExecModel::is_wide() const {
    std::map<std::int32_t, std::size_t> sizes;  // of the zones
    for (const auto& block : blocks)
        if (block != nullptr) ++sizes[block->zone()];
    const auto wide = std::ranges::count_if(sizes, [](const auto& zone) { return zone.second > wide_zone; });
    return static_cast<std::size_t>(wide) >= wide_zones;
}

std::vector<std::uint32_t> ExecModel::stepping_order() const {
    std::vector<std::uint32_t> order;
    order.reserve(blocks.size());
    for (std::size_t i = 0; i < blocks.size(); ++i)
        if (blocks[i] != nullptr) order.push_back(static_cast<std::uint32_t>(i));
    if (blocks.size() >= parallel_objects && is_wide())
        std::ranges::stable_sort(order, {}, [this](std::uint32_t i) { return blocks[i]->zone(); });
    return order;
}

std::unordered_set<std::int32_t> ExecModel::ordered_zones() const {
    using entry_t = std::unique_ptr<ExecBlock>;
    PortIndex<entry_t> owners(blocks);
    const auto for_each_output = [this](const auto& action) {
        for (const entry_t& block : blocks) {
            if (block == nullptr) continue;
            ExecPort* port = nullptr;
            for (std::int16_t n = 0; (port = block->output(n)) != nullptr; ++n) action(*port, block);
        }
    };
    for_each_output([&owners](ExecPort& port, const entry_t& block) { owners.add(port, block); });

    std::unordered_set<std::int32_t> zones;
    for (std::size_t i = 0; i < blocks.size(); ++i) {
        ExecBlock* const block = blocks[i].get();
        if (block == nullptr) continue;
        const auto stands_beside = [block](const ExecBlock& other) {
            return &other != block && other.zone() == block->zone();
        };
        bool ordered = gates_[i] != 0 && stands_beside(*enables_[gates_[i] - 1]);
        for (std::int16_t n = 0; !ordered && block->input(n) != nullptr; ++n) {
            const ExecPort* source = block->input(n)->source();
            const entry_t* owner = source != nullptr ? owners.find(*source) : nullptr;
            ordered = owner != nullptr && stands_beside(**owner);
        }
        if (ordered) zones.insert(block->zone());
    }
    for_each_output([&owners](ExecPort& port, const entry_t&) { owners.remove(port); });
    return zones;
}

void ExecModel::run_parallel(double ti, double tf, double ts) {
    const unsigned threads = sys::hardware_threads();
    std::map<std::int32_t, std::vector<position_t>> members;  // of each zone, in the order of the list
    for (std::size_t i = 0; i < blocks.size(); ++i)
        if (blocks[i] != nullptr) members[blocks[i]->zone()].push_back(static_cast<position_t>(i));
    const auto ordered = ordered_zones();
    std::vector<position_t> order;  // of stepping: a list need not go by zones
    order.reserve(blocks.size());
    std::vector<shared_zone_t> zones;
    zones.reserve(members.size());
    for (const auto& [zone, entries] : members) {
        std::vector<position_t> positions(entries.size());
        std::iota(positions.begin(), positions.end(), static_cast<position_t>(order.size()));
        order.insert(order.end(), entries.begin(), entries.end());
        zones.emplace_back(std::move(positions), ordered.contains(zone) ? 1 : threads, share_all_);
    }

    parallel_for_each(blocks, [ti](ExecBlock& block) {
        block.set_time(ti);
        block.start();
    });
    if (engine_ == engine_t::plan) {
        PlanContext context = plan_context(order, is_looked_at());
        std::vector<std::vector<Plan>> plans;
        for (const shared_zone_t& zone : zones) {
            auto& own = plans.emplace_back();
            own.reserve(zone.shares);
            for (std::size_t i = 0; i < zone.shares; ++i) own.emplace_back(context, zone.share(i));
        }
        context.plans_made();
        run_zones(zones, threads, ti, tf, ts,
                  [&plans](std::size_t z, std::size_t i, double t) { plans[z][i].step(t); });
        context.store_outputs();
        for (auto& zone : plans)
            for (Plan& plan : zone) plan.settle();
    } else {
        run_zones(zones, threads, ti, tf, ts, [&](std::size_t z, std::size_t i, double t) {
            for (const position_t position : zones[z].share(i)) step_object(*blocks[order[position]], t);
        });
    }
    parallel_for_each(blocks, [](ExecBlock& block) { block.finish(); });
}

}  // namespace tessel
