#include "host/diagnose/diagnose.h"

#include <algorithm>

#include "ExecBlock.h"
#include "IExecModel.h"
#include "PropertiesModel.h"
#include "core/log.h"
#include "framework/MetaBlock.h"
#include "host/diagnose/analysis.h"
#include "host/diagnose/source.h"

namespace zarn {
namespace {

constexpr const char* meaning_of(tessel::result_t result) noexcept {
    switch (result) {
        case tessel::result_ok: return "success";
        case tessel::result_types_unresolved: return "the types of some ports cannot be worked out";
        case tessel::result_cast_unresolved: return "a cast has no link into it, or could not be dissolved";
        case tessel::result_from_unresolved: return "a from has no goto, or a goto has no link into it";
        case tessel::result_goto_unresolved: return "a goto could not be dissolved";
        case tessel::result_source_missing: return "an input has no source";
        case tessel::result_goto_duplicated: return "two goto blocks have one target";
        case tessel::result_table_mismatch: return "a table does not fit its breakpoints";
        case tessel::result_too_many_inputs: return "a block has more than 8 inputs";
        case tessel::result_bad_parameter: return "a parameter holds a value that cannot be used, or names nothing";
        case tessel::result_bad_step: return "the time step is not above 0";
        case tessel::result_bad_interval: return "the start does not come before the end";
        case tessel::result_failure: return "general failure";
    }
    return "no result that is known here";
}

constexpr const char* fault_of_the_checks = "this is a fault of the checks; please report it with the model";

/// Tells type rules that failed where no finding is an error. The checks go on past them, and a compile of the same
/// blocks does not ask blocks again that have all types.
void tell_failed_types(const analysis_t& analysis, Report& report) {
    const auto& results = analysis.typing.results;
    for (std::size_t i = 0; i < results.size(); ++i)
        if (results[i] != tessel::result_ok)
            report.at_block("Z901", severity_t::error, analysis.graph.nodes[i],
                            tessel::format("the library refuses the types of this block: {} ({})", int{results[i]},
                                           meaning_of(results[i])),
                            fault_of_the_checks);
}

/// Lets the library do what a run would do, but for the run, and tells when it refuses.
void confirm(const analysis_t& analysis, Document& document, Report& report) {
    const auto disagree = [&report](const std::string& what) {
        report.at_place("Z901", severity_t::error, 0, "", what, fault_of_the_checks);
    };
    Recorder keep_silent;
    own_model_t fresh;
    if (!analysis.graph.is_adopted) {
        fresh = own_model_t(document);
        if (fresh.result != tessel::result_ok)
            return disagree("load refuses this file: " + describe_result(fresh.result, *fresh.model));
    }
    const own_model_t& own = analysis.graph.is_adopted ? analysis.own : fresh;
    own.properties->set("ti", analysis.graph.ti);
    own.properties->set("tf", analysis.graph.tf);
    own.properties->set("ts", analysis.graph.ts);
    const auto result = own.model->compile();
    if (result != tessel::result_ok)
        return disagree("compile refuses this model: " + describe_result(result, *own.model));
    for (const auto& block : *own.model) {
        if (block == nullptr || block->class_hash() == hash_subsys || block->class_hash() == hash_refsys) continue;
        if (block->create_exec() == nullptr) disagree(tessel::format("block {} has no runnable form", block->name()));
    }
}

}  // namespace

const char* severity_name(severity_t severity) noexcept {
    switch (severity) {
        case severity_t::note: return "note";
        case severity_t::warning: return "warning";
        case severity_t::error: return "error";
    }
    return "";
}

bool has_errors(std::span<const finding_t> findings) noexcept {
    return std::ranges::any_of(findings, [](const finding_t& f) { return f.severity == severity_t::error; });
}

std::vector<finding_t> diagnose(const std::filesystem::path& model, const check_options_t& options) {
    Document document(model);
    return diagnose(document, options);
}

std::vector<finding_t> diagnose(Document& document, const check_options_t& options) {
    const auto no_sink = [](tessel::log::severity_t, std::string_view) {};
    analysis_t analysis;
    Report report(analysis.graph);
    analyse(analysis, report, document, options);
    const bool looked_at_all = std::ranges::none_of(report.peek(), [](const finding_t& f) { return f.code == "Z402"; });
    if (looked_at_all && !has_errors(report.peek())) tell_failed_types(analysis, report);
    if (options.confirm && looked_at_all && !has_errors(report.peek()) && !analysis.graph.nodes.empty() &&
        options.loaded == nullptr) {
        auto sink = tessel::log::set_sink(no_sink);
        confirm(analysis, document, report);
        tessel::log::set_sink(std::move(sink));
    }
    return report.take();
}

std::string describe_result(tessel::result_t result, tessel::IMetaModel& model) {
    const char* name = tessel::result_name(result);
    std::string text =
        tessel::format("{} ({}): {}", int{result}, name != nullptr ? name : "no name", meaning_of(result));
    std::string failed;
    for (const auto& block : model) {
        if (block == nullptr || !block->failed()) continue;
        const auto& properties = static_cast<const tessel::MetaBlock&>(*block).properties();
        failed += failed.empty() ? "; marked: " : ", ";
        failed += properties.path.empty() ? properties.name : properties.path;
    }
    return text + failed;
}

}  // namespace zarn
