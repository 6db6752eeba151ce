#include "host/draw/router.h"

#include <cstdint>
#include <numeric>
#include <tuple>

#include "host/draw/taken.h"

namespace zarn::draw {
namespace {

constexpr double pitch = 9;      // between free lines of the grid
constexpr double margin = 9;     // that wires keep from blocks
constexpr double frame = 54;     // free space around everything
constexpr double in_margin = 6;  // factors on the length: close to a block,
constexpr double in_text = 7;    // across a text,
constexpr double in_block = 60;  // through a block
constexpr float bend_cost = 22;
constexpr float cross_cost = 14;
constexpr float touch_cost = 120;   // another net bends here: it would look like a connection
constexpr float share_factor = 12;  // along another net's wire
constexpr float share_cost = 150;
constexpr std::size_t most_vertices = 600'000;
constexpr std::size_t most_visits = 10'000'000;  // of all searches of a page together
constexpr std::size_t most_twice = 300;          // nets of a page whose wires are laid a second time

constexpr std::int32_t nobody = -1;
constexpr std::int32_t several = -2;

enum Direction : std::uint8_t { right, down, left, up, any };

Direction direction_of(Point d) {
    if (std::abs(d.x) >= std::abs(d.y)) return d.x >= 0 ? right : left;
    return d.y >= 0 ? down : up;
}

bool level(Direction d) { return d == right || d == left; }

Direction opposite(Direction d) { return static_cast<Direction>((d + 2) % 4); }

/// Lines at even distances, and exactly at the ports.
std::vector<double> lines_between(double from, double to, std::vector<double> exact) {
    std::ranges::sort(exact);
    std::vector<double> lines;
    const auto fill = [&lines](double a, double b) {
        const double count = std::floor((b - a) / pitch);
        for (double i = 1; i < count; ++i) lines.push_back(a + (b - a) * i / count);
    };
    double last = from;
    lines.push_back(from);
    for (const double at : exact) {
        if (at - last < 0.5) continue;
        fill(last, at);
        lines.push_back(at);
        last = at;
    }
    fill(last, to);
    if (to > last) lines.push_back(to);
    return lines;
}

std::size_t nearest(const std::vector<double>& lines, double at) {
    const auto found = std::ranges::lower_bound(lines, at);
    const auto index = static_cast<std::size_t>(found - lines.begin());
    if (index == lines.size()) return index - 1;
    return index > 0 && at - lines[index - 1] < lines[index] - at ? index - 1 : index;
}

/// The first line that keeps the margin from `at`, on its rising or its falling side.
std::size_t beyond(const std::vector<double>& lines, double at, bool rising) {
    if (rising) {
        const auto found = std::ranges::lower_bound(lines, at + margin - 0.4);
        return std::min(static_cast<std::size_t>(found - lines.begin()), lines.size() - 1);
    }
    const auto found = std::ranges::upper_bound(lines, at - margin + 0.4);
    return found == lines.begin() ? 0 : static_cast<std::size_t>(found - lines.begin()) - 1;
}

struct Vertex {
    std::int32_t net = nobody;  // whose wires come through
    bool straight_level = false, straight_upright = false;
};

class Grid {
public:
    Grid(const RoutingArea& area, const std::vector<Net>& nets) {
        make_lines(area, nets);
        if (size() > most_vertices) return;
        level_factor_.assign(size(), 1);
        upright_factor_.assign(size(), 1);
        level_owner_.assign(size(), nobody);
        upright_owner_.assign(size(), nobody);
        vertices_.assign(size(), {});
        passed_.resize(nets.size());
        for (const Rect& text : area.texts) weigh(text.grown(2.5), in_text);
        for (const Rect& block : area.blocks) weigh(block.grown(margin - 0.5), in_margin);
        for (const Rect& block : area.blocks) weigh(block.grown(-0.5), in_block);
    }

    std::size_t size() const { return xs_.size() * ys_.size(); }
    std::size_t width() const { return xs_.size(); }
    Point at(std::size_t v) const { return {xs_[v % width()], ys_[v / width()]}; }

    /// The grid point in front of a terminal.
    std::size_t entry(const Terminal& t) const {
        const Direction d = direction_of(t.out);
        const std::size_t x = level(d) ? beyond(xs_, t.at.x, d == right) : nearest(xs_, t.at.x);
        const std::size_t y = level(d) ? nearest(ys_, t.at.y) : beyond(ys_, t.at.y, d == down);
        return y * width() + x;
    }

    std::size_t vertex_at(Point p) const { return nearest(ys_, p.y) * width() + nearest(xs_, p.x); }

    /// The neighbour, or `size()` at the rim.
    std::size_t neighbour(std::size_t v, Direction d) const {
        const std::size_t x = v % width(), y = v / width();
        switch (d) {
            case right: return x + 1 < width() ? v + 1 : size();
            case left: return x > 0 ? v - 1 : size();
            case down: return y + 1 < ys_.size() ? v + width() : size();
            default: return y > 0 ? v - width() : size();
        }
    }

    /// Cost of going from `v` to its neighbour in a direction, for a net.
    float edge_cost(std::size_t v, std::size_t w, Direction d, std::int32_t net) const {
        const std::size_t e = std::min(v, w);
        const Point a = at(v), b = at(w);
        const auto length = static_cast<float>(std::abs(a.x - b.x) + std::abs(a.y - b.y));
        const float factor = level(d) ? level_factor_[e] : upright_factor_[e];
        const std::int32_t owner = level(d) ? level_owner_[e] : upright_owner_[e];
        return length * factor + (owner != nobody && owner != net ? share_factor * length + share_cost : 0);
    }

    /// Cost of passing a grid point straight on or with a bend.
    float vertex_cost(std::size_t v, Direction in, Direction out, std::int32_t net) const {
        float cost = in != any && in != out ? bend_cost : 0;
        const Vertex& vertex = vertices_[v];
        if (vertex.net == nobody || vertex.net == net) return cost;
        const bool straight = in == out;
        const bool crossing = level(out) ? vertex.straight_upright && !vertex.straight_level
                                         : vertex.straight_level && !vertex.straight_upright;
        return cost + (straight && crossing ? cross_cost : touch_cost);
    }

    void occupy(const Polyline& line, std::int32_t net) {
        for (std::size_t i = 1; i < line.size(); ++i) {
            const Direction d = direction_of(line[i] - line[i - 1]);
            const Point p = line[i - 1], q = line[i];
            if (!is_level(p, q) && !is_upright(p, q)) continue;
            std::size_t v = vertex_at(p);
            const std::size_t end = vertex_at(q);
            touch(v, net, d, i == 1);
            while (v != end) {
                const std::size_t w = neighbour(v, d);
                if (w == size()) break;
                auto& owner = (level(d) ? level_owner_ : upright_owner_)[std::min(v, w)];
                owner = owner == nobody || owner == net ? net : several;
                v = w;
                touch(v, net, d, v == end);
            }
        }
    }

    void vacate(std::int32_t net) {
        for (const std::size_t v : passed_[static_cast<std::size_t>(net)]) {
            if (level_owner_[v] == net) level_owner_[v] = nobody;
            if (upright_owner_[v] == net) upright_owner_[v] = nobody;
            if (vertices_[v].net == net) vertices_[v] = {};
        }
        passed_[static_cast<std::size_t>(net)].clear();
    }

private:
    void make_lines(const RoutingArea& area, const std::vector<Net>& nets) {
        Rect all = area.blocks.empty() ? Rect{} : area.blocks.front();
        for (const Rect& block : area.blocks) all = all.joined(block);
        std::vector<double> x, y;
        const auto add = [&](const Terminal& t) {
            all = all.joined({t.at.x, t.at.y, 0, 0});
            (level(direction_of(t.out)) ? y : x).push_back(level(direction_of(t.out)) ? t.at.y : t.at.x);
        };
        for (const Net& net : nets) {
            add(net.source);
            for (const Terminal& target : net.targets) add(target);
            for (const Polyline& line : net.fixed) {
                for (const Point p : line) {
                    all = all.joined({p.x, p.y, 0, 0});
                    x.push_back(p.x);
                    y.push_back(p.y);
                }
            }
        }
        all = all.grown(frame);
        xs_ = lines_between(all.x, all.right(), std::move(x));
        ys_ = lines_between(all.y, all.bottom(), std::move(y));
    }

    void weigh(const Rect& r, double factor) {
        const auto first = [](const std::vector<double>& lines, double at) {
            return static_cast<std::size_t>(std::ranges::lower_bound(lines, at) - lines.begin());
        };
        const std::size_t x0 = first(xs_, r.x), x1 = first(xs_, r.right());
        const std::size_t y0 = first(ys_, r.y), y1 = first(ys_, r.bottom());
        const auto raise = [factor](float& f) { f = std::max(f, static_cast<float>(factor)); };
        for (std::size_t y = y0; y < y1; ++y)
            for (std::size_t x = x0 > 0 ? x0 - 1 : 0; x < x1; ++x) raise(level_factor_[y * width() + x]);
        for (std::size_t y = y0 > 0 ? y0 - 1 : 0; y < y1; ++y)
            for (std::size_t x = x0; x < x1; ++x) raise(upright_factor_[y * width() + x]);
    }

    void touch(std::size_t v, std::int32_t net, Direction d, bool corner) {
        passed_[static_cast<std::size_t>(net)].push_back(v);
        Vertex& vertex = vertices_[v];
        const bool shared = vertex.net != nobody && vertex.net != net;
        vertex.net = shared ? several : net;
        if (corner) vertex.straight_level = vertex.straight_upright = true;  // nobody crosses here
        (level(d) ? vertex.straight_level : vertex.straight_upright) = true;
    }

    std::vector<double> xs_, ys_;
    std::vector<float> level_factor_, upright_factor_;  // of the piece to the right of, below a point
    std::vector<std::int32_t> level_owner_, upright_owner_;
    std::vector<Vertex> vertices_;
    std::vector<std::vector<std::size_t>> passed_;  // grid points of each net
};

/// Where wires of a net may begin: its source's door, and every grid point that they pass already.
class Tree {
public:
    explicit Tree(const Grid& grid) : grid_(grid), round_(grid.size(), 0) {}

    void start(std::size_t door, Direction out) {
        ++now_;
        door_ = door, out_ = out;
        const Point p = grid_.at(door);
        box_ = {p.x, p.y, 0, 0};
        round_[door] = now_;
    }

    void add(std::size_t v) {
        const Point p = grid_.at(v);
        box_ = box_.joined({p.x, p.y, 0, 0});
        round_[v] = now_;
    }

    bool holds(std::size_t v) const { return round_[v] == now_; }
    /// Which way a wire comes into one of its points.
    Direction direction(std::size_t v) const { return v == door_ ? out_ : any; }
    /// Parting from the trunk is worth a little less than a bend.
    float cost(std::size_t v) const { return v == door_ ? 0 : bend_cost * 0.4f; }
    /// At least so far is the nearest of its points.
    float distance(Point p) const {
        return static_cast<float>(std::max({box_.x - p.x, p.x - box_.right(), 0.0}) +
                                  std::max({box_.y - p.y, p.y - box_.bottom(), 0.0}));
    }

private:
    const Grid& grid_;
    std::vector<std::uint32_t> round_;
    std::uint32_t now_ = 0;
    std::size_t door_ = 0;
    Direction out_ = any;
    Rect box_;
};

/// The cheapest way from a tree to a grid point, by A* from its end: so a search costs what its own way takes, however
/// large the tree is.
class Search {
public:
    explicit Search(const Grid& grid)
        : grid_(grid), cost_(grid.size() * 4 + 1), from_(cost_.size()), round_(cost_.size(), 0) {}

    std::size_t visits() const { return visits_; }

    Polyline find(const Tree& tree, std::size_t goal, Direction into, std::int32_t net) {
        ++now_;
        open_.clear();
        const std::size_t arrived = grid_.size() * 4;
        visit(goal * 4 + into, 0, no_state, tree.distance(grid_.at(goal)));
        while (!open_.empty()) {
            const Entry entry = open_.front();
            std::pop_heap(open_.begin(), open_.end());
            open_.pop_back();
            if (entry.cost > cost_[entry.state]) continue;
            if (entry.state == arrived) return trace(from_[arrived]);
            const std::size_t v = entry.state / 4;
            const auto out = static_cast<Direction>(entry.state % 4);
            if (const Direction in = tree.direction(v); tree.holds(v) && in != opposite(out))
                visit(arrived, entry.cost + tree.cost(v) + grid_.vertex_cost(v, in, out, net), entry.state, 0);
            ++visits_;
            for (const Direction d : {right, down, left, up}) {
                if (d == out) continue;
                const std::size_t w = grid_.neighbour(v, d);
                if (w == grid_.size()) continue;
                const Direction in = opposite(d);
                const float cost = entry.cost + grid_.vertex_cost(v, in, out, net) + grid_.edge_cost(v, w, d, net);
                visit(w * 4 + in, cost, entry.state, tree.distance(grid_.at(w)));
            }
        }
        return {};
    }

private:
    static constexpr std::size_t no_state = static_cast<std::size_t>(-1);

    /// A grid point with the direction in which the way leaves it.
    struct Entry {
        float total, cost;
        std::size_t state;
        /// Of ways as cheap as each other the one further on goes first.
        bool operator<(const Entry& o) const {
            return std::tuple(o.total, cost, o.state) < std::tuple(total, o.cost, state);
        }
    };

    void visit(std::size_t state, float cost, std::size_t from, float rest) {
        if (round_[state] == now_ && cost_[state] <= cost) return;
        round_[state] = now_;
        cost_[state] = cost;
        from_[state] = from;
        open_.push_back({cost + rest, cost, state});
        std::push_heap(open_.begin(), open_.end());
    }

    Polyline trace(std::size_t state) const {
        Polyline way;
        for (; state != no_state; state = from_[state]) way.push_back(grid_.at(state / 4));
        return way;
    }

    const Grid& grid_;
    std::vector<float> cost_;
    std::vector<std::size_t> from_;
    std::vector<std::uint32_t> round_;
    std::uint32_t now_ = 0;
    std::size_t visits_ = 0;
    std::vector<Entry> open_;
};

double length(const Terminal& a, const Terminal& b) { return std::abs(a.at.x - b.at.x) + std::abs(a.at.y - b.at.y); }

/// A way with two bends, or four where the target lies behind, that looks at nothing in between.
Polyline plain_route(const Terminal& a, const Terminal& b) {
    const Point p = a.at + a.out * (margin + 3), q = b.at + b.out * (margin + 3);
    Polyline line{a.at, p};
    const bool level_a = level(direction_of(a.out)), level_b = level(direction_of(b.out));
    if (level_a && level_b) {
        if ((q.x - p.x) * a.out.x >= 0 && a.out.x != b.out.x) {
            const double middle = (p.x + q.x) / 2;
            line.insert(line.end(), {{middle, p.y}, {middle, q.y}});
        } else {
            const double middle = (p.y + q.y) / 2;
            line.insert(line.end(), {{p.x, middle}, {q.x, middle}});
        }
    } else {
        line.push_back(level_a ? Point{q.x, p.y} : Point{p.x, q.y});
    }
    line.insert(line.end(), {q, b.at});
    return simplified(line);
}

class Router {
public:
    Router(const RoutingArea& area, std::vector<Net>& nets) : nets_(nets), grid_(area, nets) {
        for (const Rect& block : area.blocks) blocks_.add(block);
    }

    void run() {
        lay_all();
        for (Net& net : nets_) {
            std::vector<Polyline> wires = net.routes;
            wires.insert(wires.end(), net.fixed.begin(), net.fixed.end());
            net.pieces = pieces_of(wires);
        }
    }

private:
    void lay_all() {
        std::vector<std::size_t> order(nets_.size());
        std::iota(order.begin(), order.end(), std::size_t{0});
        const auto reach = [this](std::size_t n) {
            double sum = 0;
            for (const auto& target : nets_[n].targets) sum += length(nets_[n].source, target);
            return sum;
        };
        std::ranges::stable_sort(order, {}, reach);
        if (grid_.size() > most_vertices) {
            for (const std::size_t n : order) lay_plainly(nets_[n]);
            return;
        }
        for (const std::size_t n : order) occupy_fixed(n);
        Search search(grid_);
        Tree tree(grid_);
        for (const std::size_t n : order) lay(n, search, tree);
        // once more, with everybody else's wires known
        if (nets_.size() > most_twice) return;
        for (const std::size_t n : order) {
            if (search.visits() > most_visits / 2) break;
            grid_.vacate(static_cast<std::int32_t>(n));
            occupy_fixed(n);
            lay(n, search, tree);
        }
    }

    static void lay_plainly(Net& net) {
        net.routes.clear();
        for (const Terminal& target : net.targets) net.routes.push_back(plain_route(net.source, target));
    }

    void occupy_fixed(std::size_t n) {
        for (const Polyline& line : nets_[n].fixed) grid_.occupy(line, static_cast<std::int32_t>(n));
    }

    /// The grid points along the wires that a person has drawn.
    void add_fixed(const Net& net, Tree& tree) const {
        for (const Polyline& line : net.fixed) {
            for (std::size_t i = 2; i < line.size(); ++i) {
                const Direction d = direction_of(line[i] - line[i - 1]);
                const std::size_t end = grid_.vertex_at(line[i]);
                if (!is_level(line[i], line[i - 1]) && !is_upright(line[i], line[i - 1])) continue;
                for (std::size_t v = grid_.vertex_at(line[i - 1]); v != end && v != grid_.size();
                     v = grid_.neighbour(v, d))
                    tree.add(v);
            }
        }
    }

    void lay(std::size_t n, Search& search, Tree& tree) {
        Net& net = nets_[n];
        if (search.visits() > most_visits) return lay_plainly(net);
        const auto owner = static_cast<std::int32_t>(n);
        net.routes.assign(net.targets.size(), {});
        std::vector<std::size_t> order(net.targets.size());
        std::iota(order.begin(), order.end(), std::size_t{0});
        std::ranges::stable_sort(order, {}, [&](std::size_t i) { return length(net.source, net.targets[i]); });

        const std::size_t door = grid_.entry(net.source);
        tree.start(door, direction_of(net.source.out));
        add_fixed(net, tree);
        for (const std::size_t i : order) {
            const Terminal& target = net.targets[i];
            const std::size_t goal = grid_.entry(target);
            const bool level_way = straight(net.source, target);
            if (level_way && goal < door) {  // too close for a door each
                net.routes[i] = {net.source.at, target.at};
                continue;
            }
            Polyline way =
                level_way ? walk(door, goal) : search.find(tree, goal, opposite(direction_of(target.out)), owner);
            grid_.occupy(simplified(way), owner);
            for (const Point p : way) tree.add(grid_.vertex_at(p));
            if (way.empty() || way.front() == grid_.at(door)) way.insert(way.begin(), net.source.at);
            way.push_back(target.at);
            net.routes[i] = simplified(way);
        }
    }

    /// A level line between two ports that face each other with nothing in between.
    bool straight(const Terminal& a, const Terminal& b) const {
        const bool facing = a.out == Point{1, 0} && b.out == Point{-1, 0} && a.at.x < b.at.x;
        if (!facing || std::abs(a.at.y - b.at.y) > 0.01) return false;
        return blocks_.overlap({a.at.x + 0.5, a.at.y - 1, b.at.x - a.at.x - 1, 2}) == 0;
    }

    Polyline walk(std::size_t from, std::size_t to) const {
        Polyline way;
        for (std::size_t v = from; v <= to; ++v) way.push_back(grid_.at(v));
        return way;
    }

    Taken blocks_;
    std::vector<Net>& nets_;
    Grid grid_;
};

}  // namespace

Polyline simplified(const Polyline& line) {
    Polyline corners;
    for (const Point p : line) {
        if (!corners.empty() && corners.back() == p) continue;
        if (corners.size() >= 2) {
            const Point a = corners[corners.size() - 2], b = corners.back();
            const bool level_line = a.y == b.y && b.y == p.y, upright_line = a.x == b.x && b.x == p.x;
            if (level_line || upright_line) corners.pop_back();
        }
        corners.push_back(p);
    }
    return corners;
}

void route(const RoutingArea& area, std::vector<Net>& nets) {
    if (!nets.empty()) Router(area, nets).run();
}

}  // namespace zarn::draw
