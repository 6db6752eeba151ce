#include "host/draw/pieces.h"

#include <algorithm>
#include <cstddef>

namespace zarn::draw {
namespace {

/// Coordinates of wires, those within the straightness of each other taken as one.
class Lines {
public:
    explicit Lines(std::vector<double> all) {
        std::ranges::sort(all);
        for (const double at : all)
            if (places_.empty() || at - places_.back() > straightness) places_.push_back(at);
    }

    std::size_t index(double at) const {
        return static_cast<std::size_t>(std::ranges::upper_bound(places_, at) - places_.begin()) - 1;
    }
    double operator[](std::size_t index) const { return places_[index]; }

private:
    std::vector<double> places_;
};

/// A stretch of one line, by indices.
struct Stretch {
    std::size_t line = 0, from = 0, to = 0;
    friend auto operator<=>(const Stretch&, const Stretch&) = default;
};

/// Stretches of one direction, joined where they touch.
class Stretches {
public:
    void add(std::size_t line, std::size_t from, std::size_t to) {
        if (from != to) all_.push_back({line, std::min(from, to), std::max(from, to)});
    }

    void join() {
        std::ranges::sort(all_);
        std::vector<Stretch> joined;
        for (const Stretch& next : all_) {
            if (!joined.empty() && joined.back().line == next.line && next.from <= joined.back().to)
                joined.back().to = std::max(joined.back().to, next.to);
            else joined.push_back(next);
        }
        all_ = std::move(joined);
    }

    /// How many ways lead away from a place of a line: 0, 1 or 2.
    int ways(std::size_t line, std::size_t at) const {
        const auto next = std::ranges::upper_bound(all_, Stretch{line, at, static_cast<std::size_t>(-1)});
        if (next == all_.begin()) return 0;
        const Stretch& found = *std::prev(next);
        if (found.line != line || found.to < at) return 0;
        return (found.from < at ? 1 : 0) + (found.to > at ? 1 : 0);
    }

    const std::vector<Stretch>& all() const { return all_; }

private:
    std::vector<Stretch> all_;
};

}  // namespace

Pieces pieces_of(const std::vector<Polyline>& wires) {
    std::vector<double> across, down;
    for (const Polyline& wire : wires) {
        for (const Point p : wire) {
            across.push_back(p.x);
            down.push_back(p.y);
        }
    }
    const Lines xs(std::move(across)), ys(std::move(down));
    Stretches level, upright;
    std::vector<std::pair<std::size_t, std::size_t>> ends;
    for (const Polyline& wire : wires) {
        for (std::size_t i = 1; i < wire.size(); ++i) {
            const Point a = wire[i - 1], b = wire[i];
            if (is_level(a, b)) level.add(ys.index(a.y), xs.index(a.x), xs.index(b.x));
            else if (is_upright(a, b)) upright.add(xs.index(a.x), ys.index(a.y), ys.index(b.y));
            else continue;
            for (const Point end : {a, b}) ends.emplace_back(xs.index(end.x), ys.index(end.y));
        }
    }
    level.join();
    upright.join();

    Pieces pieces;
    for (const Stretch& s : level.all()) pieces.straight.push_back({{xs[s.from], ys[s.line]}, {xs[s.to], ys[s.line]}});
    for (const Stretch& s : upright.all())
        pieces.straight.push_back({{xs[s.line], ys[s.from]}, {xs[s.line], ys[s.to]}});
    if (wires.size() < 2) return pieces;
    std::ranges::sort(ends);
    ends.erase(std::unique(ends.begin(), ends.end()), ends.end());
    for (const auto& [x, y] : ends)
        if (level.ways(y, x) + upright.ways(x, y) >= 3) pieces.joints.push_back({xs[x], ys[y]});
    return pieces;
}

}  // namespace zarn::draw
