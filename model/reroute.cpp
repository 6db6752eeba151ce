#include "model/reroute.h"

#include <utility>

namespace tessel {
namespace {

/// The labels of the drawn links along a wire. They are put together here, for a wire that is joined again is not left.
std::string label_along(const rules::Wires& wires, std::size_t position, const std::vector<link_t>& links) {
    std::string label;
    std::vector<std::size_t> todo{position};
    for (bool first = true; !todo.empty();) {
        const std::size_t at = todo.back();
        todo.pop_back();
        if (wires.is_drawn(at)) {
            if (!std::exchange(first, false)) label += '#';
            label += links[at].label;
            continue;
        }
        const auto [in, out] = wires.parts(at);
        todo.push_back(out);
        todo.push_back(in);
    }
    return label;
}

}  // namespace

rules::Wires draw(const std::vector<link_t>& links) {
    rules::Wires wires;
    wires.reserve(links.size());
    for (const link_t& link : links) wires.draw({link.srcId, link.dstId, link.srcPort, link.dstPort});
    return wires;
}

void take_over(const rules::Wires& wires, std::vector<link_t>& links) {
    std::vector<link_t> joined;
    std::size_t kept = 0;
    for (std::size_t i = links.size(); i < wires.size(); ++i) {
        if (!wires.alive(i)) continue;
        const auto& [src, dst, src_port, dst_port] = wires[i];
        joined.push_back({src, dst, src_port, dst_port, label_along(wires, i, links), {}, false, false});
    }
    for (std::size_t i = 0; i < links.size(); ++i) {
        if (!wires.alive(i)) continue;
        if (kept != i) links[kept] = std::move(links[i]);
        ++kept;
    }
    links.resize(kept);
    links.insert(links.end(), std::make_move_iterator(joined.begin()), std::make_move_iterator(joined.end()));
}

}  // namespace tessel
