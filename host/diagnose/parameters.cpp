#include "host/diagnose/parameters.h"

#include <algorithm>
#include <cmath>
#include <set>

#include "core/convert.h"
#include "core/str.h"
#include "host/diagnose/classes.h"
#include "host/diagnose/nearest.h"
#include "host/diagnose/report.h"
#include "host/diagnose/source.h"
#include "host/diagnose/workspace.h"

namespace zarn {
namespace {

using tessel::limit_t;
using tessel::parameter_traits_t;
using tessel::var_t;
using tessel::str::shortest;

bool is_blank(std::string_view text) { return text.find_first_not_of(" \t\r\n") == std::string_view::npos; }

}  // namespace

class ParameterChecks::Checks {
public:
    Checks(const graph_t& graph, Report& report, const check_options_t& options)
        : graph_(graph), report_(report), options_(options) {}

    void run(std::size_t position, evaluations_t evaluations, tessel::result_t result) {
        const node_t& node = graph_.nodes[position];
        check_evaluations(node, evaluations);
        check_result(node, evaluations, result);
        check_mixture(node);
        if (result == tessel::result_ok) check_values(node, evaluations);
        check_kinds(node, evaluations);
        check_quotients(node, evaluations);
    }

    /// What waits for a workspace, in one finding where there are many.
    void tell_waiting() {
        std::ranges::stable_sort(waiting_, {}, &waiting_t::node);
        std::vector<std::string> names;
        std::set<std::string> known;
        for (const waiting_t& waiting : waiting_)
            for (std::string& name : names_in(waiting.evaluation.text()))
                if (known.insert(name).second) names.push_back(std::move(name));
        if (waiting_.size() < most_single || names.empty()) {
            for (const waiting_t& waiting : waiting_) tell_single(waiting);
            return;
        }
        const finding_id id = report_.at_place(
            options_.final_bridge ? "Z401" : "Z402", options_.final_bridge ? severity_t::error : severity_t::warning, 0,
            "", tessel::format("{} need {}: -w FILE.py", counted(waiting_.size(), "expression"), few_of(names)),
            "name the file that makes them with -w FILE.py");
        for (const waiting_t& waiting : waiting_)
            report_[id].steps.push_back(tessel::format("{}: \"{}\" is {}", waiting.node->path(), waiting.key,
                                                       in_quotes(waiting.evaluation.text())));
    }

private:
    /// An expression that the bridge at hand cannot evaluate, and another workspace may.
    struct waiting_t {
        const node_t* node;
        std::string key;
        evaluation_t evaluation;
    };

    void check_evaluations(const node_t& node, evaluations_t evaluations) {
        std::vector<std::string> told;
        for (const evaluation_t& evaluation : evaluations) {
            if (evaluation.result == tessel::result_ok) continue;
            const std::string key = evaluation.key();
            if (std::ranges::find(told, key) != told.end()) continue;
            told.push_back(key);
            const bool series = evaluation.kind == evaluation_t::kind_t::series;
            const bool hopeless = is_blank(evaluation.text()) || evaluation.text() == "[]";
            if (!hopeless && waits_for_workspace(evaluation)) {
                waiting_.push_back({&node, key, evaluation});
                continue;
            }
            if (hopeless)
                report_.at_block(series ? "Z412" : "Z401", severity_t::error, node,
                                 tessel::format("\"{}\" is empty{}", key, series ? ", and names no series" : ""),
                                 series ? "write an expression that gives a series" : "write an expression");
            else tell_refused(node, evaluation, key, series);
            point_at(node, key);
        }
    }

    /// Whether an expression may be fine once the workspace has been made.
    bool waits_for_workspace(const evaluation_t& evaluation) const {
        if (!options_.final_bridge) return true;
        return evaluation.kind != evaluation_t::kind_t::series && evaluation.told().ends_with("is not defined");
    }

    void tell_single(const waiting_t& waiting) {
        if (options_.final_bridge)
            tell_refused(*waiting.node, waiting.evaluation, waiting.key,
                         waiting.evaluation.kind == evaluation_t::kind_t::series);
        else
            report_.at_block("Z402", severity_t::warning, *waiting.node,
                             tessel::format("\"{}\" is the expression {}, which is not evaluated here", waiting.key,
                                            in_quotes(waiting.evaluation.text())),
                             "check with --python, -w FILE.py or -e CODE to have it evaluated");
        point_at(*waiting.node, waiting.key);
    }

    /// Texts where blocks work with numbers.
    void check_kinds(const node_t& node, evaluations_t evaluations) {
        if (node.is(hash_constant)) return;  // of which the signal itself is a text
        for (const evaluation_t& evaluation : evaluations) {
            if (evaluation.kind != evaluation_t::kind_t::value || evaluation.result != tessel::result_ok) continue;
            if (!evaluation.value.is_text()) continue;
            const std::string key = evaluation.key();
            report_.at_block("Z423", severity_t::warning, node,
                             tessel::format("\"{}\" is the text {} where a number belongs; it counts as {}", key,
                                            in_quotes(evaluation.value.text()), shortest(double(evaluation.value))),
                             "write an expression that gives a number");
            point_at(node, key);
        }
    }

    void tell_refused(const node_t& node, const evaluation_t& evaluation, const std::string& key, bool series) {
        std::string what = series ? tessel::format("\"{}\" is {}, and the workspace has no such series", key,
                                                   in_quotes(evaluation.text()))
                                  : tessel::format("\"{}\" is the expression {}, which cannot be evaluated", key,
                                                   in_quotes(evaluation.text()));
        if (!evaluation.told().empty()) what += " (" + evaluation.told() + ")";
        report_.at_block(series ? "Z412" : "Z401", severity_t::error, node, what,
                         "give the workspace what it names (-w FILE.py), or mend the expression");
    }

    void check_result(const node_t& node, evaluations_t evaluations, tessel::result_t result) {
        if (result == tessel::result_table_mismatch) return check_tables(node, evaluations);
        if (result != tessel::result_bad_parameter) return;
        for (const parameter_traits_t& parameter : node.row->traits().parameters) {
            if (parameter.limit == limit_t::above_0)
                return tell_frequency(node, parameter, evaluations, severity_t::error);
            if (parameter.limit == limit_t::not_below_0) return tell_times(node, evaluations, severity_t::error);
            if (parameter.content == tessel::content_t::word) return tell_word(node, parameter);
        }
    }

    void check_values(const node_t& node, evaluations_t evaluations) {
        bool times = false;  // whether one is below 0
        for (const parameter_traits_t& parameter : node.row->traits().parameters) {
            const auto value = [&] { return number_of(node, evaluations, parameter); };
            switch (parameter.limit) {
                case limit_t::above_0:
                    if (!(value() > 0.0)) tell_frequency(node, parameter, evaluations, severity_t::warning);
                    break;
                case limit_t::not_below_0: times = times || value() < 0.0; break;
                case limit_t::rising: check_breakpoints(node, parameter, evaluations); break;
                case limit_t::upper_end: check_range(node, parameter, evaluations); break;
                case limit_t::not_0: check_seed(node, parameter, value()); break;
                case limit_t::highest_bit: check_field(node, parameter, evaluations); break;
                default: break;
            }
            if (parameter.content == tessel::content_t::word) check_word(node, parameter);
        }
        if (times) tell_times(node, evaluations, severity_t::warning);
    }

    void tell_frequency(const node_t& node, const parameter_traits_t& parameter, evaluations_t evaluations,
                        severity_t severity) {
        report_.at_block("Z407", severity, node,
                         tessel::format("\"{}\" is {}, but must be above 0", parameter.key,
                                        shortest(number_of(node, evaluations, parameter))),
                         tessel::format("write a {} in {}, above 0", parameter.key, parameter.unit.words));
        point_at(node, parameter.key);
    }

    void tell_times(const node_t& node, evaluations_t evaluations, severity_t severity) {
        std::string all;
        const char* first = nullptr;  // of those below 0
        for (const parameter_traits_t& parameter : node.row->traits().parameters) {
            if (parameter.limit != limit_t::not_below_0) continue;
            const double value = number_of(node, evaluations, parameter);
            all += tessel::format("{}\"{}\" is {}", all.empty() ? "" : " and ", parameter.key, shortest(value));
            if (value < 0.0 && first == nullptr) first = parameter.key;
        }
        report_.at_block("Z406", severity, node, all + ", but neither can be below 0",
                         "write times in seconds, 0 or above");
        if (first != nullptr) point_at(node, first);
    }

    void tell_word(const node_t& node, const parameter_traits_t& parameter) {
        const var_t& given = node.block->param(parameter.key);
        report_.at_block("Z408", severity_t::error, node,
                         tessel::format("there is no {} {}", parameter.key,
                                        given.is_text() ? in_quotes(given.text()) : given.to_string()),
                         "write one of " + list_of(words_of(parameter)));
        point_at(node, parameter.key);
    }

    void check_tables(const node_t& node, evaluations_t evaluations) {
        std::string sizes;
        for (const evaluation_t& evaluation : evaluations) {
            if (evaluation.kind != evaluation_t::kind_t::array) continue;
            if (evaluation.result != tessel::result_ok) return;  // a table that is not known: told
            const auto [rows, columns] = evaluation.array().dimensions;
            sizes += sizes.empty() ? "" : ", ";
            sizes += tessel::format("\"{}\" has ", evaluation.key());
            sizes += columns == 1 ? counted(rows, "element") : tessel::format("{} by {} elements", rows, columns);
        }
        report_.at_block("Z404", severity_t::error, node, "the table does not fit its breakpoints: " + sizes,
                         breakpoint_lists(node) == 1 ? "give \"bp1\" and \"out\" the same number of elements"
                                                     : "give \"out\" a row for each element of \"bp1\", of as many "
                                                       "elements as \"bp2\" has");
        point_at(node, "out");
    }

    static std::ptrdiff_t breakpoint_lists(const node_t& node) {
        return std::ranges::count(node.row->traits().parameters, limit_t::rising, &parameter_traits_t::limit);
    }

    void check_breakpoints(const node_t& node, const parameter_traits_t& parameter, evaluations_t evaluations) {
        const auto found = std::ranges::find_if(evaluations, [&](const evaluation_t& evaluation) {
            return evaluation.kind == evaluation_t::kind_t::array && evaluation.key() == parameter.key;
        });
        if (found == evaluations.end()) return;
        const auto& values = found->array().values;
        // between the points of a grid there is nothing until there are two each way
        if (breakpoint_lists(node) > 1 && values.size() < 2) {
            report_.at_block("Z413", severity_t::warning, node,
                             tessel::format("\"{}\" has {}, and interpolation needs two", parameter.key,
                                            counted(values.size(), "breakpoint")),
                             "write at least two breakpoints");
            point_at(node, parameter.key);
        }
        if (std::ranges::any_of(values, [](const var_t& value) { return !std::isfinite(double(value)); })) {
            report_.at_block(
                "Z405", severity_t::warning, node,
                tessel::format("the breakpoints in \"{}\" are not all finite, and between others the table "
                               "gives no number",
                               parameter.key),
                "write finite breakpoints that rise");
            point_at(node, parameter.key);
            return;
        }
        for (std::size_t i = 1; i < values.size(); ++i) {
            if (double(values[i - 1]) < double(values[i])) continue;
            report_.at_block(
                "Z405", severity_t::warning, node,
                tessel::format("the breakpoints in \"{}\" do not rise: {} is followed by {}", parameter.key,
                               shortest(double(values[i - 1])), shortest(double(values[i]))),
                "write breakpoints that rise, and the table in their order");
            point_at(node, parameter.key);
            break;
        }
    }

    void check_range(const node_t& node, const parameter_traits_t& upper, evaluations_t evaluations) {
        const parameter_traits_t& lower = *partner(node, limit_t::lower_end);
        const double max = number_of(node, evaluations, upper), min = number_of(node, evaluations, lower);
        const std::int64_t range = tessel::truncate64(max - min + 1.0);
        if (range > 0) return;
        report_.at_block("Z403", range == 0 ? severity_t::error : severity_t::warning, node,
                         range == 0
                             ? tessel::format("\"{}\" {} and \"{}\" {} leave no number to choose: the division by "
                                              "their range is a fault that ends the program",
                                              upper.key, shortest(max), lower.key, shortest(min))
                             : tessel::format("\"{}\" {} is below \"{}\" {}, so values can be of any size", upper.key,
                                              shortest(max), lower.key, shortest(min)),
                         tessel::format("write a \"{}\" that is not below \"{}\"", upper.key, lower.key));
        point_at(node, upper.key);
    }

    void check_seed(const node_t& node, const parameter_traits_t& parameter, double seed) {
        if (tessel::to_uint64(seed) != 0) return;
        report_.at_block("Z415", severity_t::warning, node,
                         tessel::format("the \"{}\" {} stays 0, so the output is \"{}\" for ever", parameter.key,
                                        shortest(seed), partner(node, limit_t::lower_end)->key),
                         tessel::format("write another {}", parameter.key));
        point_at(node, parameter.key);
    }

    void check_field(const node_t& node, const parameter_traits_t& highest, evaluations_t evaluations) {
        const parameter_traits_t& lowest = *partner(node, limit_t::lowest_bit);
        const std::int32_t lsb = int(value_of(node, evaluations, lowest));
        const std::int32_t msb = int(value_of(node, evaluations, highest));
        const std::uint32_t mask = (1u << ((static_cast<std::uint32_t>(msb) + 1u) % 32u)) - 1u;
        if ((mask >> (static_cast<std::uint32_t>(lsb) % 32u)) != 0) return;
        report_.at_block(
            "Z416", severity_t::warning, node,
            tessel::format("the field from bit {} to bit {} holds nothing, so the output is always \"coeffB\"", lsb,
                           msb),
            tessel::format("choose \"{}\" not above \"{}\", and \"{}\" at most 30", lowest.key, highest.key,
                           highest.key));
        point_at(node, highest.key);
    }

    /// Expressions in which // cuts all of a quotient off.
    void check_quotients(const node_t& node, evaluations_t evaluations) {
        for (const evaluation_t& evaluation : evaluations) {
            if (evaluation.kind != evaluation_t::kind_t::value || evaluation.result != tessel::result_ok) continue;
            if (evaluation.text().find("//") == std::string::npos || evaluation.value.is_text()) continue;
            if (double(evaluation.value) != 0.0) continue;
            report_.at_block("Z422", severity_t::note, node,
                             tessel::format("the expression {} is 0: // leaves the whole part of a quotient",
                                            in_quotes(evaluation.text())),
                             "write / where the fraction counts");
        }
    }

    /// A word that is none of the keywords and that the class takes all the same, as if it were its default.
    void check_word(const node_t& node, const parameter_traits_t& parameter) {
        const std::vector<std::string> known = words_of(parameter);
        const var_t& given = node.block->param(parameter.key);
        const std::string text = given.is_text() ? given.text() : given.to_string();
        if (std::ranges::find(known, text) != known.end()) return;
        const std::string near = nearest_name(text, known);
        report_.at_block("Z306", severity_t::warning, node,
                         tessel::format("there is no {} {}, so the {} is to {}", parameter.key, in_quotes(text),
                                        node.class_name(), parameter.value),
                         near.empty() ? "write one of " + list_of(known) : tessel::format("write \"{}\"", near));
        point_at(node, parameter.key);
    }

    /// Texts of a class whose first parameter is a number: they are read as numbers, not evaluated.
    void check_mixture(const node_t& node) {
        const tessel::block_traits_t& traits = node.row->traits();
        if (!traits.first_decides) return;
        const char* first = traits.parameters.front().key;
        if (node.block->param(first).is_text()) return;
        for (const auto& [key, parameter] : node.properties->parameters) {
            if (!parameter.value.is_text()) continue;
            char* end = nullptr;
            const char* text = parameter.value.text();
            std::strtod(text, &end);
            if (end != text && is_blank(end)) continue;
            report_.at_block("Z414", severity_t::warning, node,
                             tessel::format("\"{}\" is the text {}, which is not evaluated, since \"{}\" is a number; "
                                            "it counts as {}",
                                            key, in_quotes(text), first, shortest(double(parameter.value))),
                             tessel::format("write \"{}\" in quotes too", first));
            point_at(node, key);
        }
    }

    static double number_of(const node_t& node, evaluations_t evaluations, const parameter_traits_t& parameter) {
        return double(value_of(node, evaluations, parameter));
    }
    /// The parameter of the same class with that limit.
    static const parameter_traits_t* partner(const node_t& node, limit_t limit) {
        return &*std::ranges::find(node.row->traits().parameters, limit, &parameter_traits_t::limit);
    }
    static std::vector<std::string> words_of(const parameter_traits_t& parameter) {
        std::vector<std::string> words;
        for (const tessel::word_t& word : parameter.words) words.emplace_back(word.word);
        return words;
    }
    static std::string list_of(const std::vector<std::string>& words) {
        std::string list;
        for (const std::string& word : words) list += (list.empty() ? "" : ", ") + word;
        return list;
    }

    /// Lets the finding told last point at a parameter.
    void point_at(const node_t& node, const std::string& key) {
        finding_t& finding = report_[report_.last()];
        if (!key.empty() && finding.pointer == node.place()) finding.pointer += segment(key);
    }

    static constexpr std::size_t most_single = 3;  // as many expressions are not told one by one

    const graph_t& graph_;
    Report& report_;
    const check_options_t& options_;
    std::vector<waiting_t> waiting_;
};

ParameterChecks::ParameterChecks(const graph_t& graph, Report& report, const check_options_t& options)
    : checks_(std::make_unique<Checks>(graph, report, options)) {}

ParameterChecks::~ParameterChecks() = default;

void ParameterChecks::operator()(std::size_t position, evaluations_t evaluations, tessel::result_t result) const {
    checks_->run(position, evaluations, result);
}

void ParameterChecks::tell_waiting() const { checks_->tell_waiting(); }

}  // namespace zarn
