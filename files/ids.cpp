#include "files/ids.h"

#include <algorithm>

#include "core/num.h"

namespace tessel::json {
namespace {

constexpr int id_digits = 16;
constexpr std::uint64_t most_id = (std::uint64_t{1} << 53) - 1;  // what every JSON reader holds exactly

/// The step of the splitmix64 generator: a well mixed number of any other.
std::uint64_t mix(std::uint64_t h) {
    h += 0x9E3779B97F4A7C15u;
    h = (h ^ (h >> 30)) * 0xBF58476D1CE4E5B9u;
    h = (h ^ (h >> 27)) * 0x94D049BB133111EBu;
    return h ^ (h >> 31);
}

std::uint64_t hash_of(std::string_view text) {
    std::uint64_t h = text.size();
    for (const char c : text) h = mix(h ^ static_cast<unsigned char>(c));
    return h;
}

/// Appends digits to a number so that it holds no old id and stays below `most_id`. The seed tells which digit comes
/// first; where that leads nowhere, the next one does. False when there is no such number, or when it took too long.
class Speller {
public:
    explicit Speller(const OldIds& old) : old_(old) {}

    bool spell(std::uint64_t seed, std::uint64_t& number) {
        tries_ = most_tries;
        number = 0;
        return append(number, most_power, seed);
    }

private:
    static constexpr int most_tries = 4096;
    static constexpr std::uint64_t most_power = 1'000'000'000'000'000;  // of the first of the digits

    bool append(std::uint64_t& number, std::uint64_t power, std::uint64_t seed) {
        if (power == 0) return true;
        const std::uint64_t begin = number * 10, wanted = seed % 10;
        for (std::uint64_t i = 0; i < 10; ++i) {
            const std::uint64_t next = begin + (wanted + i) % 10;
            if (next == 0 || next > most_id / power || old_.end(next)) continue;
            if (tries_-- == 0) return false;
            number = next;
            if (append(number, power / 10, mix(seed))) return true;
        }
        return false;
    }

    const OldIds& old_;
    int tries_ = 0;
};

}  // namespace

OldIds::OldIds(std::span<const std::uint64_t> ids) {
    for (const std::uint64_t id : ids) {
        std::uint64_t power = 10;
        int digits = 1;
        for (; id >= power && digits <= id_digits; ++digits) power *= 10;
        if (digits > id_digits) continue;  // too long to be in a fresh one
        auto found = std::ranges::find(lengths_, power, &length_t::power);
        if (found == lengths_.end()) found = lengths_.insert(found, {power, {}});
        found->ids.insert(id);
    }
}

bool OldIds::end(std::uint64_t number) const {
    return std::ranges::any_of(lengths_, [number](const length_t& length) {
        return number >= length.power / 10 && length.ids.contains(number % length.power);
    });
}

bool OldIds::are_in(std::uint64_t number) const {
    for (; number != 0; number /= 10)
        if (end(number)) return true;
    return false;
}

std::vector<std::uint64_t> create_ids(std::span<const std::uint64_t> old_ids) {
    constexpr int most_draws = 4096;  // enough for three ids of one digit; ten of them leave nothing to draw
    const OldIds old(old_ids);
    std::vector<std::uint64_t> ids;
    ids.reserve(old_ids.size());
    bool choosy = true;
    while (ids.size() < old_ids.size()) {
        std::uint64_t id = num::create_id();
        if (choosy) {
            int draws = 1;
            for (; old.are_in(id) && draws < most_draws; ++draws) id = num::create_id();
            choosy = draws < most_draws;
        }
        ids.push_back(id);
    }
    return ids;
}

std::vector<std::uint64_t> PathIds::ids_from_path(std::string_view path, std::span<const std::uint64_t> old_ids) {
    constexpr int most_taken = 64;  // short old ids may leave very few numbers
    const OldIds old(old_ids), none({});
    const std::uint64_t of_path = hash_of(path);
    std::vector<std::uint64_t> ids;
    ids.reserve(old_ids.size());
    for (const std::uint64_t old_id : old_ids) {
        std::uint64_t seed = mix(of_path ^ mix(old_id)), id = 0;
        bool choosy = true;
        for (int taken = 0; id == 0 || !taken_.insert(id).second; ++taken, seed = mix(seed)) {
            choosy = choosy && taken < most_taken && Speller(old).spell(seed, id);
            if (!choosy) Speller(none).spell(seed, id);
        }
        ids.push_back(id);
    }
    return ids;
}

}  // namespace tessel::json
