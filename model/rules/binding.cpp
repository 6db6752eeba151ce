#include "model/rules/binding.h"

namespace tessel::rules {
namespace {

template <class Map, class Key>
std::size_t find_in(const Map& map, const Key& key) {
    const auto found = map.find(key);
    return found != map.end() ? found->second : nowhere;
}

}  // namespace

Census::Census(lineup_t blocks) : blocks_(blocks), index_(blocks), subsystems_(blocks.size()) {
    for (std::size_t i = 0; i < blocks.size(); ++i) {
        IMetaBlock* const block = blocks[i];
        if (block == nullptr) continue;
        switch (block->class_hash()) {
            case hash_subsys:
            case hash_refsys: subsystems_[i] = true; break;
            case hash_enable:
                all_enables_.push_back(i);
                enables_.try_emplace(block->parent_id(), i);
                break;
            case hash_inport: note(inports_, *block, i); break;
            case hash_outport: note(outports_, *block, i); break;
            default: break;
        }
    }
}

void Census::note(ports_t& ports, IMetaBlock& block, std::size_t position) {
    if (const auto number = port_number(block)) ports.try_emplace({block.parent_id(), *number}, position);
}

end_t Census::destination(const wire_t& wire) const { return end(wire.dst, wire.dst_port, false); }
end_t Census::source(const wire_t& wire) const { return end(wire.src, wire.src_port, true); }

end_t Census::end(std::uint64_t id, std::int16_t port, bool is_source) const {
    end_t end;
    end.block = index_.position(id);
    end.port = port;
    if (end.block == nowhere) {
        end.fault = end_t::fault_t::no_block;
        return end;
    }
    if (subsystems_[end.block]) {
        end.through = end.block;
        if (const std::size_t own = inner(blocks_[end.block]->id(), port, is_source); own != nowhere) {
            end.block = own;
            end.port = 0;
        } else {
            end.fault = end_t::fault_t::no_inner;
            return end;
        }
    }
    const IMetaBlock& block = *blocks_[end.block];
    const std::uint64_t count = is_source ? block.output_count() : block.input_count();
    if (end.port < 0 || static_cast<std::uint64_t>(end.port) >= count) end.fault = end_t::fault_t::no_port;
    return end;
}

std::size_t Census::inner(std::uint64_t subsystem, std::int16_t port, bool is_source) const {
    if (is_source) return find_in(outports_, std::pair(subsystem, port));
    if (port == -1) return find_in(enables_, subsystem);
    return find_in(inports_, std::pair(subsystem, port));
}

std::vector<std::int16_t> Census::numbers(std::uint32_t hash, std::uint64_t subsystem) const {
    const ports_t& ports = hash == hash_inport ? inports_ : outports_;
    std::vector<std::int16_t> all;
    for (auto at = ports.lower_bound({subsystem, INT16_MIN}); at != ports.end() && at->first.first == subsystem; ++at)
        all.push_back(at->first.second);
    return all;
}

}  // namespace tessel::rules
