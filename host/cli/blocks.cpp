// zarn blocks: the block classes.

#include <CLI/App.hpp>
#include <algorithm>
#include <map>
#include <nlohmann/json.hpp>

#include "core/format.h"
#include "framework/classes.h"
#include "framework/entries.h"
#include "host/cli/heads.h"
#include "host/cli/session.h"
#include "host/cli/verbs.h"
#include "host/diagnose/nearest.h"

namespace zarn {
namespace {

using json_t = nlohmann::ordered_json;
using row_t = tessel::class_row_t;

struct blocks_options_t {
    std::string name;
    bool types = false;
    bool json = false;
};

/// The head of the file that the class is made in.
std::string_view head_of(const row_t& row) {
    const std::string_view file = std::string_view(row.name) == "subsystem" ? "subsys" : row.name;
    const auto heads = block_heads();
    const auto found = std::ranges::find(heads, file, &head_t::name);
    return found != heads.end() ? found->text : std::string_view();
}

/// The first sentence behind "name: ", which may run over lines.
std::string summary_of(const row_t& row) {
    std::string text(head_of(row));
    text.erase(std::min(text.find("\n\n"), text.size()));
    std::ranges::replace(text, '\n', ' ');
    const auto colon = text.find(": ");
    text.erase(0, colon != std::string::npos ? colon + 2 : 0);
    text.erase(std::min(text.find(". "), text.size()));
    if (text.ends_with('.')) text.pop_back();
    return text;
}

std::string count_text(int count) {
    if (count == tessel::as_given) return "any";
    return count == tessel::at_least_3 ? "3 or more" : tessel::format("{}", count);
}

/// "int8;flt64 -> flt64"
std::string types_text(const tessel::signature_t& signature) {
    std::string text;
    for (int i = 0; i < signature.inputs + signature.outputs; ++i) {
        if (i == signature.inputs) text += text.empty() ? "-> " : " -> ";
        else if (i != 0) text += ';';
        text += tessel::short_name(signature.types[static_cast<std::size_t>(i)]);
    }
    return signature.outputs == 0 ? text + " ->" : text;
}

std::vector<std::string> all_types(const row_t& row) {
    std::vector<const tessel::signature_t*> rows;
    rows.reserve(row.entry->accepted.size());
    for (const auto& signature : row.entry->accepted) rows.push_back(&signature);
    std::ranges::sort(rows, [](const auto* a, const auto* b) {
        return std::tie(a->inputs, a->types) < std::tie(b->inputs, b->types);
    });
    std::vector<std::string> texts;
    texts.reserve(rows.size());
    for (const auto* signature : rows) texts.push_back(types_text(*signature));
    // classes that choose by an operator first have one table for all of them
    texts.erase(std::unique(texts.begin(), texts.end()), texts.end());
    return texts;
}

std::map<std::string, const tessel::param_t*> parameters_of(const row_t& row) {
    std::map<std::string, const tessel::param_t*> sorted;
    if (const auto* defaults = tessel::factory::defaults_of(row.name); defaults != nullptr)
        for (const auto& [key, parameter] : *defaults) sorted.emplace(key, &parameter);
    return sorted;
}

json_t describe(const row_t& row) {
    json_t parameters = json_t::object();
    for (const auto& [key, parameter] : parameters_of(row)) {
        const auto& value = parameter->value;
        parameters[key] = {{"default", value.is_text() ? json_t(value.text()) : json_t(static_cast<int>(value))},
                           {"unit", parameter->suffix}};
    }
    const auto count = [](int n) { return n >= 0 ? json_t(n) : json_t(); };
    return {{"class", row.name},
            {"summary", summary_of(row)},
            {"inputs", count(row.inputs)},
            {"outputs", count(row.outputs)},
            {"parameters", std::move(parameters)},
            {"types", all_types(row)},
            {"description", head_of(row)}};
}

void print_list() {
    for (const row_t& row : tessel::factory::class_rows())
        out(tessel::format("{:<15} {}\n", row.name, summary_of(row)));
}

void print_class(const row_t& row, bool list_types) {
    out(head_of(row));
    out(tessel::format("\nPorts      inputs: {}, outputs: {}\n", count_text(row.inputs), count_text(row.outputs)));
    const char* title = "Parameters ";
    for (const auto& [key, parameter] : parameters_of(row)) {
        const auto& value = parameter->value;
        out(tessel::format("{}{}{}, default {}\n", title, key, parameter->suffix,
                           value.is_text() ? tessel::format("'{}'", value.text()) : value.to_string()));
        title = "           ";
    }
    const auto types = all_types(row);
    constexpr std::size_t few = 12;
    if (types.empty()) {
        out("Types      none: it is gone in a run, or passes any type on\n");
        return;
    }
    out(tessel::format("Types      {} combination{}\n", types.size(), types.size() == 1 ? "" : "s"));
    const std::size_t shown = list_types || types.size() <= few ? types.size() : few;
    for (std::size_t i = 0; i < shown; ++i) out(tessel::format("           {}\n", types[i]));
    if (shown < types.size()) out("           ... (--types shows all)\n");
}

int blocks(const blocks_options_t& options) {
    const auto rows = tessel::factory::class_rows();
    if (options.name.empty()) {
        if (!options.json) {
            print_list();
            return status_ok;
        }
        json_t all = json_t::array();
        for (const row_t& row : rows) all.push_back(describe(row));
        out(all.dump() + "\n");
        return status_ok;
    }
    const auto found =
        std::ranges::find(rows, options.name, [](const row_t& row) { return std::string_view(row.name); });
    if (found == rows.end()) {
        std::vector<std::string> known;
        for (const row_t& row : rows) known.emplace_back(row.name);
        const std::string near = nearest_name(options.name, known);
        message(tessel::format("no block class '{}'; {}", options.name,
                               near.empty() ? "'zarn blocks' lists them" : "did you mean " + near + "?"));
        return status_usage;
    }
    if (options.json) out(describe(*found).dump() + "\n");
    else print_class(*found, options.types);
    return status_ok;
}

}  // namespace

void add_blocks(CLI::App& app, int& status) {
    auto options = std::make_shared<blocks_options_t>();
    auto* verb = app.add_subcommand("blocks", "List the block classes, or describe one");
    verb->add_option("CLASS", options->name, "Class to describe");
    verb->add_flag("--types", options->types, "List all type combinations that can run");
    verb->add_flag("--json", options->json, "JSON on standard output");
    verb->footer("Example:\n  zarn blocks clamp");
    verb->callback([options, &status] { status = guarded([&] { return blocks(*options); }); });
}

}  // namespace zarn
