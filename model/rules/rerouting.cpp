#include "model/rules/rerouting.h"

#include <algorithm>
#include <map>
#include <set>

namespace tessel::rules {
namespace {

/// The wires out of from blocks and into gotos while gotos are dissolved one after the other.
class Relays {
public:
    Relays(lineup_t blocks, Wires& wires) : wires_(wires) {
        for (std::size_t i = 0; i < blocks.size(); ++i) {
            if (blocks[i] == nullptr || !is_goto_or_from(*blocks[i])) continue;
            if (blocks[i]->class_hash() == hash_goto) {
                into_.try_emplace(blocks[i]->id());
                continue;
            }
            auto& readers = readers_[blocks[i]->param("target").text()];
            readers.emplace(i, blocks[i]->id());
            from_t& from = from_[blocks[i]->id()];
            from.readers.emplace_back(&readers, i);
        }
        for (std::size_t i = 0; i < wires.size(); ++i)
            if (wires.alive(i)) note(i);
    }

    /// The wires into a goto, in their order.
    std::vector<std::size_t> into(std::uint64_t id) { return living(into_.at(id)); }
    bool has_readers(const std::string& target) const { return readers_.contains(target); }

    /// Joins a wire with those out of the from blocks of a target, and takes these away with what is parallel to them.
    void join(std::size_t in, const std::string& target) {
        const auto found = readers_.find(target);
        if (found == readers_.end()) return;
        std::vector<std::size_t> out;
        for (const auto& [position, id] : found->second) {
            const auto& own = living(from_.at(id).out);
            out.insert(out.end(), own.begin(), own.end());
        }
        found->second.clear();
        for (const std::size_t i : out) wires_.remove(i);
        for (const std::size_t i : out) {
            wires_.join(in, i);
            note(wires_.size() - 1);
        }
    }

private:
    using readers_t = std::map<std::size_t, std::uint64_t>;  // from blocks that wires lead out of: position and id
    struct from_t {
        std::vector<std::size_t> out;                             // wires
        std::vector<std::pair<readers_t*, std::size_t>> readers;  // where the blocks of this id stand
    };

    void note(std::size_t i) {
        if (const auto target = into_.find(wires_[i].dst); target != into_.end()) target->second.push_back(i);
        const auto from = from_.find(wires_[i].src);
        if (from == from_.end()) return;
        from->second.out.push_back(i);
        for (const auto& [readers, position] : from->second.readers) readers->emplace(position, wires_[i].src);
    }
    const std::vector<std::size_t>& living(std::vector<std::size_t>& wires) const {
        std::erase_if(wires, [this](std::size_t i) { return !wires_.alive(i); });
        return wires;
    }

    Wires& wires_;
    std::unordered_map<std::uint64_t, std::vector<std::size_t>> into_;
    std::unordered_map<std::uint64_t, from_t> from_;
    std::unordered_map<std::string, readers_t> readers_;
};

}  // namespace

bool join_gotos(lineup_t blocks, Wires& wires, const tell_reroute_t& tell) {
    using kind_t = reroute_t::kind_t;
    Relays relays(blocks, wires);
    for (std::size_t position = 0; position < blocks.size(); ++position) {
        if (blocks[position] == nullptr || blocks[position]->class_hash() != hash_goto) continue;
        const auto into = relays.into(blocks[position]->id());
        if (into.empty()) {
            if (!tell({kind_t::no_source, position})) return false;
            continue;
        }
        const std::size_t in = into.front();
        for (std::size_t k = 1; k < into.size(); ++k)
            if (!tell({kind_t::second_source, position, into[k], in})) return false;
        const std::string target = blocks[position]->param("target").text();
        if (!relays.has_readers(target) && !tell({kind_t::no_reader, position})) return false;
        relays.join(in, target);
        // what is parallel to the joined wire goes with it
        for (const std::size_t i : into)
            if (wires[i].src == wires[in].src) wires.remove(i);
    }
    return true;
}

bool join_casts(lineup_t blocks, Wires& wires, const tell_reroute_t& tell) {
    const BlockIndex index(blocks);
    const auto is_cast_id = [&](std::uint64_t id) {
        const IMetaBlock* const block = index.find(id);
        return block != nullptr && is_cast(*block);
    };
    std::unordered_map<std::uint64_t, std::size_t> first_into;
    for (std::size_t i = 0; i < wires.size(); ++i)
        if (wires.alive(i)) first_into.try_emplace(wires[i].dst, i);

    using ends_t = std::pair<std::uint64_t, std::uint64_t>;
    std::set<ends_t> gone;
    std::vector<std::pair<std::size_t, std::size_t>> joints;
    for (std::size_t i = 0; i < wires.size(); ++i) {
        if (!wires.alive(i) || !is_cast_id(wires[i].src)) continue;
        const auto in = first_into.find(wires[i].src);
        if (in == first_into.end()) {
            if (!tell({reroute_t::kind_t::no_source, index.position(wires[i].src), i})) return false;
            continue;
        }
        gone.emplace(wires[i].src, wires[i].dst);
        gone.emplace(wires[in->second].src, wires[in->second].dst);
        joints.emplace_back(in->second, i);
    }
    if (gone.empty()) return true;
    for (std::size_t i = 0; i < wires.size(); ++i)
        if (gone.contains({wires[i].src, wires[i].dst})) wires.remove(i);
    for (const auto& [in, out] : joints) wires.join(in, out);
    return true;
}

void find_touching(lineup_t blocks, const Wires& wires, bool (*goes)(const IMetaBlock&), const tell_reroute_t& tell) {
    const BlockIndex index(blocks);
    for (std::size_t i = 0; i < wires.size(); ++i) {
        if (!wires.alive(i)) continue;
        const std::size_t src = index.position(wires[i].src), dst = index.position(wires[i].dst);
        if (src == nowhere || dst == nowhere) continue;
        for (const std::size_t end : {src, dst})
            if (goes(*blocks[end]) && !tell({reroute_t::kind_t::touches, end, i})) return;
    }
}

}  // namespace tessel::rules
