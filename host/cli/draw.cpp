// zarn draw: the picture of a model.

#include <CLI/App.hpp>
#include <nlohmann/json.hpp>
#include <set>

#include "core/format.h"
#include "host/cli/command.h"
#include "host/cli/verbs.h"
#include "host/document/limits.h"
#include "host/draw/compiled.h"
#include "host/draw/diagram.h"
#include "host/draw/scene.h"
#include "host/draw/svg.h"
#include "host/session/output_file.h"

namespace zarn {
namespace {

struct draw_options_t : options_t {
    std::string output = "-";
    draw::DrawOptions drawing;
    double layout_seconds = 10;
};

/// Marks the blocks of a loop that no order of execution can satisfy.
void mark_loop(draw::Diagram& diagram, const std::vector<std::string>& loop) {
    std::string way;
    for (const std::string& path : loop) way += path + " -> ";
    diagram.notes.push_back(tessel::format("algebraic loop: {}{}", way, loop.front()));
    const std::set<std::string> paths(loop.begin(), loop.end());
    for (std::size_t i = 1; i < diagram.blocks.size(); ++i)
        if (paths.contains(diagram.path(i))) diagram.blocks[i].failed = true;
}

/// Compiles the model for the sake of its types. What hinders that hinders no picture.
void compile(Call& call, draw::Diagram& diagram) {
    Session& session = call.session();
    call.set_console_silent(true);
    tessel::result_t result = tessel::result_failure;
    try {
        result = session.load();
    } catch (const SessionError& error) {
        return message(error.what());
    }
    const auto& settings = session.properties();
    diagram.start = static_cast<double>(settings.get("ti"));
    diagram.end = static_cast<double>(settings.get("tf"));
    diagram.step = static_cast<double>(settings.get("ts"));
    const auto stage = [&](const char* name) {
        const char* what = tessel::result_name(result);
        diagram.notes.push_back(tessel::format("{}: {}", name, what != nullptr ? what : "failed"));
    };
    draw::CompiledView view(diagram, session.model());
    const bool loaded = result == tessel::result_ok;
    if (!loaded) {
        stage("load");
    } else {
        result = session.compile();
        view.take(session.model());
        if (!session.loop().empty()) mark_loop(diagram, session.loop());
        if (result != tessel::result_ok && session.loop().empty()) stage("compile");
    }
    if (session.console().empty() || call.options().quiet) return;
    for (const std::string& text : session.console()) call.complain(text);
    if (!loaded) call.complain("it cannot be loaded, and is drawn without types: 'zarn check' names the places");
    else if (!call.evaluates() && result != tessel::result_ok)
        call.complain("types stop where an expression is no literal: --python, -w or -e evaluate it");
}

void write(const draw_options_t& options, const std::string& svg) {
    if (options.output == "-") return out(svg);
    try {
        OutputFile file(options.output);
        file.write(svg);
        file.commit();
    } catch (const std::runtime_error& error) {
        throw SessionError(problem_t::file, tessel::format("{}: {}", options.output, error.what()));
    }
}

int run(draw_options_t& options) {
    Call call(options, bridge_t::literal);
    Session& session = call.session();
    if (const auto problem = find_unloadable(session.document()); !problem.empty())
        throw session.error(problem_t::model, problem);
    draw::Diagram diagram;
    try {
        diagram = draw::read_diagram(session.file());
    } catch (const std::runtime_error& error) {
        throw session.error(problem_t::model, error.what());
    } catch (const nlohmann::json::exception& error) {
        const std::string_view text = error.what();  // behind the number of the library's error
        throw session.error(problem_t::model, text.substr(text.find(' ') + 1));
    }
    compile(call, diagram);

    options.drawing.layout_limit = std::chrono::milliseconds(static_cast<long long>(options.layout_seconds * 1000));
    std::string note;
    const auto pages = draw::make_scenes(diagram, options.drawing, note);
    if (!note.empty() && !options.quiet) call.complain(note + "; blocks without a position are placed without it");
    const std::string svg = draw::write_svg(diagram, pages);
    write(options, svg);
    if (options.json && options.output != "-") {
        const nlohmann::json summary{
            {"schema", json_schema},         {"result", 0},           {"blocks", diagram.blocks.size() - 1},
            {"links", diagram.links.size()}, {"pages", pages.size()}, {"notes", diagram.notes}};
        out(summary.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace) + "\n");
    }
    return status_ok;
}

}  // namespace

void add_draw(CLI::App& app, int& status) {
    auto options = std::make_shared<draw_options_t>();
    auto* verb = app.add_subcommand("draw", "Draw the diagram of a model as SVG");
    add_common(*verb, *options);
    verb->add_option("-o,--output", options->output, "SVG file; - is standard output, and the default")
        ->type_name("FILE.svg");
    verb->add_option("--depth", options->drawing.depth,
                     "Draw so many levels of subsystems with their content in place; others are panels below")
        ->check(CLI::Range(0, 100));
    verb->add_flag("--relayout", options->drawing.relayout, "Place all blocks anew, whatever the file says");
    verb->add_option("--layout-time", options->layout_seconds, "Longest time in seconds for Graphviz's dot")
        ->check(CLI::Range(0.0, 3600.0));
    verb->footer(
        "Blocks stand where the file has them; those of a file without positions are placed by Graphviz.\n"
        "Wires carry their types as far as the model compiles. Nothing is evaluated unless --python, -w or -e is\n"
        "given. A model that is not in order is drawn as far as it can be read, with its faults in red.\n\n"
        "Example:\n  zarn draw pump.json -o pump.svg --depth 1");
    verb->callback(
        [options, &status] { status = guarded([&] { return run(*options); }, options->model, options->json); });
}

}  // namespace zarn
