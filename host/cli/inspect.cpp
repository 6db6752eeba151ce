// zarn inspect: the model as the library sees it after load and compile.

#include <nlohmann/json.hpp>

#include "core/format.h"
#include "framework/MetaBlock.h"
#include "host/cli/json_text.h"
#include "host/cli/session.h"
#include "host/cli/verbs.h"
#include "port.h"

namespace zarn {
namespace {

using json_t = nlohmann::ordered_json;

json_t text_or_null(const char* text) { return text != nullptr ? json_t(text) : json_t(); }

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
            {"path", path_of(block)},
            {"python_path", python_path_of(block)},
            {"tier", block.tier()},
            {"zone", block.zone()},
            {"failed", block.failed()},
            {"signature", typed ? json_t(block.signature()) : json_t()},
            {"struct_name", typed ? json_t(block.struct_name()) : json_t()},
            {"inputs", std::move(inputs)},
            {"outputs", std::move(outputs)}};
}

/// Blocks, links and enable map as they stand.
json_t describe(const Session& session) {
    json_t blocks = json_t::array(), links = json_t::array(), enables = json_t::object();
    for (const auto& block : session.model())
        if (block != nullptr) blocks.push_back(describe_block(*block));
    const auto& properties = session.properties();
    for (const auto& link : properties.links)
        links.push_back({{"srcId", link.srcId},
                         {"dstId", link.dstId},
                         {"srcPort", link.srcPort},
                         {"dstPort", link.dstPort},
                         {"label", link.label}});
    const std::map<std::uint64_t, std::pair<std::uint64_t, std::uint64_t>> sorted(properties.enable_map.begin(),
                                                                                  properties.enable_map.end());
    for (const auto& [id, pair] : sorted) enables[std::to_string(id)] = {pair.first, pair.second};
    return {{"blocks", std::move(blocks)}, {"links", std::move(links)}, {"enable_map", std::move(enables)}};
}

void print_json(const Session& session, tessel::result_t result, json_t state) {
    json_t all{{"result", static_cast<int>(result)},
               {"result_name", text_or_null(tessel::result_name(result))},
               {"console", session.console()},
               {"log", session.log()}};
    for (auto& [key, value] : state.items()) all[key] = std::move(value);
    out(all.dump(-1, ' ', false, json_t::error_handler_t::replace));
    out("\n");
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

void print_table(tessel::result_t result, const json_t& state) {
    const char* name = tessel::result_name(result);
    out(tessel::format("result {} ({}), {} blocks, {} links\n", static_cast<int>(result), name != nullptr ? name : "?",
                       state["blocks"].size(), state["links"].size()));
    for (const auto& block : state["blocks"]) {
        const auto path = block["path"].get<std::string>();
        out(tessel::format("{} ({}) #{}  tier {}  zone {}{}\n", path.empty() ? block["name"].get<std::string>() : path,
                           block["class"].get<std::string>(), block["id"].get<std::uint64_t>(),
                           block["tier"].get<int>(), block["zone"].get<int>(),
                           block["failed"].get<bool>() ? "  FAILED" : ""));
        for (std::size_t i = 0; i < block["inputs"].size(); ++i)
            out(tessel::format("    in {}: {}\n", i, port_text(block["inputs"][i])));
        for (std::size_t i = 0; i < block["outputs"].size(); ++i)
            out(tessel::format("    out {}: {}\n", i, port_text(block["outputs"][i])));
    }
}

int inspect(const options_t& options) {
    Session session(options, bridge_t::literal);
    session.set_console_silent(options.json);
    auto result = session.load(strictness_t::loadable);
    json_t state;
    if (result == tessel::result_ok) {
        result = session.compile([&] { state = describe(session); });
        if (!session.loop().empty()) {
            if (options.json) print_json(session, result, std::move(state));
            session.require(result, "compile");
        }
    }
    state = describe(session);
    if (options.json) print_json(session, result, std::move(state));
    else print_table(result, state);
    return result == tessel::result_ok ? status_ok : status_model;
}

}  // namespace

void add_inspect(CLI::App& app, int& status) {
    auto options = std::make_shared<options_t>();
    auto* verb = app.add_subcommand("inspect", "Show blocks, types, zones and links after load and compile");
    add_common(*verb, *options);
    verb->footer(
        "Nothing is evaluated unless --python, -w or -e is given.\n\n"
        "Example:\n  zarn inspect --json pump.json");
    verb->callback([options, &status] { status = guarded([&] { return inspect(*options); }); });
}

}  // namespace zarn
