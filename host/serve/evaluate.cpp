// The value of one parameter.

#include "core/format.h"
#include "core/literal_bridge.h"
#include "host/diagnose/analysis.h"
#include "host/document/limits.h"
#include "host/serve/verdict.h"
#include "host/session/session.h"

namespace zarn::serve {
namespace {

constexpr std::size_t most_shown = 8;  // elements of a list

std::string list_text(const python::var_array_t& array) {
    std::string text = "[";
    for (std::size_t i = 0; i < std::min(array.values.size(), most_shown); ++i)
        text += (i != 0 ? ", " : "") + array.values[i].to_string();
    if (array.values.size() > most_shown)
        text += tessel::format(", … {} × {}", array.dimensions[0], array.dimensions[1]);
    return text + "]";
}

const node_t* node_of(const graph_t& graph, const std::string& handle) {
    for (const node_t& node : graph.nodes)
        if (node.file == 0 && node.reference == none && std::to_string(node.id()) == handle) return &node;
    return nullptr;
}

void ask(const node_t& node, const tessel::parameter_traits_t& parameter, value_t& value) {
    python::IPythonWrap& bridge = *python::wrap();
    const std::string scope = node.properties->python_path + parameter.scope;
    if (parameter.content == tessel::content_t::list) {
        python::var_array_t array;
        if (bridge.evaluate_array(scope, value.text, array) != tessel::result_ok) {
            value.problem = "it gives no list of numbers";
            return;
        }
        value.value = list_text(array);
        value.type = array.values.empty() ? "" : tessel::short_name(array.values.front().type());
        return;
    }
    if (parameter.content == tessel::content_t::series) {
        const auto series = bridge.find_series(value.text.c_str());
        if (series == nullptr) value.problem = "it names no series";
        else value.value = "a series", value.type = "series";
        return;
    }
    tessel::var_t result;
    if (bridge.evaluate(scope, value.text, &result) != tessel::result_ok) {
        value.problem = "it cannot be evaluated";
        return;
    }
    value.value = result.to_string();
    const char* type = tessel::short_name(result.type());
    value.type = type != nullptr ? type : "";
}

}  // namespace

value_t evaluate(const sheet_t& sheet, std::shared_ptr<python::IPythonWrap> bridge, const std::string& block,
                 const std::string& key) {
    value_t value;
    std::string said;
    session_setup_t setup;
    setup.model = sheet.file.string();
    setup.folder = sheet.folder;
    setup.bridge = std::move(bridge);
    bool listening = false;
    setup.on_console = [&](std::string_view text) {
        if (listening) said = text;
    };
    Session session(std::move(setup), sheet.text);
    if (const auto problem = find_unloadable(session.document()); !problem.empty()) {
        value.problem = problem;
        return value;
    }
    const Session::Active active(session);
    analysis_t analysis;
    Report report(analysis.graph);
    analyse(analysis, report, session.document(), {});
    const node_t* node = node_of(analysis.graph, block);
    if (node == nullptr || node->row == nullptr) {
        value.problem = "the block is not one that is read";
        return value;
    }
    for (const tessel::parameter_traits_t& parameter : node->row->traits().parameters) {
        if (parameter.key != key) continue;
        const tessel::var_t& written = node->block->param(parameter.key);
        value.text = written.is_text() ? written.text() : written.to_string();
        listening = true;
        ask(*node, parameter, value);
        listening = false;
        if (!value.problem.empty() && !said.empty()) value.problem = said;
        return value;
    }
    value.problem = tessel::format("{} has no parameter \"{}\"", node->class_name(), key);
    return value;
}

}  // namespace zarn::serve
