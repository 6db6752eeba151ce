#include "host/verify/verify.h"

#include <algorithm>
#include <chrono>

#include "core/format.h"
#include "host/export/export.h"
#include "host/verify/fmu.h"
#include "host/verify/in_lanes.h"
#include "host/verify/library_functions.h"
#include "host/verify/native.h"
#include "host/verify/program.h"

namespace zarn::verify {
namespace {

using tessel::engine_t;

class Verification {
public:
    Verification(Session& session, const around_t& around, const request_t& request,
                 const std::function<void(const row_t&)>& on_row)
        : session_(session), around_(around), request_(request), on_row_(on_row) {}
    report_t go();

private:
    bool wants(std::string_view group) const {
        const auto targets = target_names();
        const bool is_target = std::ranges::find(targets, group) != targets.end();
        return (request_.groups.empty() && !is_target) ||
               std::ranges::find(request_.groups, group) != request_.groups.end();
    }
    look_t whole() const { return {.steps = request_.steps}; }
    /// Gone in this order, since that of the plan loads the model anew.
    void judge_in_process();
    void judge_programs();
    void judge_lanes();
    void judge_native();
    void judge_fmus();
    /// Judges a way that shows less than all: once it has told what, the reference shows the same.
    void judge_by_its_ports(Way& way);
    std::unique_ptr<Way> way(recipe_t recipe) const { return in_process(session_, around_, std::move(recipe)); }
    void add(row_t row);
    void go_reference();
    /// Goes a way and compares it with what the reference left.
    void judge(Way& way, Way& reference, const seen_t& expected);
    void judge_second_runs();

    Session& session_;
    const around_t& around_;
    const request_t& request_;
    const std::function<void(const row_t&)>& on_row_;
    std::unique_ptr<Way> reference_;
    seen_t expected_;
    report_t report_;
};

/// Seconds of what `work` does.
template <class Work>
double timed(const Work& work) {
    const auto begin = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
}

void Verification::add(row_t row) {
    if (on_row_) on_row_(row);
    report_.rows.push_back(std::move(row));
}

void Verification::go_reference() {
    reference_ = way({.name = "objects", .engine = engine_t::objects});
    const double seconds = timed([&] { expected_ = reference_->run(whole()); });
    report_.ports = reference_->ports().size();
    report_.steps = expected_.trace.steps;
    add({.way = reference_->name(), .verdict = verdict_t::reference, .seconds = seconds});
}

void Verification::judge(Way& way, Way& reference, const seen_t& expected) {
    row_t row{.way = way.name()};
    try {
        seen_t got;
        row.seconds = timed([&] { got = way.run(whole()); });
        row.difference = compare(reference, expected, way, got, request_.steps);
        if (row.difference) {
            row.verdict = verdict_t::differs;
            add_inputs(*row.difference, *reference_, way, request_.steps);
            if (auto* block = session_.model().find_block(row.difference->port.block)) {
                row.difference->port.class_name = block->class_name();
                row.by_library_function = calls_library(*block);
            }
        }
    } catch (const Skipped& skipped) {
        row.verdict = verdict_t::skipped;
        row.reason = skipped.what();
    } catch (const SessionError&) {
        throw;
    } catch (const std::runtime_error& error) {
        row.verdict = verdict_t::failed;
        row.reason = error.what();
    }
    add(std::move(row));
}

/// A second run finds the states that the first has left: it has a reference of its own.
void Verification::judge_second_runs() {
    const auto first = way({.name = "objects, second run", .engine = engine_t::objects, .runs = 2});
    const auto second = way({.name = "plan, second run", .runs = 2});
    const seen_t expected = first->run(whole());
    judge(*second, *first, expected);
}

report_t Verification::go() {
    for (const std::string& name : request_.groups)
        if (std::ranges::none_of(groups(), [&](const group_t& group) { return name == group.name; })) {
            std::string known;
            for (const group_t& group : groups())
                known += tessel::format("{}{}", known.empty() ? "" : ", ", group.name);
            throw SessionError(problem_t::usage, tessel::format("there is no way '{}'; there are {}", name, known));
        }
    around_.prepare();
    go_reference();
    judge_in_process();
    if (wants("lanes")) judge_lanes();
    if (wants("native")) judge_native();
    judge_programs();
    if (wants("fmu")) judge_fmus();
    return std::move(report_);
}

void Verification::judge_in_process() {
    const auto judge_as = [&](recipe_t recipe) { judge(*way(std::move(recipe)), *reference_, expected_); };
    if (wants("plan")) judge_as({.name = "plan", .load = true});
    if (wants("unwatched")) judge_as({.name = "plan, nobody looking", .watched = false});
    if (wants("again")) judge_second_runs();
    if (wants("threads"))
        for (const unsigned count : {1u, 2u, 3u, 8u})
            judge_as({.name = tessel::format("{} thread{}", count, count == 1 ? "" : "s"), .threads = count});
}

/// Lanes show outputs; what the reference shows is the same for every instruction set.
void Verification::judge_lanes() {
    using tessel::ensemble::isa_t;
    const auto fed = fed_blocks(session_, *session_.build());
    std::unique_ptr<Way> reference;
    seen_t expected;
    for (const isa_t isa : {isa_t::baseline, isa_t::avx2, isa_t::avx512}) {
        if (isa > tessel::ensemble::best_isa()) break;
        const auto way = in_lanes(session_, fed, isa, around_.interrupted);
        if (reference == nullptr) {
            reference = in_process(session_, around_, {.name = "objects", .engine = engine_t::objects}, &way->ports());
            expected = reference->run(whole());
        }
        judge(*way, *reference, expected);
    }
}

/// The reference shows what the first run of the machine code has told that it shows.
void Verification::judge_native() {
    const auto fed = fed_blocks(session_, *session_.build());
    std::unique_ptr<Way> reference;
    seen_t expected;
    for (const bool watched : {true, false}) {
        const auto way = native_way(session_, fed, watched, around_.interrupted);
        if (reference == nullptr) {
            try {
                way->run({.steps = 0});
            } catch (const Skipped& skipped) {
                return add({.way = way->name(), .verdict = verdict_t::skipped, .reason = skipped.what()});
            }
            reference = in_process(session_, around_, {.name = "objects", .engine = engine_t::objects}, &way->ports());
            expected = reference->run(whole());
        }
        judge(*way, *reference, expected);
    }
}

void Verification::judge_by_its_ports(Way& way) {
    try {
        way.run({.steps = 0});
    } catch (const Skipped& skipped) {
        return add({.way = way.name(), .verdict = verdict_t::skipped, .reason = skipped.what()});
    } catch (const SessionError&) {
        throw;
    } catch (const std::runtime_error& error) {
        return add({.way = way.name(), .verdict = verdict_t::failed, .reason = error.what()});
    }
    const auto reference =
        in_process(session_, around_, {.name = "objects", .engine = engine_t::objects}, &way.ports());
    judge(way, *reference, reference->run(whole()));
}

void Verification::judge_fmus() {
    const auto fed = fed_blocks(session_, *session_.build());
    for (const int version : {2, 3}) judge_by_its_ports(*fmu_way(session_, fed, version, around_.interrupted));
}

/// Programs show what they keep: they have a reference that shows the same.
void Verification::judge_programs() {
    std::vector<const build_t*> wanted;
    for (const build_t& build : builds())
        if (wants(build.group)) wanted.push_back(&build);
    if (wanted.empty()) return;
    std::unique_ptr<ProgramText> text;
    try {
        const auto exec = session_.build();
        export_options_t how;
        how.name = "model";
        std::unordered_set<std::uint64_t> left_out;
        if (request_.exact_only) left_out = depends_on_library(session_.model(), session_.properties());
        text = std::make_unique<ProgramText>(program_of(session_, how), fed_blocks(session_, *exec), left_out);
        report_.program_ports = text->ports().size();
    } catch (const SessionError& error) {
        add({.way = "exported C", .verdict = verdict_t::skipped, .reason = error.what()});
        return;
    }
    const auto reference =
        in_process(session_, around_, {.name = "objects", .engine = engine_t::objects}, &text->ports());
    const seen_t expected = reference->run(whole());
    for (const build_t* build : wanted) judge(*program_way(*text, *build, around_.interrupted), *reference, expected);
}

}  // namespace

const std::vector<group_t>& groups() {
    static const std::vector<group_t> all{
        {"plan", "the plan that a run makes"},
        {"unwatched", "the plan when nobody looks into the run: values behind it"},
        {"again", "a second run of the same objects"},
        {"threads", "the parallel path with 1, 2, 3 and 8 threads"},
        {"lanes", "64 variants side by side, on each instruction set of this machine"},
        {"native", "machine code made for the model, as run --engine native takes it"},
        {"c", "exported C by gcc, clang and tcc, at -O0, -O2 and -O3"},
        {"c++", "the same text as C++"},
        {"fmu", "exported FMUs of version 2 and 3, loaded and stepped as importers do"},
        {"sanitizers", "exported C under address and undefined behaviour sanitizers"},
        {"aarch64", "exported C for another processor, emulated; likewise:"},
        {"riscv64", ""},
        {"s390x", "whose bytes stand the other way round"},
        {"armhf", "of 32 bits"},
        {"cortex-m7", "without an operating system"},
        {"cortex-m3", "without one, and without a unit of floats"},
    };
    return all;
}

const char* verdict_name(verdict_t verdict) {
    switch (verdict) {
        case verdict_t::reference: return "reference";
        case verdict_t::equal: return "equal";
        case verdict_t::differs: return "differs";
        case verdict_t::skipped: return "skipped";
        default: return "failed";
    }
}

bool report_t::is_good() const {
    return std::ranges::none_of(
        rows, [](const row_t& row) { return row.verdict == verdict_t::differs || row.verdict == verdict_t::failed; });
}

report_t verify(Session& session, const around_t& around, const request_t& request,
                const std::function<void(const row_t&)>& on_row) {
    return Verification(session, around, request, on_row).go();
}

}  // namespace zarn::verify
