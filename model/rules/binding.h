// Where drawn links end: at the blocks inside subsystems that stand for their ports.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <unordered_map>
#include <vector>

#include "core/export.h"
#include "core/var.h"
#include "model/rules/wires.h"

namespace tessel::rules {

/// The end of a link at a real block.
struct end_t {
    enum class fault_t {
        none,
        no_block,  ///< no block has the id
        no_inner,  ///< no inport, outport or enable block of the subsystem stands for the port
        no_port    ///< the block has no port of this number
    };
    std::size_t block = nowhere;    ///< the subsystem where no inner block stands for its port
    std::size_t through = nowhere;  ///< the subsystem that the link is drawn to, if it is one
    std::int16_t port = 0;
    fault_t fault = fault_t::none;
    bool well() const noexcept { return fault == fault_t::none; }
};

/// One walk over the live blocks: where an id is, which blocks stand for the ports of subsystems (the first of each
/// subsystem, class and port number), and which are subsystems.
class BLOCKS_API Census {
public:
    explicit Census(lineup_t blocks);

    end_t destination(const wire_t& wire) const;
    end_t source(const wire_t& wire) const;

    const std::vector<std::size_t>& enables() const noexcept { return all_enables_; }
    const std::vector<bool>& subsystems() const noexcept { return subsystems_; }
    /// The numbers of the inports, or the outports, of a subsystem, rising.
    std::vector<std::int16_t> numbers(std::uint32_t hash, std::uint64_t subsystem) const;

private:
    using key_t = std::pair<std::uint64_t, std::int16_t>;
    using ports_t = std::map<key_t, std::size_t>;
    static void note(ports_t& ports, IMetaBlock& block, std::size_t position);
    end_t end(std::uint64_t id, std::int16_t port, bool is_source) const;
    std::size_t inner(std::uint64_t subsystem, std::int16_t port, bool is_source) const;

    lineup_t blocks_;
    BlockIndex index_;
    std::vector<bool> subsystems_;
    std::vector<std::size_t> all_enables_;
    std::unordered_map<std::uint64_t, std::size_t> enables_;
    ports_t inports_;
    ports_t outports_;
};

/// The number by which an inport or outport stands for a port of its subsystem. A text stands for none.
inline std::optional<std::int16_t> port_number(IMetaBlock& block) {
    const var_t& number = block.param("portNumber");
    if (number.is_text()) return std::nullopt;
    return static_cast<std::int16_t>(number.payload<int>());
}

}  // namespace tessel::rules
