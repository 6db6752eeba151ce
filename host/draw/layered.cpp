#include <algorithm>
#include <numeric>

#include "host/draw/layout.h"

namespace zarn::draw {
namespace {

using Adjacency = std::vector<std::vector<std::size_t>>;  // edge indices by node

constexpr std::size_t nothing = static_cast<std::size_t>(-1);

/// Numbers of the strongly connected parts (Tarjan's algorithm without recursion: chains can be long).
std::vector<std::size_t> components(const LayoutGraph& graph, const Adjacency& leaving) {
    const std::size_t n = graph.nodes.size();
    std::vector<std::size_t> order(n, nothing), low(n, 0), component(n, nothing), open, next(n, 0);
    std::vector<std::size_t> path;
    std::size_t clock = 0, parts = 0;
    for (std::size_t root = 0; root < n; ++root) {
        if (order[root] != nothing) continue;
        path.push_back(root);
        while (!path.empty()) {
            const std::size_t v = path.back();
            if (order[v] == nothing) {
                order[v] = low[v] = clock++;
                open.push_back(v);
            }
            if (next[v] < leaving[v].size()) {
                const std::size_t w = graph.edges[leaving[v][next[v]++]].to;
                if (order[w] == nothing) path.push_back(w);
                else if (component[w] == nothing) low[v] = std::min(low[v], order[w]);
                continue;
            }
            path.pop_back();
            if (!path.empty()) low[path.back()] = std::min(low[path.back()], low[v]);
            if (low[v] != order[v]) continue;
            for (std::size_t w = nothing; w != v;) {
                w = open.back();
                open.pop_back();
                component[w] = parts;
            }
            ++parts;
        }
    }
    return component;
}

/// Ends of an edge with loops opened: from the earlier layer to the later one.
std::size_t earlier(const LayoutEdge& e) { return e.backward ? e.to : e.from; }
std::size_t later(const LayoutEdge& e) { return e.backward ? e.from : e.to; }

/// A node of the layered drawing: a block, or the place where a long wire passes through a layer.
struct Cell {
    std::size_t layer = 0;
    double height = 0;
    double y = 0;                                               // of the top
    std::vector<std::pair<std::size_t, double>> before, after;  // neighbours with the offset at which they want us
};

class Layers {
public:
    explicit Layers(const LayoutGraph& graph) : graph_(graph) {}

    Positions place() {
        assign_layers();
        make_cells();
        for (int sweep = 0; sweep < 8; ++sweep) order_layers(sweep % 2 == 0);
        stack();
        for (int sweep = 0; sweep < 12; ++sweep) relax(sweep % 2 == 0);
        return positions();
    }

private:
    void assign_layers() {
        const std::size_t n = graph_.nodes.size();
        layer_.assign(n, 0);
        std::vector<std::size_t> waiting(n, 0), ready;
        Adjacency out(n);
        for (std::size_t e = 0; e < graph_.edges.size(); ++e) {
            const auto& edge = graph_.edges[e];
            if (edge.from == edge.to) continue;
            out[earlier(edge)].push_back(e);
            ++waiting[later(edge)];
        }
        for (std::size_t v = 0; v < n; ++v)
            if (waiting[v] == 0) ready.push_back(v);
        for (std::size_t i = 0; i < ready.size(); ++i) {
            for (const std::size_t e : out[ready[i]]) {
                const std::size_t w = later(graph_.edges[e]);
                layer_[w] = std::max(layer_[w], layer_[ready[i]] + 1);
                if (--waiting[w] == 0) ready.push_back(w);
            }
        }
        // sources stand next to what they feed
        for (auto v = ready.rbegin(); v != ready.rend(); ++v) {
            if (layer_[*v] != 0 || out[*v].empty()) continue;
            std::size_t nearest = nothing;
            for (const std::size_t e : out[*v]) nearest = std::min(nearest, layer_[later(graph_.edges[e])]);
            layer_[*v] = nearest - 1;
        }
    }

    void make_cells() {
        const std::size_t n = graph_.nodes.size();
        std::size_t layers = 1;
        for (std::size_t v = 0; v < n; ++v) {
            cells_.push_back({layer_[v], graph_.nodes[v].height, 0, {}, {}});
            layers = std::max(layers, layer_[v] + 1);
        }
        const std::size_t most = n * 8 + 1000;  // beyond that, long wires do without places of their own
        for (const auto& edge : graph_.edges) {
            if (edge.from == edge.to) continue;
            std::size_t last = earlier(edge);
            double offset = port_height(edge, last);
            for (std::size_t layer = layer_[last] + 1; layer < layer_[later(edge)] && cells_.size() < most; ++layer) {
                cells_.push_back({layer, 12, 0, {}, {}});
                join(last, offset, cells_.size() - 1, 6);
                last = cells_.size() - 1, offset = 6;
            }
            join(last, offset, later(edge), port_height(edge, later(edge)));
        }
        rows_.assign(layers, {});
        for (std::size_t c = 0; c < cells_.size(); ++c) rows_[cells_[c].layer].push_back(c);
    }

    double port_height(const LayoutEdge& edge, std::size_t node) const {
        const auto& ports = node == edge.from ? graph_.nodes[node].output_y : graph_.nodes[node].input_y;
        const std::size_t port = node == edge.from ? edge.output : edge.input;
        return port < ports.size() && ports[port] >= 0 ? ports[port] : graph_.nodes[node].height / 2;
    }

    /// A level wire between two cells puts the second cell's top at the first one's top plus the difference.
    void join(std::size_t a, double at_a, std::size_t b, double at_b) {
        cells_[a].after.emplace_back(b, at_b - at_a);
        cells_[b].before.emplace_back(a, at_a - at_b);
    }

    void order_layers(bool forward) {
        std::vector<double> rank(cells_.size());
        for (const auto& row : rows_)
            for (std::size_t i = 0; i < row.size(); ++i) rank[row[i]] = static_cast<double>(i);
        const auto settle = [&](std::vector<std::size_t>& row) {
            std::vector<std::pair<double, std::size_t>> keyed;
            for (const std::size_t c : row) {
                const auto& near = forward ? cells_[c].before : cells_[c].after;
                double sum = 0;
                for (const auto& [other, offset] : near) sum += rank[other] - offset / 1000;
                keyed.emplace_back(near.empty() ? rank[c] : sum / static_cast<double>(near.size()), c);
            }
            std::ranges::stable_sort(keyed, {}, &std::pair<double, std::size_t>::first);
            for (std::size_t i = 0; i < row.size(); ++i) rank[row[i] = keyed[i].second] = static_cast<double>(i);
        };
        if (forward)
            for (auto& row : rows_) settle(row);
        else
            for (auto row = rows_.rbegin(); row != rows_.rend(); ++row) settle(*row);
    }

    void stack() {
        for (const auto& row : rows_) {
            double y = 0;
            for (const std::size_t c : row) {
                cells_[c].y = y;
                y += cells_[c].height + row_gap;
            }
        }
    }

    /// Draws each cell towards its neighbours of one side, the order within the layer kept: the nearest places in the
    /// sense of least squares, by merging cells that would overlap into one crowd with a common shift.
    void relax(bool forward) {
        struct Crowd {
            double sum = 0;
            std::size_t count = 0;
            double shift() const { return sum / static_cast<double>(count); }
        };
        const auto settle = [&](const std::vector<std::size_t>& row) {
            std::vector<Crowd> crowds;
            double offset = 0;
            for (const std::size_t c : row) {
                const auto& near = forward ? cells_[c].before : cells_[c].after;
                double sum = 0;
                for (const auto& [other, level] : near) sum += cells_[other].y + level;
                const double wanted = near.empty() ? cells_[c].y : sum / static_cast<double>(near.size());
                crowds.push_back({wanted - offset, 1});
                while (crowds.size() > 1 && crowds[crowds.size() - 2].shift() > crowds.back().shift()) {
                    const Crowd last = crowds.back();
                    crowds.pop_back();
                    crowds.back().sum += last.sum;
                    crowds.back().count += last.count;
                }
                offset += cells_[c].height + row_gap;
            }
            std::size_t next = 0;
            offset = 0;
            for (const Crowd& crowd : crowds) {
                for (std::size_t i = 0; i < crowd.count; ++i) {
                    Cell& cell = cells_[row[next++]];
                    cell.y = crowd.shift() + offset;
                    offset += cell.height + row_gap;
                }
            }
        };
        if (forward)
            for (const auto& row : rows_) settle(row);
        else
            for (auto row = rows_.rbegin(); row != rows_.rend(); ++row) settle(*row);
    }

    Positions positions() const {
        std::vector<double> left(rows_.size() + 1, 0), width(rows_.size(), 0);
        for (std::size_t v = 0; v < graph_.nodes.size(); ++v)
            width[layer_[v]] = std::max(width[layer_[v]], graph_.nodes[v].width);
        for (std::size_t i = 0; i < rows_.size(); ++i) left[i + 1] = left[i] + width[i] + layer_gap;
        Positions found;
        for (std::size_t v = 0; v < graph_.nodes.size(); ++v)
            found.push_back({left[layer_[v]] + (width[layer_[v]] - graph_.nodes[v].width) / 2, cells_[v].y});
        return found;
    }

    const LayoutGraph& graph_;
    std::vector<std::size_t> layer_;
    std::vector<Cell> cells_;
    std::vector<std::vector<std::size_t>> rows_;
};

/// Moves blocks up and down until wires are level.
class Straightener {
public:
    Straightener(const LayoutGraph& graph, Positions& positions)
        : graph_(graph), at_(positions), into_(positions.size()), from_(positions.size()), group_(positions.size()) {
        for (std::size_t e = 0; e < graph.edges.size(); ++e) {
            if (graph.edges[e].backward || graph.edges[e].from == graph.edges[e].to) continue;
            into_[graph.edges[e].to].push_back(e);
            from_[graph.edges[e].from].push_back(e);
        }
        for (std::size_t v = 0; v < positions.size(); ++v) {
            group_[v].push_back(v);
            order_.push_back(v);
        }
        // sources that feed one block only go where it goes
        for (std::size_t v = 0; v < positions.size(); ++v)
            if (into_[v].empty() && from_[v].size() == 1) group_[graph.edges[from_[v].front()].to].push_back(v);
        std::ranges::stable_sort(order_, {}, [&](std::size_t v) { return positions[v].x; });
    }

    void sweep() {
        for (const std::size_t v : order_) align(v, into_[v], 1, 300);
        for (auto v = order_.rbegin(); v != order_.rend(); ++v) align(*v, from_[*v], -1, into_[*v].empty() ? 300 : 40);
    }

private:
    static constexpr double never = 1e9;

    /// How far the target of a wire has to move until the wire is level.
    double gap(std::size_t edge) const {
        const LayoutEdge& e = graph_.edges[edge];
        const auto& out = graph_.nodes[e.from].output_y;
        const auto& in = graph_.nodes[e.to].input_y;
        if (e.output >= out.size() || e.input >= in.size() || in[e.input] < 0) return never;
        return at_[e.from].y + out[e.output] - at_[e.to].y - in[e.input];
    }

    Rect room_of(std::size_t v, double move) const {
        return {at_[v].x, at_[v].y + move, graph_.nodes[v].width, graph_.nodes[v].height};
    }

    using Group = std::span<const std::size_t>;

    bool is_free(Group group, double move) const {
        for (const std::size_t member : group) {
            const Rect wanted = room_of(member, move).grown(8);
            for (std::size_t o = 0; o < at_.size(); ++o)
                if (std::ranges::find(group, o) == group.end() && wanted.overlaps(room_of(o, 0))) return false;
        }
        return true;
    }

    /// How far from level the wires of a block are when it moves with a group. What comes after it can follow, so
    /// that its wires count less.
    double slack(std::size_t v, Group group, double move) const {
        double sum = 0;
        for (const std::size_t e : into_[v]) {
            const bool own = std::ranges::find(group, graph_.edges[e].from) != group.end();
            if (const double g = gap(e); g != never) sum += std::abs(own ? g : g - move);
        }
        for (const std::size_t e : from_[v])
            if (const double g = gap(e); g != never) sum += 0.5 * std::abs(g + move);
        return sum;
    }

    void align(std::size_t v, const std::vector<std::size_t>& wires, double sign, double reach) {
        const Group together(group_[v]), alone = together.first(1);
        Group group = alone;
        double best = 0, least = slack(v, alone, 0) - 0.1;
        for (const std::size_t e : wires) {
            const double move = gap(e) == never ? 0 : sign * gap(e);
            if (move == 0 || std::abs(move) > reach) continue;
            for (const Group tried : {together, alone}) {
                const double left = slack(v, tried, move);
                if (left >= least || !is_free(tried, move)) continue;
                best = move;
                least = left;
                group = tried;
            }
        }
        for (const std::size_t member : group) at_[member].y += best;
    }

    const LayoutGraph& graph_;
    Positions& at_;
    Adjacency into_, from_;
    std::vector<std::vector<std::size_t>> group_;
    std::vector<std::size_t> order_;
};

}  // namespace

void turn_loops(LayoutGraph& graph) {
    const std::size_t n = graph.nodes.size();
    Adjacency leaving(n);
    std::vector<bool> fed(n, false);
    for (std::size_t e = 0; e < graph.edges.size(); ++e) {
        leaving[graph.edges[e].from].push_back(e);
        fed[graph.edges[e].to] = true;
    }
    const auto component = components(graph, leaving);
    for (auto& edge : graph.edges) edge.backward = edge.delayed && component[edge.from] == component[edge.to];

    // loops that are left: an edge back to a block that the walk is still inside
    std::vector<char> state(n, 0);
    std::vector<std::size_t> starts(n), next(n, 0), path;
    std::iota(starts.begin(), starts.end(), std::size_t{0});
    std::stable_partition(starts.begin(), starts.end(), [&](std::size_t v) { return !fed[v]; });
    for (const std::size_t start : starts) {
        if (state[start] != 0) continue;
        path.push_back(start);
        state[start] = 1;
        while (!path.empty()) {
            const std::size_t v = path.back();
            if (next[v] == leaving[v].size()) {
                state[v] = 2;
                path.pop_back();
                continue;
            }
            auto& edge = graph.edges[leaving[v][next[v]++]];
            if (edge.backward) continue;
            if (state[edge.to] == 1) {
                edge.backward = true;
            } else if (state[edge.to] == 0) {
                state[edge.to] = 1;
                path.push_back(edge.to);
            }
        }
    }
}

Positions layered_layout(const LayoutGraph& graph) { return Layers(graph).place(); }

void straighten(const LayoutGraph& graph, Positions& positions) {
    if (graph.nodes.size() > 1500) return;
    Straightener straightener(graph, positions);
    for (int sweep = 0; sweep < 3; ++sweep) straightener.sweep();
}

}  // namespace zarn::draw
