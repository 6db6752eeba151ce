// Parameters: expressions that the bridge refused, and values that no block can work with.

#include <algorithm>
#include <cmath>

#include "core/convert.h"
#include "core/hash.h"
#include "core/str.h"
#include "host/diagnose/analysis.h"
#include "host/diagnose/nearest.h"
#include "host/diagnose/source.h"

namespace zarn {
namespace {

using tessel::class_hash_of;
using tessel::var_t;
using tessel::str::shortest;

bool is_blank(std::string_view text) { return text.find_first_not_of(" \t\r\n") == std::string_view::npos; }

class Parameters {
public:
    Parameters(const analysis_t& analysis, Report& report, const check_options_t& options)
        : analysis_(analysis), report_(report), options_(options) {}

    void run() {
        for (std::size_t i = 0; i < analysis_.graph.nodes.size(); ++i) {
            const node_t& node = analysis_.graph.nodes[i];
            const evaluations_t& evaluations = analysis_.typing.evaluations[i];
            check_evaluations(node, evaluations);
            check_result(node, evaluations, analysis_.typing.results[i]);
            check_mixture(node);
            if (analysis_.typing.results[i] == tessel::result_ok) check_values(node, evaluations);
        }
    }

private:
    void check_evaluations(const node_t& node, const evaluations_t& evaluations) {
        std::vector<std::string> told;
        for (const evaluation_t& evaluation : evaluations) {
            if (evaluation.result == tessel::result_ok) continue;
            const std::string key = key_of(node, evaluation);
            if (std::ranges::find(told, key) != told.end()) continue;
            told.push_back(key);
            const bool series = evaluation.kind == evaluation_t::kind_t::series;
            const bool hopeless = is_blank(evaluation.text) || evaluation.text == "[]";
            if (hopeless)
                report_.at_block(series ? "Z412" : "Z401", severity_t::error, node,
                                 tessel::format("\"{}\" is empty{}", key, series ? ", and names no series" : ""),
                                 series ? "write an expression that gives a series" : "write an expression");
            else if (!options_.final_bridge)
                report_.at_block("Z402", severity_t::warning, node,
                                 tessel::format("\"{}\" is the expression {}, which is not evaluated here", key,
                                                in_quotes(evaluation.text)),
                                 "check with --python, -w FILE.py or -e CODE to have it evaluated");
            else tell_refused(node, evaluation, key, series);
            point_at(node, key);
        }
    }

    void tell_refused(const node_t& node, const evaluation_t& evaluation, const std::string& key, bool series) {
        std::string what = series ? tessel::format("\"{}\" is {}, and the workspace has no such series", key,
                                                   in_quotes(evaluation.text))
                                  : tessel::format("\"{}\" is the expression {}, which cannot be evaluated", key,
                                                   in_quotes(evaluation.text));
        if (!evaluation.told.empty()) what += " (" + evaluation.told + ")";
        report_.at_block(series ? "Z412" : "Z401", severity_t::error, node, what,
                         "give the workspace what it names (-w FILE.py), or mend the expression");
    }

    void check_result(const node_t& node, const evaluations_t& evaluations, tessel::result_t result) {
        if (result == tessel::result_table_mismatch) return check_tables(node, evaluations);
        if (result != tessel::result_bad_parameter) return;
        if (node.is(class_hash_of("sinewave"))) tell_frequency(node, evaluations, severity_t::error);
        else if (node.is(class_hash_of("squarewave"))) tell_times(node, evaluations, severity_t::error);
        else if (node.is(class_hash_of("logical")) || node.is(class_hash_of("relational"))) tell_operator(node);
    }

    void check_values(const node_t& node, const evaluations_t& evaluations) {
        switch (node.block->class_hash()) {
            case class_hash_of("random"): return check_random(node, evaluations);
            case class_hash_of("sinewave"):
                if (!(double(value_of(node, evaluations, "frequency", "_frequency")) > 0.0))
                    tell_frequency(node, evaluations, severity_t::warning);
                return;
            case class_hash_of("squarewave"):
                if (double(value_of(node, evaluations, "timeOff", "_time_off")) < 0.0 ||
                    double(value_of(node, evaluations, "timeOn", "_time_on")) < 0.0)
                    tell_times(node, evaluations, severity_t::warning);
                return;
            case class_hash_of("lut1d"):
            case class_hash_of("lut2d"): return check_breakpoints(node, evaluations);
            case class_hash_of("unpack"): return check_field(node, evaluations);
            case class_hash_of("cast"): return check_cast(node);
            default: return;
        }
    }

    void tell_frequency(const node_t& node, const evaluations_t& evaluations, severity_t severity) {
        report_.at_block("Z407", severity, node,
                         tessel::format("\"frequency\" is {}, but must be above 0",
                                        shortest(double(value_of(node, evaluations, "frequency", "_frequency")))),
                         "write a frequency in hertz, above 0");
        point_at(node, "frequency");
    }

    void tell_times(const node_t& node, const evaluations_t& evaluations, severity_t severity) {
        const double off = double(value_of(node, evaluations, "timeOff", "_time_off"));
        const double on = double(value_of(node, evaluations, "timeOn", "_time_on"));
        report_.at_block("Z406", severity, node,
                         tessel::format("\"timeOff\" is {} and \"timeOn\" is {}, but neither can be below 0",
                                        shortest(off), shortest(on)),
                         "write times in seconds, 0 or above");
        point_at(node, off < 0.0 ? "timeOff" : "timeOn");
    }

    void tell_operator(const node_t& node) {
        const std::vector<std::string> known = node.is(class_hash_of("logical"))
                                                   ? std::vector<std::string>{"and", "or", "nand", "nor"}
                                                   : std::vector<std::string>{"eq", "ne", "lt", "le", "gt", "ge"};
        std::string list;
        for (const std::string& word : known) list += (list.empty() ? "" : ", ") + word;
        const var_t& given = node.block->param("operator");
        report_.at_block(
            "Z408", severity_t::error, node,
            tessel::format("there is no operator {}", given.is_text() ? in_quotes(given.text()) : given.to_string()),
            "write one of " + list);
        point_at(node, "operator");
    }

    void check_tables(const node_t& node, const evaluations_t& evaluations) {
        std::string sizes;
        for (const evaluation_t& evaluation : evaluations) {
            if (evaluation.kind != evaluation_t::kind_t::array) continue;
            if (evaluation.result != tessel::result_ok) return;  // a table that is not known: told
            const auto [rows, columns] = evaluation.array.dimensions;
            sizes += sizes.empty() ? "" : ", ";
            sizes += tessel::format("\"{}\" has ", key_of(node, evaluation));
            sizes += columns == 1 ? counted(rows, "element") : tessel::format("{} by {} elements", rows, columns);
        }
        report_.at_block("Z404", severity_t::error, node, "the table does not fit its breakpoints: " + sizes,
                         node.is(class_hash_of("lut1d")) ? "give \"bp1\" and \"out\" the same number of elements"
                                                         : "give \"out\" a row for each element of \"bp1\", of as many "
                                                           "elements as \"bp2\" has");
        point_at(node, "out");
    }

    void check_breakpoints(const node_t& node, const evaluations_t& evaluations) {
        for (const evaluation_t& evaluation : evaluations) {
            const std::string key = key_of(node, evaluation);
            if (evaluation.kind != evaluation_t::kind_t::array || key == "out") continue;
            const auto& values = evaluation.array.values;
            if (node.is(class_hash_of("lut2d")) && values.size() < 2) {
                report_.at_block("Z413", severity_t::warning, node,
                                 tessel::format("\"{}\" has {}, and interpolation needs two", key,
                                                counted(values.size(), "breakpoint")),
                                 "write at least two breakpoints");
                point_at(node, key);
            }
            for (std::size_t i = 1; i < values.size(); ++i) {
                if (double(values[i - 1]) < double(values[i])) continue;
                report_.at_block("Z405", severity_t::warning, node,
                                 tessel::format("the breakpoints in \"{}\" do not rise: {} is followed by {}", key,
                                                shortest(double(values[i - 1])), shortest(double(values[i]))),
                                 "write breakpoints that rise, and the table in their order");
                point_at(node, key);
                break;
            }
        }
    }

    void check_random(const node_t& node, const evaluations_t& evaluations) {
        const double max = double(value_of(node, evaluations, "max", "_max"));
        const double min = double(value_of(node, evaluations, "min", "_min"));
        const std::int64_t range = tessel::truncate64(max - min + 1.0);
        if (range <= 0) {
            report_.at_block("Z403", range == 0 ? severity_t::error : severity_t::warning, node,
                             range == 0 ? tessel::format("\"max\" {} and \"min\" {} leave no number to choose: the "
                                                         "division by their range is a fault that ends the program",
                                                         shortest(max), shortest(min))
                                        : tessel::format("\"max\" {} is below \"min\" {}, so values can be of any size",
                                                         shortest(max), shortest(min)),
                             "write a \"max\" that is not below \"min\"");
            point_at(node, "max");
        }
        const double seed = double(value_of(node, evaluations, "seed", "_seed"));
        if (tessel::to_uint64(seed) == 0) {
            report_.at_block(
                "Z415", severity_t::warning, node,
                tessel::format("the \"seed\" {} stays 0, so the output is \"min\" for ever", shortest(seed)),
                "write another seed");
            point_at(node, "seed");
        }
    }

    void check_field(const node_t& node, const evaluations_t& evaluations) {
        const std::int32_t lsb = int(value_of(node, evaluations, "lsb", "_lsb"));
        const std::int32_t msb = int(value_of(node, evaluations, "msb", "_msb"));
        const std::uint32_t mask = (1u << ((static_cast<std::uint32_t>(msb) + 1u) % 32u)) - 1u;
        if ((mask >> (static_cast<std::uint32_t>(lsb) % 32u)) != 0) return;
        report_.at_block(
            "Z416", severity_t::warning, node,
            tessel::format("the field from bit {} to bit {} holds nothing, so the output is always \"coeffB\"", lsb,
                           msb),
            "choose \"lsb\" not above \"msb\", and \"msb\" at most 30");
        point_at(node, "msb");
    }

    void check_cast(const node_t& node) {
        static const std::vector<std::string> known{"bool",   "int8",  "uint8",  "int16", "uint16", "int32",
                                                    "uint32", "int64", "uint64", "flt32", "flt64"};
        const var_t& type = node.block->param("type");
        const std::string text = type.is_text() ? type.text() : type.to_string();
        if (std::ranges::find(known, text) != known.end()) return;
        const std::string near = nearest_name(text, known);
        std::string list;
        for (const std::string& word : known) list += (list.empty() ? "" : ", ") + word;
        report_.at_block("Z306", severity_t::warning, node,
                         tessel::format("there is no type {}, so the cast is to flt64", in_quotes(text)),
                         near.empty() ? "write one of " + list : tessel::format("write \"{}\"", near));
        point_at(node, "type");
    }

    /// Texts of a class whose first parameter is a number: they are read as numbers, not evaluated.
    void check_mixture(const node_t& node) {
        struct class_t {
            std::uint32_t hash;
            const char* first;
        };
        static constexpr class_t classes[] = {
            {class_hash_of("step"), "initialValue"},  {class_hash_of("sinewave"), "frequency"},
            {class_hash_of("squarewave"), "timeOff"}, {class_hash_of("random"), "max"},
            {class_hash_of("debounce"), "fall"},      {class_hash_of("hysteresis"), "valueOff"}};
        const auto found = std::ranges::find(classes, node.block->class_hash(), &class_t::hash);
        if (found == std::end(classes) || node.block->param(found->first).is_text()) return;
        for (const auto& [key, parameter] : node.properties->parameters) {
            if (!parameter.value.is_text()) continue;
            char* end = nullptr;
            const char* text = parameter.value.text();
            std::strtod(text, &end);
            if (end != text && is_blank(end)) continue;
            report_.at_block("Z414", severity_t::warning, node,
                             tessel::format("\"{}\" is the text {}, which is not evaluated, since \"{}\" is a number; "
                                            "it counts as {}",
                                            key, in_quotes(text), found->first, shortest(double(parameter.value))),
                             tessel::format("write \"{}\" in quotes too", found->first));
            point_at(node, key);
        }
    }

    /// Lets the finding told last point at a parameter.
    void point_at(const node_t& node, const std::string& key) {
        finding_t& finding = report_[report_.last()];
        if (!key.empty() && finding.pointer == node.pointer) finding.pointer += segment(key);
    }

    const analysis_t& analysis_;
    Report& report_;
    const check_options_t& options_;
};

}  // namespace

void check_parameters(const analysis_t& analysis, Report& report, const check_options_t& options) {
    Parameters(analysis, report, options).run();
}

}  // namespace zarn
