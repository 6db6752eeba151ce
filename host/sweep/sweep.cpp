#include "host/sweep/sweep.h"

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <map>
#include <utility>

#include "core/format.h"
#include "core/literal_bridge.h"
#include "core/num.h"
#include "core/str.h"
#include "core/thread_pool.h"
#include "exec/ensemble/batch.h"
#include "framework/classes.h"
#include "host/document/memory.h"
#include "host/session/probes.h"
#include "host/sweep/farm.h"
#include "host/sweep/kinds.h"

namespace zarn {
namespace {

using tessel::ensemble::Batch;
using tessel::ensemble::most_lanes;

constexpr double nothing = std::numeric_limits<double>::quiet_NaN();
/// Kinds that are kept; a sweep that has more compiles some of them again.
constexpr std::size_t most_kinds = 32;

/// The memory that a thread runs batches in: one for each program of late, which it keeps.
class batches_t {
public:
    Batch& of(const std::shared_ptr<const lane_program_t>& program) {
        const auto known = std::ranges::find(all_, program, &entry_t::program);
        if (known != all_.end()) return *known->batch;
        constexpr std::size_t most = 8;
        if (all_.size() == most) all_.erase(all_.begin());
        all_.push_back({program, std::make_unique<Batch>(program->program)});
        return *all_.back().batch;
    }

private:
    struct entry_t {
        std::shared_ptr<const lane_program_t> program;
        std::unique_ptr<Batch> batch;
    };
    std::vector<entry_t> all_;
};

}  // namespace

struct Sweep::impl_t {
    impl_t(sweep_setup_t given, std::unique_ptr<Variants> all);

    std::unique_ptr<Session> new_session() const;
    void require_room(const Session& session) const;
    std::vector<double> values_of(std::uint64_t variant) const;
    void find_own_parameters(Session& session);
    void add_own_parameter(Session& session, std::size_t name);
    void find_watched(Session& session);
    std::size_t watch(const signal_t& signal);
    std::shared_ptr<Kind> make_kind(const std::vector<double>& values);
    std::shared_ptr<Kind> kind_of(const variant_t& variant);

    task_t prepare(std::uint64_t first, std::size_t count);
    void run(task_t& task, batches_t& batches, Meter& meter, const std::atomic<bool>& ended) const;
    std::string fault_text(Kind& kind, const tessel::ensemble::fault_t& fault) const;

    sweep_setup_t setup;
    std::unique_ptr<Variants> variants;
    std::shared_ptr<python::IPythonWrap> inner;
    std::shared_ptr<VariantBridge> bridge;
    std::vector<own_parameter_t> own;
    std::vector<measure_t> measures;
    std::vector<watched_t> watched;
    std::vector<signal_t> watched_signals;
    std::vector<std::string> probe_names;
    tessel::ensemble::times_t times;
    std::uint64_t samples = 0;
    std::shared_ptr<Kind> main;
    std::map<std::string, std::shared_ptr<Kind>> kinds;
    std::size_t kinds_made = 0;
};

Sweep::impl_t::impl_t(sweep_setup_t given, std::unique_ptr<Variants> all)
    : setup(std::move(given)), variants(std::move(all)), inner(setup.session.bridge) {
    if (inner == nullptr) inner = std::make_shared<python::LiteralBridge>();
    if (setup.every == 0) throw SessionError(problem_t::usage, "samples: one in 0 is none");
    for (const std::string& text : setup.measures) measures.push_back(parse_measure(text));
    std::vector<bool> whole;
    for (std::size_t i = 0; i < variants->names().size(); ++i) whole.push_back(variants->is_whole(i));
    bridge = std::make_shared<VariantBridge>(inner, variants->names(), whole);
    setup.session.bridge = bridge;

    const auto values = values_of(0);
    bridge->set(values);
    auto session = new_session();
    session->prepare();
    session->forget_answers();
    find_own_parameters(*session);
    find_watched(*session);
    times = {session->setting("ti"), session->setting("tf"), session->setting("ts")};
    if (!setup.probes.empty()) {
        std::uint64_t steps = 0;
        for (double t = times.ti; times.tf >= t; t = t + times.ts) ++steps;
        samples = (steps + setup.every - 1) / setup.every;
        require_room(*session);
    }
    main = std::make_shared<Kind>(std::move(session), *bridge, own, watched);
    ++kinds_made;
    const variant_t first = main->make(values);
    if (!first.refused.empty()) throw main->session().error(problem_t::model, first.refused);
    kinds.emplace(first.shape, main);
}

/// Samples stand in memory for the batches at work, and for those that wait to be handed over.
void Sweep::impl_t::require_room(const Session& session) const {
    const unsigned threads = setup.jobs != 0 ? setup.jobs : tessel::sys::hardware_threads();
    const double batch = static_cast<double>(probe_names.size()) * static_cast<double>(samples) *
                         static_cast<double>(most_lanes * sizeof(double));
    const double wanted = batch * 4.0 * threads, room = free_memory() * 0.8;
    if (room == 0.0 || wanted <= room) return;
    throw session.error(problem_t::usage,
                        tessel::format("the samples of {} variants at a time take {:.3g} GiB on {} threads, and the "
                                       "machine has {:.3g} GiB to give; keep fewer of them (--every), or take --jobs 1",
                                       most_lanes, wanted / 0x1p30, threads, room / 0x1p30));
}

std::unique_ptr<Session> Sweep::impl_t::new_session() const {
    return setup.text ? std::make_unique<Session>(setup.session, *setup.text)
                      : std::make_unique<Session>(setup.session);
}

std::vector<double> Sweep::impl_t::values_of(std::uint64_t variant) const {
    std::vector<double> values;
    for (std::size_t i = 0; i < variants->names().size(); ++i) values.push_back(variants->value(variant, i));
    return values;
}

/// Names with a dot are parameters of blocks.
void Sweep::impl_t::find_own_parameters(Session& session) {
    for (std::size_t i = 0; i < variants->names().size(); ++i)
        if (variants->names()[i].find('.') != std::string::npos) add_own_parameter(session, i);
}

void Sweep::impl_t::add_own_parameter(Session& session, std::size_t name) {
    const std::string& text = variants->names()[name];
    const auto dot = text.rfind('.');
    const std::string path = text.substr(0, dot), key = text.substr(dot + 1);
    for (const auto& block : session.model()) {
        if (block == nullptr) continue;
        const std::string own_path = session.written_path(*block);
        if (own_path != path && own_path != "mainsys." + path) continue;
        std::string known;
        for (const auto& parameter : tessel::factory::traits_of(*block).parameters) {
            if (parameter.content != tessel::content_t::value) continue;
            if (key == parameter.key) {
                own.push_back({name, block->id(), key});
                return;
            }
            known += tessel::format("{}{}", known.empty() ? "" : ", ", parameter.key);
        }
        throw session.error(problem_t::usage, tessel::format("--vary {}: {} has no number '{}'; it has {}", text,
                                                             shown(*block), key, known.empty() ? "none" : known));
    }
    throw session.error(problem_t::usage, tessel::format("--vary {}: no block has the path {}", text, path));
}

std::size_t Sweep::impl_t::watch(const signal_t& signal) {
    for (std::size_t i = 0; i < watched_signals.size(); ++i)
        if (watched_signals[i].block == signal.block && watched_signals[i].port == signal.port) return i;
    watched_signals.push_back(signal);
    watched.push_back({signal.block->id(), signal.is_input});
    return watched.size() - 1;
}

void Sweep::impl_t::find_watched(Session& session) {
    if (!setup.probes.empty()) {
        auto signals = find_signals(session.model(), setup.probes);
        name_as_written(signals, session);
        for (const signal_t& signal : signals) {
            watch(signal);
            probe_names.push_back(signal.name);
        }
    }
    for (measure_t& measure : measures) {
        const auto signals = find_signals(session.model(), {measure.signal});
        if (signals.size() != 1)
            throw session.error(problem_t::usage, tessel::format("--measure {}: {} names {} signals", measure.name,
                                                                 measure.signal, signals.size()));
        measure.number_of_signal = watch(signals[0]);
    }
}

std::shared_ptr<Kind> Sweep::impl_t::make_kind(const std::vector<double>& values) {
    bridge->set(values);
    auto session = new_session();
    session->prepare();
    session->forget_answers();
    ++kinds_made;
    return std::make_shared<Kind>(std::move(session), *bridge, own, watched);
}

/// The kind of a variant that the first one is not of.
std::shared_ptr<Kind> Sweep::impl_t::kind_of(const variant_t& variant) {
    if (const auto known = kinds.find(variant.shape); known != kinds.end()) return known->second;
    auto kind = make_kind(variant.values);
    if (kinds.size() >= most_kinds) std::erase_if(kinds, [this](const auto& entry) { return entry.second != main; });
    kinds.emplace(variant.shape, kind);
    return kind;
}

task_t Sweep::impl_t::prepare(std::uint64_t first, std::size_t count) {
    task_t task{first, count, {}, {}, {}, std::vector<std::string>(count), {}};
    std::vector<variant_t> made(count);
    std::map<Kind*, group_t> groups;
    for (std::size_t i = 0; i < count; ++i) {
        const auto values = values_of(first + i);
        task.values.insert(task.values.end(), values.begin(), values.end());
        made[i] = main->make(values);
        try {
            if (!made[i].refused.empty()) {
                task.ended[i] = made[i].refused;
                continue;
            }
            auto kind = kind_of(made[i]);
            if (kind != main) made[i] = kind->make(values);
            group_t& group = groups[kind.get()];
            group.kind = std::move(kind);
            group.rows.push_back(i);
        } catch (const SessionError& error) {
            task.ended[i] = error.what();
            for (const finding_t& finding : error.findings())
                if (finding.severity == severity_t::error) task.ended[i] = finding.path + ": " + finding.what;
        }
    }
    for (auto& [kind, group] : groups) {
        std::vector<const variant_t*> own_variants;
        for (const std::size_t row : group.rows) own_variants.push_back(&made[row]);
        group.program = kind->place(own_variants, group.values);
        task.groups.push_back(std::move(group));
    }
    return task;
}

void Sweep::impl_t::run(task_t& task, batches_t& batches, Meter& meter, const std::atomic<bool>& ended) const {
    task.measures.assign(task.count * measures.size(), nothing);
    task.samples.assign(task.count * probe_names.size() * samples, nothing);
    for (group_t& group : task.groups) {
        Batch* batch = &batches.of(group.program);
        const std::size_t all = group.rows.size(), lanes = group.program->program.lanes;
        for (std::size_t begin = 0; begin < all; begin += lanes) {
            const std::size_t count = std::min(lanes, all - begin);
            std::vector<std::uint64_t> values;
            for (std::size_t p = 0; p < group.program->places.size(); ++p)
                for (std::size_t i = 0; i < count; ++i) values.push_back(group.values[p * all + begin + i]);
            meter.clear(lanes);
            if (!batch->run(values, count, times, meter, &ended)) return;
            for (std::size_t i = 0; i < count; ++i) {
                const std::size_t row = group.rows[begin + i];
                if (const auto& fault = batch->faults()[i]; fault.step != tessel::ensemble::never) {
                    task.ended[row] = fault_text(*group.kind, fault);
                    continue;
                }
                for (std::size_t m = 0; m < measures.size(); ++m)
                    task.measures[row * measures.size() + m] = meter.result(m, i);
                for (std::size_t s = 0; s < probe_names.size(); ++s)
                    std::ranges::copy(
                        meter.series(s, i),
                        task.samples.begin() + static_cast<std::ptrdiff_t>((row * probe_names.size() + s) * samples));
            }
        }
    }
}

std::string Sweep::impl_t::fault_text(Kind& kind, const tessel::ensemble::fault_t& fault) const {
    const tessel::IMetaBlock& block = *kind.lanes().blocks[static_cast<std::size_t>(fault.member)];
    const bool draws = tessel::factory::traits_of(block).fault == tessel::fault_t::empty_range;
    double t = times.ti;
    for (std::uint64_t i = 0; i < fault.step; ++i) t = t + times.ts;
    return tessel::format("{}: {} at t = {} s", kind.session().written_path(block),
                          draws ? "no number lies in the range" : "the lowest integer divided by -1",
                          tessel::str::shortest(std::strtod(tessel::format("{:.12g}", t).c_str(), nullptr)));
}

Sweep::Sweep(sweep_setup_t setup, std::unique_ptr<Variants> variants)
    : impl_(std::make_unique<impl_t>(std::move(setup), std::move(variants))) {}
Sweep::~Sweep() { impl_->bridge->reset(); }

const Variants& Sweep::variants() const { return *impl_->variants; }
std::vector<std::string> Sweep::measure_names() const {
    std::vector<std::string> names;
    for (const measure_t& measure : impl_->measures) names.push_back(measure.name);
    return names;
}
std::vector<std::string> Sweep::signal_names() const { return impl_->probe_names; }
std::uint64_t Sweep::samples() const { return impl_->samples; }
std::vector<double> Sweep::sample_times() const {
    std::vector<double> times;
    double t = impl_->times.ti;
    for (std::uint64_t step = 0; times.size() < impl_->samples; ++step, t = t + impl_->times.ts)
        if (step % impl_->setup.every == 0) times.push_back(t);
    return times;
}
std::uint64_t Sweep::batch() const { return most_lanes; }
std::size_t Sweep::kinds() const { return impl_->kinds_made; }

std::string Sweep::replay(std::uint64_t variant) const {
    std::string code;
    for (std::size_t i = 0; i < impl_->variants->names().size(); ++i)
        code += tessel::format("{}{} = {}", code.empty() ? "" : "; ", impl_->variants->names()[i],
                               impl_->bridge->text_of(i, impl_->variants->value(variant, i)));
    return code;
}

bool Sweep::go(const std::function<bool(const rows_t&)>& take, std::uint64_t first, std::optional<std::uint64_t> end) {
    impl_t& all = *impl_;
    const std::uint64_t last = std::min(end.value_or(all.variants->size()), all.variants->size());
    const unsigned wanted = all.setup.jobs != 0 ? all.setup.jobs : tessel::sys::hardware_threads();
    const std::uint64_t batches = last > first ? (last - first + most_lanes - 1) / most_lanes : 0;
    const auto threads = static_cast<unsigned>(std::clamp<std::uint64_t>(batches, 1, wanted));
    const auto prepare = [&all](std::uint64_t begin, std::size_t count) { return all.prepare(begin, count); };
    const auto worker = [&all] {
        auto batches_of_thread = std::make_shared<batches_t>();
        auto meter = std::make_shared<Meter>(all.measures, all.watched.size(), all.times.ts, all.probe_names.size(),
                                             all.setup.every, all.samples);
        return [&all, batches_of_thread, meter](task_t& task, const std::atomic<bool>& ended) {
            all.run(task, *batches_of_thread, *meter, ended);
        };
    };
    Farm farm(first, last, prepare, worker, take);
    return farm.go(threads);
}

}  // namespace zarn
