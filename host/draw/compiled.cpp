#include "host/draw/compiled.h"

#include "port.h"

namespace zarn::draw {

CompiledView::CompiledView(Diagram& diagram, tessel::IMetaModel& model) : diagram_(diagram) {
    std::size_t next = 0;
    for (const auto& block : model) {
        if (next == diagram.load_order.size()) break;
        const std::size_t index = diagram.load_order[next++];
        if (block == nullptr) continue;
        if (!diagram.blocks[index].is(block->class_name())) break;  // the file has changed since it was read
        by_id_.emplace(block->id(), index);
    }
}

void CompiledView::take(tessel::IMetaModel& model) {
    const auto name_of = [](const tessel::port_t* port) {
        const char* name = port != nullptr ? port->type_name() : nullptr;
        return std::string(name != nullptr ? name : "");
    };
    for (const auto& meta : model) {
        if (meta == nullptr) continue;
        const auto found = by_id_.find(meta->id());
        if (found == by_id_.end()) continue;
        Block& block = diagram_.blocks[found->second];
        block.failed = meta->failed();
        block.input_types.clear();
        block.output_types.clear();
        const auto& ports = *meta;
        for (std::uint64_t i = 0; i < ports.input_count(); ++i)
            block.input_types.push_back(name_of(ports.input(static_cast<std::int16_t>(i))));
        for (std::uint64_t i = 0; i < ports.output_count(); ++i)
            block.output_types.push_back(name_of(ports.output(static_cast<std::int16_t>(i))));
    }
}

}  // namespace zarn::draw
