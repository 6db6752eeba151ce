#include "host/session/meaning.h"

#define XXH_INLINE_ALL
#include <xxhash.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <span>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "core/format.h"
#include "framework/classes.h"

namespace zarn {
namespace {

using digest_t = std::array<std::uint64_t, 2>;

/// Names the rules by which the hash is made.
constexpr std::string_view scheme = "meaning 1";

/// Bytes of which every field tells where it ends.
class Bytes {
public:
    void add(std::uint64_t number) {
        for (int i = 0; i < 8; ++i) bytes_ += static_cast<char>(number >> (8 * i) & 0xff);
    }
    void add(std::string_view text) {
        add(text.size());
        bytes_ += text;
    }
    void add(const digest_t& digest) {
        add(digest[0]);
        add(digest[1]);
    }
    /// As a set: sorted.
    void add(std::vector<digest_t> digests) {
        std::ranges::sort(digests);
        add(digests.size());
        for (const digest_t& digest : digests) add(digest);
    }
    void add(double number) {
        std::uint64_t bits = 0;
        std::memcpy(&bits, &number, sizeof bits);
        add(bits);
    }
    digest_t digest() const {
        const XXH128_hash_t hash = XXH3_128bits(bytes_.data(), bytes_.size());
        return {hash.high64, hash.low64};
    }
    void clear() { bytes_.clear(); }

private:
    std::string bytes_;
};

/// A wire between two blocks of the list, and how it is fixed to them.
struct wire_t {
    std::size_t source, target;
    std::uint64_t ports;
};

class Meaning {
public:
    Meaning(tessel::IMetaModel& model, const tessel::PropertiesModel& properties);
    std::string text() const;

private:
    static constexpr std::size_t outside = ~std::size_t{0};

    std::size_t place_of(std::uint64_t id) const {
        const auto found = places_.find(id);
        return found != places_.end() ? found->second : outside;
    }
    /// What a block says of itself.
    digest_t record_of(tessel::IMetaBlock& block);
    void find_parents();
    void hash_down_from_roots();
    void connect(std::span<const tessel::link_t> links);
    std::size_t distinct() const;
    void tell_namesakes_apart();
    digest_t wire_digest(const wire_t& wire) const;

    std::vector<tessel::IMetaBlock*> blocks_;
    std::unordered_map<std::uint64_t, std::size_t> places_;  // the first block of each id
    std::vector<std::size_t> parents_;
    std::vector<digest_t> digests_;  // of the blocks
    std::vector<wire_t> wires_;
    Bytes bytes_;
    std::array<double, 3> settings_{};
};

Meaning::Meaning(tessel::IMetaModel& model, const tessel::PropertiesModel& properties) {
    for (const auto& block : model) {
        if (block == nullptr) continue;
        places_.try_emplace(block->id(), blocks_.size());
        blocks_.push_back(block.get());
    }
    std::ranges::transform(std::array{"ti", "tf", "ts"}, settings_.begin(), [&](const char* key) {
        return properties.is_key(key) ? static_cast<double>(properties.get(key)) : 0.0;
    });
    for (tessel::IMetaBlock* block : blocks_) digests_.push_back(record_of(*block));
    find_parents();
    hash_down_from_roots();
    connect(properties.links);
    tell_namesakes_apart();
}

digest_t Meaning::record_of(tessel::IMetaBlock& block) {
    const auto& traits = tessel::factory::traits_of(block);
    bytes_.clear();
    bytes_.add(std::string_view(block.class_name()));
    bytes_.add(block.name());
    bytes_.add(block.input_count());
    bytes_.add(block.output_count());
    for (const auto& parameter : traits.parameters) {
        if (parameter.content == tessel::content_t::path) continue;  // what the file holds is among the blocks
        const tessel::var_t& value = block.param(parameter.key);
        bytes_.add(std::string_view(parameter.key));
        bytes_.add(std::uint64_t{value.is_text()});
        bytes_.add(value.is_text() ? std::string(value.text()) : value.to_string());
    }
    return bytes_.digest();
}

void Meaning::find_parents() {
    parents_.resize(blocks_.size(), outside);
    for (std::size_t i = 0; i < blocks_.size(); ++i)
        if (const std::size_t parent = place_of(blocks_[i]->parent_id()); parent != i) parents_[i] = parent;
}

/// Makes the hash of a block one of its whole path. A ring of parents is cut where the walk meets it again.
void Meaning::hash_down_from_roots() {
    enum class state_t : std::uint8_t { open, under_way, done };
    std::vector<state_t> states(blocks_.size(), state_t::open);
    std::vector<std::size_t> way;
    for (std::size_t i = 0; i < blocks_.size(); ++i) {
        for (std::size_t at = i; at != outside && states[at] == state_t::open; at = parents_[at]) {
            states[at] = state_t::under_way;
            way.push_back(at);
        }
        for (; !way.empty(); way.pop_back()) {
            const std::size_t at = way.back(), parent = parents_[at];
            bytes_.clear();
            bytes_.add(digests_[at]);
            if (parent != outside && states[parent] == state_t::done) bytes_.add(digests_[parent]);
            digests_[at] = bytes_.digest();
            states[at] = state_t::done;
        }
    }
}

/// Links with an end that no block has are passed over, as a compile does.
void Meaning::connect(std::span<const tessel::link_t> links) {
    wires_.reserve(links.size());
    for (const tessel::link_t& link : links) {
        const std::size_t source = place_of(link.srcId), target = place_of(link.dstId);
        if (source == outside || target == outside) continue;
        const auto port = [](std::int16_t number) { return std::uint64_t{static_cast<std::uint16_t>(number)}; };
        wires_.push_back({source, target, port(link.srcPort) << 16 | port(link.dstPort)});
    }
}

std::size_t Meaning::distinct() const {
    auto sorted = digests_;
    std::ranges::sort(sorted);
    return sorted.size() - std::ranges::unique(sorted).size();
}

/// Blocks of one hash are told apart by their neighbours, theirs in turn, until a round tells no more of them apart.
void Meaning::tell_namesakes_apart() {
    enum side_t : std::uint64_t { from, to, above, below };
    for (std::size_t known = distinct(), before = 0; known < blocks_.size() && known != before;) {
        std::vector<std::vector<digest_t>> around(blocks_.size());
        const auto see = [&](std::size_t who, std::size_t whom, side_t side, std::uint64_t ports) {
            bytes_.clear();
            bytes_.add(std::uint64_t{side});
            bytes_.add(ports);
            bytes_.add(digests_[whom]);
            around[who].push_back(bytes_.digest());
        };
        for (const wire_t& wire : wires_) {
            see(wire.target, wire.source, from, wire.ports);
            see(wire.source, wire.target, to, wire.ports);
        }
        for (std::size_t i = 0; i < blocks_.size(); ++i) {
            if (parents_[i] == outside) continue;
            see(i, parents_[i], above, 0);
            see(parents_[i], i, below, 0);
        }
        for (std::size_t i = 0; i < blocks_.size(); ++i) {
            bytes_.clear();
            bytes_.add(digests_[i]);
            bytes_.add(std::move(around[i]));
            digests_[i] = bytes_.digest();
        }
        before = std::exchange(known, distinct());
    }
}

digest_t Meaning::wire_digest(const wire_t& wire) const {
    Bytes bytes;
    bytes.add(digests_[wire.source]);
    bytes.add(digests_[wire.target]);
    bytes.add(wire.ports);
    return bytes.digest();
}

std::string Meaning::text() const {
    Bytes bytes;
    bytes.add(scheme);
    for (const double setting : settings_) bytes.add(setting);
    bytes.add(digests_);
    std::vector<digest_t> wires;
    wires.reserve(wires_.size());
    for (const wire_t& wire : wires_) wires.push_back(wire_digest(wire));
    bytes.add(std::move(wires));
    const digest_t digest = bytes.digest();
    return tessel::format("{:016x}{:016x}", digest[0], digest[1]);
}

}  // namespace

std::string meaning_of(tessel::IMetaModel& model, const tessel::PropertiesModel& properties) {
    return Meaning(model, properties).text();
}

}  // namespace zarn
