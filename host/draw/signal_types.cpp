#include "host/draw/signal_types.h"

#include "core/type.h"

namespace zarn::draw {

SignalTypes::SignalTypes(const Diagram& diagram) : diagram_(diagram) {
    for (const Link& link : diagram.links)
        if (link.source != none && link.target != none)
            feeds_.emplace(std::pair(link.target, link.target_port), std::pair(link.source, link.source_port));
    for (std::size_t i = 1; i < diagram.blocks.size(); ++i) {
        const Block& block = diagram.blocks[i];
        if (block.is("goto")) gotos_.emplace(block.parameter("target"), i);
        if (block.is("outport")) outports_.emplace(std::pair(block.parent, block.port_number), i);
    }
}

std::string SignalTypes::of_output(std::size_t block, int port) const {
    for (int hops = 0; hops < 1000; ++hops) {
        const Block& source = diagram_.blocks[block];
        if (port >= 0 && static_cast<std::size_t>(port) < source.output_types.size()) {
            const auto& type = source.output_types[static_cast<std::size_t>(port)];
            if (!type.empty()) return type;
        }
        if (source.is("cast")) {
            // an unknown name casts to nothing
            const std::string type = source.parameter("type");
            for (int t = tessel::type_bool; t <= tessel::type_flt64; ++t) {
                const char* name = tessel::short_name(static_cast<tessel::type_t>(t));
                if (name != nullptr && type == name) return type;
            }
            return {};
        }
        std::size_t relay = none;
        if (source.is_subsystem()) {
            if (const auto found = outports_.find({block, port}); found != outports_.end()) relay = found->second;
        } else if (source.is("from")) {
            if (const auto found = gotos_.find(source.parameter("target")); found != gotos_.end())
                relay = found->second;
        } else if (source.is("outport") || source.is("inport")) {
            relay = block;
        }
        if (relay == none) return {};
        // an outport answers for itself where a compile has typed it
        if (source.is_subsystem() && !diagram_.blocks[relay].output_types.empty()) {
            block = relay, port = 0;
            continue;
        }
        const auto feed = feeds_.find({relay, 0});
        if (feed == feeds_.end()) return {};
        block = feed->second.first, port = feed->second.second;
    }
    return {};
}

}  // namespace zarn::draw
