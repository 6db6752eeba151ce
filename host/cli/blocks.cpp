// zarn blocks: the block classes.

#include <CLI/App.hpp>
#include <algorithm>
#include <nlohmann/json.hpp>

#include "core/format.h"
#include "host/cli/command.h"
#include "host/cli/verbs.h"
#include "host/diagnose/nearest.h"
#include "host/reference/describe.h"
#include "host/reference/reference.h"

namespace zarn {
namespace {

using json_t = nlohmann::ordered_json;

struct blocks_options_t {
    std::string name;
    bool types = false;
    bool json = false;
};

json_t json_head() { return {{"schema", json_schema}, {"result", 0}}; }

void print_line(const class_row_t& row) { out(tessel::format("{:<15} {}\n", row.name, summary_of(row))); }

/// Lines under one title: the title before the first, blanks before the others.
void print_under(const char* title, const std::vector<std::string>& lines) {
    for (const std::string& line : lines) {
        out(tessel::format("{:<10} {}\n", title, line));
        title = "";
    }
}

void print_parameters(const class_row_t& row) {
    std::vector<std::string> defaults, meanings;
    for (const auto& parameter : row.traits().parameters) {
        const std::string value = parameter.value != nullptr ? tessel::format("'{}'", parameter.value)
                                                             : std::to_string(tessel::no_port_number);
        defaults.push_back(tessel::format("{}, default {}", key_with_unit(parameter), value));
        meanings.push_back(
            tessel::format("{}: {} ({})", parameter.key, parameter.meaning, content_in_words(parameter)));
    }
    print_under("Parameters", defaults);
    print_under("Meaning", meanings);
}

void print_types(const class_row_t& row, bool list_types) {
    auto types = combinations_of(row);
    constexpr std::size_t few = 12;
    if (types.empty()) {
        out("Types      none: it is gone in a run, or passes any type on\n");
        return;
    }
    out(tessel::format("Types      {} combination{}\n", types.size(), types.size() == 1 ? "" : "s"));
    if (!list_types && types.size() > few) {
        types.resize(few);
        types.emplace_back("... (--types shows all)");
    }
    print_under("", types);
    print_under("In words", types_in_words(row));
}

void print_class(const class_row_t& row, bool list_types) {
    const auto& traits = row.traits();
    out(head_of(row));
    const std::string outputs = traits.output_count >= 0 ? std::to_string(traits.output_count) : "as drawn";
    out(tessel::format("\nPorts      inputs: {}, outputs: {}\n", inputs_in_words(row), outputs));
    print_under("In a run", formula_of(row));
    print_parameters(row);
    print_types(row, list_types);
    out(tessel::format("Directly   {}\n", order_in_words(row)));
    if (!fault_in_words(row).empty()) out(tessel::format("Fault      {}\n", fault_in_words(row)));
    out(tessel::format("Also       {}\n", everyday_names(row)));
}

/// What is said where no class has the name: those that people call so, or the nearest name.
int answer_other_name(const std::string& name, bool json) {
    const auto called = classes_called(name);
    if (!called.empty()) {
        message(tessel::format("no block class is named '{}'; this is what people call so:", name));
        json_t all = json_head();
        for (const class_row_t* row : called)
            if (json) all["blocks"].push_back(describe_class(*row));
            else print_line(*row);
        if (json) out(all.dump() + "\n");
        return status_ok;
    }
    std::vector<std::string> known;
    for (const class_row_t& row : tessel::factory::class_rows()) known.emplace_back(row.name);
    const std::string near = nearest_name(name, known);
    throw SessionError(problem_t::usage,
                       tessel::format("no block class '{}'; {}", name,
                                      near.empty() ? "'zarn blocks' lists them" : "did you mean " + near + "?"));
}

int blocks(const blocks_options_t& options) {
    const auto rows = tessel::factory::class_rows();
    if (options.name.empty()) {
        json_t all = json_head();
        all["blocks"] = json_t::array();
        for (const class_row_t& row : rows)
            if (options.json) all["blocks"].push_back(describe_class(row));
            else print_line(row);
        if (options.json) out(all.dump() + "\n");
        return status_ok;
    }
    const auto found = std::ranges::find(rows, options.name, &class_row_t::name);
    if (found == rows.end()) return answer_other_name(options.name, options.json);
    if (options.json) {
        json_t one = json_head();
        one.update(describe_class(*found));
        out(one.dump() + "\n");
    } else {
        print_class(*found, options.types);
    }
    return status_ok;
}

}  // namespace

void add_blocks(CLI::App& app, int& status) {
    auto options = std::make_shared<blocks_options_t>();
    auto* verb = app.add_subcommand("blocks", "List the block classes, or describe one");
    verb->add_option("CLASS", options->name, "Class to describe, or what people call it");
    verb->add_flag("--types", options->types, "List all type combinations that can run");
    verb->add_flag("--json", options->json, "JSON on standard output");
    verb->footer("Example:\n  zarn blocks clamp\n  zarn blocks saturation");
    verb->callback([options, &status] { status = guarded([&] { return blocks(*options); }, "", options->json); });
}

}  // namespace zarn
