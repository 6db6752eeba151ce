// zarn inspect: the model as the library sees it after load and compile.

#include <CLI/App.hpp>
#include <nlohmann/json.hpp>

#include "core/format.h"
#include "framework/MetaBlock.h"
#include "host/cli/command.h"
#include "host/cli/verbs.h"
#include "host/session/json_text.h"
#include "port.h"

namespace zarn {
namespace {

using json_t = nlohmann::ordered_json;

json_t text_or_null(const char* text) { return text != nullptr ? json_t(text) : json_t(); }

std::string text_of(const json_t& value) { return value.dump(-1, ' ', false, json_t::error_handler_t::replace); }

json_t describe_block(tessel::IMetaBlock& block) {
    json_t inputs = json_t::array(), outputs = json_t::array();
    for (std::uint64_t i = 0; i < block.input_count(); ++i) {
        const auto& port = *block.input(static_cast<std::int16_t>(i));
        const auto* source = port.source_block();
        inputs.push_back({{"type", text_or_null(port.type_name())},
                          {"source", source != nullptr ? json_t(source->id()) : json_t()},
                          {"index", port.source_index()}});
    }
    for (std::uint64_t i = 0; i < block.output_count(); ++i)
        outputs.push_back({{"type", text_or_null(block.output(static_cast<std::int16_t>(i))->type_name())}});
    const bool typed = block.has_all_types();
    return {{"id", block.id()},
            {"class", block.class_name()},
            {"name", block.name()},
            {"parent", block.parent_id()},
            {"path", block.path()},
            {"python_path", block.python_path()},
            {"tier", block.tier()},
            {"zone", block.zone()},
            {"failed", block.failed()},
            {"signature", typed ? json_t(block.signature()) : json_t()},
            {"struct_name", typed ? json_t(block.struct_name()) : json_t()},
            {"inputs", std::move(inputs)},
            {"outputs", std::move(outputs)}};
}

/// Blocks, links and enable map as they stand, the members of a JSON object. One text for each block, for a model can
/// be large.
std::string describe(const Session& session) {
    std::string text = "\"blocks\": [";
    const char* comma = "";
    const auto append = [&](const std::string& item) {
        text += comma + item;
        comma = ", ";
    };
    const auto begin = [&](const char* head) {
        text += head;
        comma = "";
    };
    for (const auto& block : session.model())
        if (block != nullptr) append(text_of(describe_block(*block)));
    begin("], \"links\": [");
    const auto& properties = session.properties();
    for (const auto& link : properties.links)
        append(text_of({{"srcId", link.srcId},
                        {"dstId", link.dstId},
                        {"srcPort", link.srcPort},
                        {"dstPort", link.dstPort},
                        {"label", link.label}}));
    begin("], \"enable_map\": {");
    const std::map<std::uint64_t, std::pair<std::uint64_t, std::uint64_t>> sorted(properties.enable_map.begin(),
                                                                                  properties.enable_map.end());
    for (const auto& [id, pair] : sorted) append(tessel::format("\"{}\": [{}, {}]", id, pair.first, pair.second));
    return text + "}";
}

void print_json(Session& session, tessel::result_t result, const std::string& state) {
    json_t meaning;
    try {
        meaning = session.meaning();
    } catch (const SessionError&) {  // null: what does not load means nothing
    }
    const char* name = tessel::result_name(result);
    out(tessel::format(
        "{{\"schema\": {}, \"result\": {}, \"result_name\": {}, \"meaning\": {}, \"console\": {}, \"log\": {}, ",
        json_schema, static_cast<int>(result), text_of(text_or_null(name)), text_of(meaning),
        text_of(session.console()), text_of(session.log())));
    out(state);
    out("}\n");
}

/// "flt64 <- 12:0" for an input, the type for an output.
std::string port_text(const json_t& port) {
    std::string text = port["type"].is_null() ? "?" : port["type"].get<std::string>();
    if (port.contains("source"))
        text += port["source"].is_null()
                    ? std::string(" <- nothing")
                    : tessel::format(" <- #{}:{}", port["source"].get<std::uint64_t>(), port["index"].get<int>());
    return text;
}

void print_table(const Session& session, tessel::result_t result) {
    const char* name = tessel::result_name(result);
    std::size_t count = 0;
    for (const auto& block : session.model()) count += block != nullptr ? 1u : 0u;
    out(tessel::format("result {} ({}), {} blocks, {} links\n", static_cast<int>(result), name != nullptr ? name : "?",
                       count, session.properties().links.size()));
    for (const auto& block : session.model()) {
        if (block == nullptr) continue;
        out(tessel::format("{} #{}  tier {}  zone {}{}\n", shown(*block), block->id(), block->tier(), block->zone(),
                           block->failed() ? "  FAILED" : ""));
        const auto ports = describe_block(*block);
        for (std::size_t i = 0; i < ports["inputs"].size(); ++i)
            out(tessel::format("    in {}: {}\n", i, port_text(ports["inputs"][i])));
        for (std::size_t i = 0; i < ports["outputs"].size(); ++i)
            out(tessel::format("    out {}: {}\n", i, port_text(ports["outputs"][i])));
    }
}

int inspect(const options_t& options) {
    Call call(options, bridge_t::literal);
    call.set_console_silent(options.json);
    Session& session = call.session();
    auto result = session.load();
    const bool compiled = result == tessel::result_ok;
    if (compiled) result = session.compile();
    if (options.json) print_json(session, result, describe(session));
    if (!session.loop().empty()) session.require(result, "compile");
    if (options.json) return result == tessel::result_ok ? status_ok : status_model;
    print_table(session, result);
    if (result != tessel::result_ok && !call.evaluates() && !session.console().empty() && compiled)
        call.complain("expressions are evaluated with --python, -w or -e");
    session.require(result, compiled ? "compile" : "load");
    return status_ok;
}

}  // namespace

void add_inspect(CLI::App& app, int& status) {
    auto options = std::make_shared<options_t>();
    auto* verb = app.add_subcommand("inspect", "Show blocks, types, zones and links after load and compile");
    add_common(*verb, *options);
    verb->footer(
        "Nothing is evaluated unless --python, -w or -e is given.\n\n"
        "Example:\n  zarn inspect --json pump.json");
    verb->callback(
        [options, &status] { status = guarded([&] { return inspect(*options); }, options->model, options->json); });
}

}  // namespace zarn
