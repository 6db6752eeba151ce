#include "host/diagnose/everyday.h"

#include <algorithm>
#include <array>
#include <cctype>

namespace zarn {
namespace {

/// An everyday name in small letters without separators, and the key that is meant by it. Those of parameters stand
/// beside their classes.
struct meaning_t {
    std::string_view name;
    std::string_view key;
};

constexpr std::array meanings{
    meaning_t{"color", "bg"},
    meaning_t{"colour", "bg"},
    meaning_t{"dst", "dstId"},
    meaning_t{"dt", "ts"},
    meaning_t{"duration", "tf"},
    meaning_t{"end", "tf"},
    meaning_t{"from", "srcId"},
    meaning_t{"inputs", "inportCount"},
    meaning_t{"label", "name"},
    meaning_t{"nodes", "blocks"},
    meaning_t{"outputs", "outportCount"},
    meaning_t{"position", "geometry"},
    meaning_t{"settings", "model"},
    meaning_t{"source", "srcId"},
    meaning_t{"src", "srcId"},
    meaning_t{"start", "ti"},
    meaning_t{"starttime", "ti"},
    meaning_t{"step", "ts"},
    meaning_t{"stepsize", "ts"},
    meaning_t{"stop", "tf"},
    meaning_t{"stoptime", "tf"},
    meaning_t{"target", "dstId"},
    meaning_t{"timestep", "ts"},
    meaning_t{"to", "dstId"},
    meaning_t{"wires", "links"},
};
static_assert(std::ranges::is_sorted(meanings, {}, &meaning_t::name));

/// Small letters and digits alone.
std::string plain(std::string_view name) {
    std::string text;
    for (const char c : name) {
        const auto byte = static_cast<unsigned char>(c);
        if (std::isalnum(byte) != 0) text += static_cast<char>(std::tolower(byte));
    }
    return text;
}

}  // namespace

std::string everyday_key(std::string_view name, const std::vector<std::string>& known,
                         std::span<const tessel::parameter_traits_t> parameters) {
    const std::string low = plain(name);
    for (const tessel::parameter_traits_t& parameter : parameters)
        for (const char* everyday : parameter.everyday)
            if (plain(everyday) == low) return parameter.key;
    const auto found = std::ranges::lower_bound(meanings, std::string_view(low), {}, &meaning_t::name);
    if (found == meanings.end() || found->name != low || std::ranges::find(known, found->key) == known.end()) return {};
    return std::string(found->key);
}

}  // namespace zarn
