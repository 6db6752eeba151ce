#include "host/diagnose/nearest.h"

#include <algorithm>

namespace zarn {
namespace {

std::string lowered(std::string_view text) {
    std::string low(text);
    for (char& c : low)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    return low;
}

}  // namespace

std::size_t edit_distance(std::string_view a, std::string_view b, std::size_t most) {
    constexpr std::size_t longest = 1000;  // nobody mistypes a longer name, and a file may hold very long ones
    if (std::max(a.size(), b.size()) > longest) return a == b ? 0 : most;
    if (std::max(a.size(), b.size()) - std::min(a.size(), b.size()) >= most) return most;
    std::vector<std::size_t> row(b.size() + 1);
    for (std::size_t j = 0; j <= b.size(); ++j) row[j] = j;
    for (std::size_t i = 1; i <= a.size(); ++i) {
        std::size_t diagonal = row[0];
        row[0] = i;
        std::size_t least = i;
        for (std::size_t j = 1; j <= b.size(); ++j) {
            const std::size_t above = row[j];
            row[j] = std::min({above + 1, row[j - 1] + 1, diagonal + (a[i - 1] == b[j - 1] ? 0u : 1u)});
            diagonal = above;
            least = std::min(least, row[j]);
        }
        if (least >= most) return most;  // a row never falls below the one before it
    }
    return std::min(row.back(), most);
}

std::string nearest_name(std::string_view given, const std::vector<std::string>& known) {
    const std::string low = lowered(given);
    std::size_t best = std::min<std::size_t>(2, low.size() / 2) + 1;
    std::string nearest;
    for (const std::string& name : known) {
        const std::size_t d = edit_distance(low, lowered(name), best);
        if (d >= best) continue;
        best = d;
        nearest = name;
    }
    return nearest;
}

}  // namespace zarn
