// goto, from and cast blocks become direct wires.
#pragma once

#include <functional>
#include <string>
#include <unordered_map>

#include "core/export.h"
#include "core/var.h"
#include "model/rules/wires.h"

namespace tessel::rules {

/// What is found about a block that is to be dissolved, by its position. The first two make a pass fail.
struct reroute_t {
    enum class kind_t {
        no_source,      ///< a goto that no wire leads into; a cast with `wire` out of it and none into it
        touches,        ///< `wire` still touches the block when all is joined; both its ends exist
        second_source,  ///< `wire` leads into a goto as `first` does, which counts
        no_reader       ///< no from has the target of a goto
    };
    kind_t kind = kind_t::no_source;
    std::size_t block = nowhere;
    std::size_t wire = nowhere;
    std::size_t first = nowhere;
};
/// Hears what is found and answers whether to go on.
using tell_reroute_t = std::function<bool(const reroute_t&)>;

/// The first goto of each target, as the gotos come.
class Targets {
public:
    /// The position of the first goto with the target of this one, which is at `position` when it is the first.
    std::size_t first(IMetaBlock& block, std::size_t position) {
        return first_.try_emplace(block.param("target").text(), position).first->second;
    }

private:
    std::unordered_map<std::string, std::size_t> first_;
};

/// Joins, goto by goto, the first wire into it with every wire out of the from blocks of its target. False when it was
/// told to stop; what was joined before stays joined.
BLOCKS_API bool join_gotos(lineup_t blocks, Wires& wires, const tell_reroute_t& tell);

/// Joins the first wire into each cast with every wire out of it, as the wires stand before the first is joined. False,
/// with nothing changed, when it was told to stop.
BLOCKS_API bool join_casts(lineup_t blocks, Wires& wires, const tell_reroute_t& tell);

/// Tells the wires that touch what is to go, source before destination.
BLOCKS_API void find_touching(lineup_t blocks, const Wires& wires, bool (*goes)(const IMetaBlock&),
                              const tell_reroute_t& tell);

}  // namespace tessel::rules
