#include "host/diagnose/everyday.h"

#include <algorithm>
#include <array>
#include <cctype>

namespace zarn {
namespace {

/// An everyday name in small letters without separators, and what it can mean; the first that is known counts.
struct meaning_t {
    std::string_view name;
    std::array<std::string_view, 3> keys;
};

constexpr std::array meanings{
    meaning_t{"a", {"coeffA"}},
    meaning_t{"b", {"coeffB"}},
    meaning_t{"bias", {"coeffB"}},
    meaning_t{"breakpoints", {"bp1"}},
    meaning_t{"color", {"bg"}},
    meaning_t{"colour", {"bg"}},
    meaning_t{"datatype", {"type"}},
    meaning_t{"dst", {"dstId"}},
    meaning_t{"dt", {"ts"}},
    meaning_t{"duration", {"tf"}},
    meaning_t{"end", {"tf"}},
    meaning_t{"expr", {"expression"}},
    meaning_t{"factor", {"coeffA"}},
    meaning_t{"file", {"path"}},
    meaning_t{"filename", {"path"}},
    meaning_t{"freq", {"frequency"}},
    meaning_t{"from", {"srcId"}},
    meaning_t{"gain", {"coeffA"}},
    meaning_t{"high", {"valueOn", "max"}},
    meaning_t{"initial", {"initialValue"}},
    meaning_t{"inputs", {"inportCount"}},
    meaning_t{"intercept", {"coeffB"}},
    meaning_t{"label", {"name"}},
    meaning_t{"low", {"valueOff", "min"}},
    meaning_t{"lower", {"min"}},
    meaning_t{"nodes", {"blocks"}},
    meaning_t{"number", {"portNumber"}},
    meaning_t{"off", {"valueOff"}},
    meaning_t{"offset", {"coeffB"}},
    meaning_t{"on", {"valueOn"}},
    meaning_t{"op", {"operator"}},
    meaning_t{"outputs", {"outportCount"}},
    meaning_t{"port", {"portNumber"}},
    meaning_t{"position", {"geometry"}},
    meaning_t{"settings", {"model"}},
    meaning_t{"slope", {"coeffA"}},
    meaning_t{"source", {"srcId"}},
    meaning_t{"src", {"srcId"}},
    meaning_t{"start", {"ti"}},
    meaning_t{"starttime", {"ti"}},
    meaning_t{"step", {"ts"}},
    meaning_t{"stepsize", {"ts"}},
    meaning_t{"stop", {"tf"}},
    meaning_t{"stoptime", {"tf"}},
    meaning_t{"table", {"out"}},
    meaning_t{"tag", {"target"}},
    meaning_t{"target", {"dstId"}},
    meaning_t{"time", {"stepTime"}},
    meaning_t{"timestep", {"ts"}},
    meaning_t{"to", {"dstId"}},
    meaning_t{"upper", {"max"}},
    meaning_t{"value", {"expression", "finalValue"}},
    meaning_t{"wires", {"links"}},
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

std::string everyday_key(std::string_view name, const std::vector<std::string>& known) {
    const std::string low = plain(name);
    const auto found = std::ranges::lower_bound(meanings, std::string_view(low), {}, &meaning_t::name);
    if (found == meanings.end() || found->name != low) return {};
    for (const std::string_view key : found->keys)
        if (!key.empty() && std::ranges::find(known, key) != known.end()) return std::string(key);
    return {};
}

}  // namespace zarn
