// The loader exchanges the ids of a referenced file for fresh ones in its whole text. An id whose digits stand
// elsewhere too, in a parameter or inside a longer id, is exchanged there as well.

#include "host/diagnose/renumber.h"

#include <algorithm>
#include <cmath>
#include <set>
#include <unordered_map>

#include "host/diagnose/source.h"
#include "host/document/places.h"

namespace zarn {
namespace {

constexpr std::size_t fresh_digits = 16;  // of every id that the library makes

/// A place where an id stands that is none.
struct hit_t {
    std::uint64_t id = 0;
    std::string pointer;
    std::string token;
    bool key = false;
};

bool holds_id(const std::string& pointer) {
    for (const char* key : {"/id", "/parent", "/srcId", "/dstId"})
        if (pointer.ends_with(key)) return true;
    return false;
}

/// Finds ids in runs of digits of a text.
class Finder {
public:
    explicit Finder(const std::vector<std::uint64_t>& ids) {
        for (const std::uint64_t id : ids) {
            const std::string digits = std::to_string(id);
            ids_.emplace(digits, id);
            lengths_.insert(digits.size());
        }
    }

    /// The first id inside a token, null when there is none.
    const std::uint64_t* inside(std::string_view token) const {
        for (std::size_t at = 0; at < token.size();) {
            if (!digit(token[at])) {
                ++at;
                continue;
            }
            std::size_t end = at;
            while (end < token.size() && digit(token[end])) ++end;
            if (const auto* id = in_run(token.substr(at, end - at)); id != nullptr) return id;
            at = end;
        }
        return nullptr;
    }

private:
    static bool digit(char c) noexcept { return c >= '0' && c <= '9'; }

    const std::uint64_t* in_run(std::string_view run) const {
        for (const std::size_t length : lengths_) {
            for (std::size_t at = 0; at + length <= run.size(); ++at) {
                const auto found = ids_.find(std::string(run.substr(at, length)));
                if (found != ids_.end()) return &found->second;
            }
        }
        return nullptr;
    }

    std::unordered_map<std::string, std::uint64_t> ids_;
    std::set<std::size_t> lengths_;
};

std::vector<hit_t> stray_hits(std::string_view text, const std::vector<std::uint64_t>& ids) {
    const Finder finder(ids);
    std::vector<hit_t> hits;
    scan(text, [&](const std::string& pointer, token_t kind, std::size_t first, std::size_t end) {
        if (kind == token_t::open || kind == token_t::other) return;
        const std::string_view token = text.substr(first, end - first);
        const std::uint64_t* id = finder.inside(token);
        if (id == nullptr) return;
        const bool meant = kind == token_t::number && holds_id(pointer) && token == std::to_string(*id);
        if (meant) return;
        const bool quoted = kind != token_t::number;
        hits.push_back(
            {*id, pointer, std::string(quoted ? token.substr(1, token.size() - 2) : token), kind == token_t::key});
    });
    return hits;
}

/// How often an id is to be expected inside the fresh ids that were put into the text before its own turn.
double expected_hits(const std::vector<std::uint64_t>& ids, std::uint64_t& shortest) {
    double expected = 0.0;
    for (std::size_t i = 0; i < ids.size(); ++i) {
        shortest = std::min(shortest, ids[i]);
        const std::size_t digits = std::to_string(ids[i]).size();
        if (digits <= fresh_digits)
            expected += static_cast<double>(i) * static_cast<double>(fresh_digits + 1 - digits) *
                        std::pow(10.0, -static_cast<double>(digits));
    }
    return expected;
}

}  // namespace

renumbering_t check_renumbering(Report& report, const file_t& file, std::size_t position,
                                const std::vector<std::uint64_t>& ids) {
    constexpr const char* mend =
        "give the blocks of the file ids of 16 digits, and let these digits stand nowhere but where an id belongs";
    const auto hits = stray_hits(file.source->text(), ids);
    std::uint64_t shortest = UINT64_MAX;
    const double expected = expected_hits(ids, shortest);
    if (!hits.empty()) {
        const hit_t& hit = hits.front();
        const finding_id finding = report.at_place(
            "Z113", severity_t::warning, position, hit.pointer,
            tessel::format("the id {} of a block stands in {} {} too{}, and the loader exchanges the ids of a "
                           "referenced file wherever their digits stand",
                           hit.id, hit.key ? "the key" : "the value", in_quotes(hit.token),
                           hits.size() == 1 ? "" : " (and so in " + counted(hits.size() - 1, "other place") + ")"),
            mend);
        for (const hit_t& more : hits) report[finding].steps.push_back(more.pointer + ": " + in_quotes(more.token));
        return {true, finding};
    }
    if (expected > 1e-6) {
        const finding_id finding = report.at_place(
            "Z113", severity_t::warning, position, "",
            tessel::format(
                "the ids of the blocks in {} are short, such as {}: the loader exchanges them as text for longer ones, "
                "and among {} an id turns up inside those of others {:.2g} times on average",
                in_quotes(file.source->shown()), shortest, counted(ids.size(), "block"), expected),
            mend);
        return {expected > 0.5, finding};
    }
    return {};
}

}  // namespace zarn
