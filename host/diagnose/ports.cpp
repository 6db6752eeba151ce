// Port numbers: how the blocks inside a subsystem stand for its ports.

#include <map>

#include "host/diagnose/source.h"
#include "host/diagnose/tree.h"
#include "host/diagnose/wiring.h"

namespace zarn {
namespace {

constexpr std::int16_t unnumbered = 2047;

bool stands_for_port(const graph_t& graph, const node_t& node) {
    if (!node.is(hash_inport) && !node.is(hash_outport)) return false;
    const node_t* around = graph.find(node.parent());
    return node.parent() != 0 && around != nullptr && is_subsystem(*around);
}

void tell_duplicate(const node_t& node, const node_t& first, const node_t& around, Report& report) {
    const std::int16_t number = port_number(node);
    const bool input = node.is(hash_inport);
    std::string what =
        tessel::format("{} has the \"portNumber\" {} already, in {}", first.path(), number, around.path());
    if (number == unnumbered) what += ", which is that of a port without a number";
    what += input ? "; this one gets no source" : "; nothing reads this one";
    report.at_block("Z205", input ? severity_t::error : severity_t::warning, node, what,
                    tessel::format("give each {} of a subsystem a number of its own", node.class_name()));
}

}  // namespace

std::int16_t port_number(const node_t& node) {
    const tessel::var_t& number = node.block->param("portNumber");
    return static_cast<std::int16_t>(number.is_text() ? int(number) : number.payload<int>());
}

void check_port_numbers(const graph_t& graph, wiring_t& wiring, Report& report) {
    std::map<std::pair<std::uint64_t, std::int16_t>, const node_t*> inports, outports;
    for (std::size_t position = 0; position < graph.nodes.size(); ++position) {
        const node_t& node = graph.nodes[position];
        if (!stands_for_port(graph, node)) continue;
        const node_t& around = *graph.find(node.parent());
        const bool input = node.is(hash_inport);
        const std::pair key(node.parent(), port_number(node));
        if (const tessel::var_t& number = node.block->param("portNumber"); number.is_text()) {
            const bool used = input || wiring.needed.contains(position);
            if (input) wiring.excused[position][0] = true;
            report.at_block("Z206", used ? severity_t::error : severity_t::warning, node,
                            tessel::format("\"portNumber\" is the text {}, and a text stands for no port of {}",
                                           in_quotes(number.text()), around.path()),
                            "write the number without quotes");
        }
        const auto [first, fresh] = (input ? inports : outports).try_emplace(key, &node);
        if (fresh) continue;
        if (input) wiring.excused[position][0] = true;
        tell_duplicate(node, *first->second, around, report);
    }
}

}  // namespace zarn
