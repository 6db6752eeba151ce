// zarn draw: the picture of a model.

#include <CLI/App.hpp>
#include <nlohmann/json.hpp>

#include "core/format.h"
#include "host/cli/command.h"
#include "host/cli/verbs.h"
#include "host/draw/picture.h"
#include "host/draw/png.h"
#include "host/session/output_file.h"

namespace zarn {
namespace {

struct draw_options_t : options_t {
    std::string output = "-";
    draw::DrawOptions drawing;
    std::string level;
    double layout_seconds = 10;
};

void tell(const Call& call, draw::picture_t& picture) {
    if (call.options().quiet) return;
    if (!picture.too_much.empty()) call.complain(picture.too_much);
    for (const auto& text : picture.diagram.remarks) call.complain(text);
    auto& findings = picture.findings;
    std::erase_if(findings, [](const finding_t& f) { return f.code == "Z402"; });  // of which the remarks speak
    for (const severity_t severity : {severity_t::error, severity_t::warning})
        for (const auto& text : in_brief(findings, severity, call.options().verbose)) call.complain(text);
    if (!picture.layout.empty()) call.complain(picture.layout + "; blocks without a position are placed without it");
}

draw::picture_t picture_of(const draw_options_t& options, Call& call) {
    Session& session = call.session();
    draw::picture_request_t request;
    request.options = options.drawing;
    request.options.layout_limit = std::chrono::milliseconds(static_cast<long long>(options.layout_seconds * 1000));
    request.level = options.level;
    request.check.final_bridge = call.evaluates();
    request.check.settings = session.setup().settings;
    const Session::Active active(session);
    try {
        return draw::draw_picture(session.document(), request);
    } catch (const std::out_of_range& error) {
        throw SessionError(problem_t::usage, tessel::format("--level {}", error.what()));
    } catch (const std::runtime_error& error) {
        throw session.error(problem_t::model, error.what());
    }
}

/// Whether a file's name asks for a PNG.
bool is_png(const std::string& output) { return output != "-" && ending_of("-o", output, ".svg", ".png") == ".png"; }

void write(const draw_options_t& options, const std::string& svg) {
    if (options.output == "-") return out(svg);
    try {
        const std::string picture = is_png(options.output) ? draw::png_of(svg) : svg;
        OutputFile file(options.output);
        file.write(picture);
        file.commit();
    } catch (const std::runtime_error& error) {
        throw SessionError(problem_t::file, tessel::format("{}: {}", options.output, error.what()));
    }
}

int run(draw_options_t& options) {
    is_png(options.output);  // wrong use is told before anything is done
    Call call(options, bridge_t::literal);
    auto picture = picture_of(options, call);
    tell(call, picture);
    write(options, picture.svg);
    if (options.json && options.output != "-") {
        const nlohmann::json summary{{"schema", json_schema},
                                     {"result", 0},
                                     {"blocks", picture.diagram.blocks.size() - 1},
                                     {"links", picture.diagram.links.size()},
                                     {"pages", picture.pages},
                                     {"notes", picture.diagram.notes}};
        out(summary.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace) + "\n");
    }
    return status_ok;
}

}  // namespace

void add_draw(CLI::App& app, int& status) {
    auto options = std::make_shared<draw_options_t>();
    auto* verb = app.add_subcommand("draw", "Draw the diagram of a model as SVG or PNG");
    add_common(*verb, *options);
    verb->add_option("-o,--output", options->output,
                     "File, .svg or .png by its name; - is SVG on standard output, and the default")
        ->type_name("FILE");
    verb->add_option("--depth", options->drawing.depth,
                     "Draw so many levels of subsystems with their content in place; others are panels below")
        ->check(CLI::Range(0, 100));
    verb->add_option("--level", options->level, "Draw this subsystem alone")->type_name("PATH");
    const CLI::Validator seconds(
        [](const std::string& text) {
            double value = 0;
            const bool fits = CLI::detail::lexical_cast(text, value) && value >= 0 && value <= 3600;
            return fits ? std::string() : "'" + text + "' is no number from 0 to 3600";
        },
        "SECONDS");
    verb->add_flag("--relayout", options->drawing.relayout, "Place all blocks anew, whatever the file says");
    verb->add_option("--layout-time", options->layout_seconds, "Longest time in seconds for Graphviz's dot")
        ->check(seconds);
    verb->footer(
        "Blocks stand where the file has them; those of a file without positions are placed by Graphviz.\n"
        "Wires carry their types as far as they are known. Nothing is evaluated unless --python, -w or -e is\n"
        "given. A model that is not in order is drawn as far as it can be read, with its faults in red.\n\n"
        "Example:\n  zarn draw pump.json -o pump.svg --depth 1");
    verb->callback(
        [options, &status] { status = guarded([&] { return run(*options); }, options->model, options->json); });
}

}  // namespace zarn
