#include "host/draw/place.h"

#include <algorithm>
#include <numeric>
#include <set>

#include "core/format.h"
#include "host/draw/text.h"

namespace zarn::draw {
namespace {

constexpr double smallest_side = 8;
constexpr double readable_height = 36;  // small drawings are enlarged until half of the blocks are this high
constexpr double most_enlarged = 2;
constexpr double largest_extent = 30'000;
constexpr std::size_t most_to_fit_in = 2000;  // blocks for which a free place is searched

double enlargement(const Diagram& diagram, const Page& page) {
    std::vector<double> heights;
    for (const Node& node : page.scene.nodes)
        if (diagram.blocks[node.block].height > 0) heights.push_back(diagram.blocks[node.block].height);
    if (heights.empty()) return 1;
    const auto middle = heights.begin() + static_cast<std::ptrdiff_t>(heights.size() / 2);
    std::ranges::nth_element(heights, middle);
    return std::clamp(readable_height / std::max(*middle, 1.0), 1.0, most_enlarged);
}

/// Puts a block that has no place near those that it is linked to.
void fit_in(Page& page, std::size_t index, const std::vector<bool>& done) {
    Node& node = page.scene.nodes[index];
    Point sum;
    double count = 0;
    for (const PageLink& link : page.links) {
        const std::size_t other = link.from == index ? link.to : link.to == index ? link.from : none;
        if (other == none || !done[other]) continue;
        const double side = link.from == index ? -1 : 1;
        sum = sum + page.scene.nodes[other].box.center() + Point{side * (node.box.w + layer_gap), 0};
        ++count;
    }
    const Point wanted = count > 0 ? sum * (1 / count) : Point{};
    const auto free = [&](const Rect& r) {
        for (std::size_t i = 0; i < page.scene.nodes.size(); ++i)
            if (done[i] && r.grown(14).overlaps(page.scene.nodes[i].bounds())) return false;
        return true;
    };
    const Rect start{wanted.x - node.box.w / 2, wanted.y - node.box.h / 2, node.box.w, node.box.h};
    node.box = start;
    for (double ring = 0; ring < 60; ++ring) {
        for (double turn = 0; turn < 8 * std::max(ring, 0.125); ++turn) {
            const double angle = turn / std::max(8 * ring, 1.0) * 6.283185307179586;
            const Rect spot = start.moved({24 * ring * std::sin(angle), 24 * ring * std::cos(angle)});
            if (!free(spot)) continue;
            node.box = spot;
            return;
        }
    }
}

/// A rising map of one axis that makes room for subsystems drawn with their content: each interval grows at least to
/// its new length, and what lies behind moves on.
class Widening {
public:
    void need(double from, double length, double needed) {
        if (length > 0 && needed > length) intervals_.push_back({from, from + length, needed / length});
    }

    /// Works out the map; before its first use.
    void settle() {
        std::vector<double> stops;
        for (const auto& i : intervals_) stops.insert(stops.end(), {i.from, i.to});
        std::ranges::sort(stops);
        double mapped = stops.empty() ? 0 : stops.front();
        for (std::size_t s = 0; s < stops.size(); ++s) {
            double factor = 1;
            if (s + 1 < stops.size()) {
                const double middle = (stops[s] + stops[s + 1]) / 2;
                for (const auto& i : intervals_)
                    if (i.from <= middle && middle <= i.to) factor = std::max(factor, i.factor);
            }
            pieces_.push_back({stops[s], mapped, factor});
            if (s + 1 < stops.size()) mapped += (stops[s + 1] - stops[s]) * factor;
        }
    }

    double operator()(double at) const {
        const auto next = std::ranges::upper_bound(pieces_, at, {}, &Piece::from);
        if (next == pieces_.begin()) return at;
        const Piece& piece = *std::prev(next);
        return piece.mapped + (at - piece.from) * piece.factor;
    }

private:
    struct Interval {
        double from, to, factor;
    };
    struct Piece {
        double from, mapped, factor;
    };
    std::vector<Interval> intervals_;
    std::vector<Piece> pieces_;
};

/// Makes room for the contents that are drawn in place.
void stretch(Page& page) {
    Widening across, down;
    bool any = false;
    for (const Node& node : page.scene.nodes) {
        if (node.inner == nullptr) continue;
        across.need(node.box.x, node.box.w, node.symbol.width);
        down.need(node.box.y, node.box.h, node.symbol.height);
        any = true;
    }
    if (!any) return;
    page.stretched = true;
    across.settle();
    down.settle();
    for (Node& node : page.scene.nodes) {
        const Rect old = node.box;
        if (node.inner != nullptr) {
            const double left = across(old.x), top = down(old.y);
            node.box = {left, top, across(old.right()) - left, down(old.bottom()) - top};
            node.rotation = 0;
        } else {
            node.box.x = across(old.center().x) - old.w / 2;
            node.box.y = down(old.center().y) - old.h / 2;
        }
    }
    for (Polyline& line : page.bends)
        for (Point& bend : line) bend = {across(bend.x), down(bend.y)};
}

bool usable(const Diagram& diagram, const Page& page) {
    std::size_t placed = 0;
    std::set<std::pair<double, double>> spots;
    Rect all;
    for (const Node& node : page.scene.nodes) {
        const Block& block = diagram.blocks[node.block];
        if (!block.placed) continue;
        const Rect box{block.x, block.y, block.width, block.height};
        all = placed == 0 ? box : all.joined(box);
        spots.insert({block.x, block.y});
        ++placed;
    }
    if (placed * 2 < page.scene.nodes.size() || placed == 0) return false;
    if (spots.size() < 2 && page.scene.nodes.size() > 1) return false;
    return std::max(all.w, all.h) < largest_extent;
}

/// Moves the ends of a drawn line to the ports: where the first piece is meant to be level, its bend goes along.
void snap(Polyline& bends, const Port& from, const Port& to, double near) {
    const auto pull = [near](Point& bend, const Point& port, Point out, const Point* next) {
        const bool level = out.x != 0;
        const double off = level ? bend.y - port.y : bend.x - port.x;
        if (off == 0 || std::abs(off) > near) return;
        const bool free = next == nullptr || std::abs(level ? bend.x - next->x : bend.y - next->y) < 2;
        if (free) (level ? bend.y : bend.x) -= off;
    };
    if (bends.empty()) return;
    const std::size_t last = bends.size() - 1;
    pull(bends[0], from.at, from.out, last > 0 ? &bends[1] : nullptr);
    pull(bends[last], to.at, to.out, last > 0 ? &bends[last - 1] : nullptr);
}

Point unit_turned(Point p, double degrees) {
    const Point t = turned(p, {0, 0}, degrees);
    if (std::abs(t.x) >= std::abs(t.y)) return {t.x >= 0 ? 1.0 : -1.0, 0};
    return {0, t.y >= 0 ? 1.0 : -1.0};
}

/// Puts a port of a round outline where the outline is at its height.
void follow_outline(const Node& node, Port& port) {
    const Rect& b = node.box;
    const Point c = b.center();
    const double rx = node.symbol.shape == Shape::circle ? b.w / 2 : std::min(b.w, b.h) / 2, ry = b.h / 2;
    const double off = std::clamp((port.at.y - c.y) / ry, -1.0, 1.0);
    const double inset = rx * (1 - std::sqrt(1 - off * off));
    port.at.x = port.out.x < 0 ? b.x + inset : b.right() - inset;
}

/// Where the signal of a summing point's input comes from.
struct Origin {
    double y = 0;
    bool sideways = false;  ///< a drawn wire arrives from the left
};

std::vector<Origin> origins_of(const Page& page, std::size_t index, const std::vector<std::size_t>& arriving) {
    const Node& node = page.scene.nodes[index];
    const Point center = node.box.center();
    std::vector<Origin> origins(node.inputs.size(), {center.y, false});
    for (const std::size_t i : arriving) {
        const PageLink& link = page.links[i];
        if (link.input >= origins.size()) continue;
        const Rect source = page.scene.nodes[link.from].box;
        if (!page.bends[i].empty()) {
            const Point last = turned(page.bends[i].back(), center, -node.rotation);
            origins[link.input] = {last.y, last.x < node.box.x};
            continue;
        }
        const Point from = turned(source.center(), center, -node.rotation);
        // what comes back from the right goes around below
        const bool behind = source.x >= node.box.x && std::abs(from.y - center.y) < node.box.h;
        origins[link.input] = {behind ? center.y + 1e6 : from.y, false};
    }
    return origins;
}

/// The first input of a summing point is on its left, the others where their signals come from.
void place_sum_inputs(Page& page, std::size_t index, const std::vector<std::size_t>& arriving) {
    Node& node = page.scene.nodes[index];
    const Point center = node.box.center();
    const auto origins = origins_of(page, index, arriving);
    const auto set = [&](std::size_t i, Point side) {
        node.inputs[i].at = {center.x + side.x * node.box.w / 2, center.y + side.y * node.box.h / 2};
        node.inputs[i].out = side;
    };
    const bool usual = node.inputs.size() == 2 || node.inputs.size() == 3;
    if (!usual ||
        std::ranges::any_of(
            origins,
            &Origin::sideways)) {  // drawn for ports below each other: they stay where they are, on the outline
        for (Port& port : node.inputs) follow_outline(node, port);
    } else if (node.inputs.size() == 2) {
        set(0, {-1, 0});
        set(1, {0, origins[1].y < center.y - 1 ? -1.0 : 1.0});
    } else {
        const bool second_above = origins[1].y <= origins[2].y;
        set(0, {-1, 0});
        set(1, {0, second_above ? -1.0 : 1.0});
        set(2, {0, second_above ? 1.0 : -1.0});
    }
}

constexpr double most_slide = 12;
constexpr double port_distance = 8;

/// Moves a port along its side, if it stays clear of the corners and of other ports.
bool slide(Node& node, std::vector<Port>& ports, std::size_t which, double by) {
    Port& port = ports[which];
    const Rect box = node.bounds();
    const bool round = node.symbol.shape == Shape::circle || node.symbol.shape == Shape::pill;
    const double corner = round ? box.h * 0.22 : 4;
    const double y = port.at.y + by;
    if (y < box.y + corner || y > box.bottom() - corner) return false;
    for (std::size_t i = 0; i < ports.size(); ++i)
        if (i != which && ports[i].out == port.out && std::abs(ports[i].at.y - y) < port_distance) return false;
    port.at.y = y;
    if (round && node.rotation == 0) follow_outline(node, port);
    return true;
}

/// Lets wires between blocks that stand at almost the same height run level.
void level_ports(Page& page) {
    std::set<const Port*> settled;
    for (std::size_t i = 0; i < page.links.size(); ++i) {
        const PageLink& link = page.links[i];
        Node &from = page.scene.nodes[link.from], &to = page.scene.nodes[link.to];
        Port &out = from.outputs[link.output], &in = to.inputs[link.input];
        const bool facing = out.out == Point{1, 0} && in.out == Point{-1, 0} && out.at.x < in.at.x;
        const double off = out.at.y - in.at.y;
        if (!page.bends[i].empty() || !facing || std::abs(off) > most_slide) continue;
        bool level = off == 0;
        if (!level && !settled.contains(&in)) level = slide(to, to.inputs, link.input, off);
        if (!level && !settled.contains(&out)) level = slide(from, from.outputs, link.output, -off);
        if (level) settled.insert({&in, &out});
    }
}

/// Whether no input of a block has a say in the outputs of the same step.
bool is_delayed(const Block& block) {
    const auto& inputs = block.traits->inputs;
    return inputs.size() > 0 && std::ranges::none_of(inputs, &tessel::port_traits_t::direct);
}

}  // namespace

std::string shown_name(const Diagram& diagram, const Node& node) {
    const Block& block = diagram.blocks[node.block];
    if (node.inner != nullptr) return {};
    if ((block.is("inport") || block.is("outport")) && node.symbol.text == block.name) return {};
    return block.name;
}

bool place_as_drawn(const Diagram& diagram, Page& page, bool as_written) {
    if (!as_written && !usable(diagram, page)) return false;
    const double k = as_written ? 1 : enlargement(diagram, page);
    auto& nodes = page.scene.nodes;
    std::vector<bool> done(nodes.size(), false);
    for (std::size_t i = 0; i < nodes.size(); ++i) {
        Node& node = nodes[i];
        const Block& block = diagram.blocks[node.block];
        const auto side = [&](double given, double natural) {
            if (given > 0) return std::max(given * k, smallest_side);
            return node.inner != nullptr ? 100.0 : natural;
        };
        node.box = {block.x * k, block.y * k, side(block.width, node.symbol.width),
                    side(block.height, node.symbol.height)};
        node.rotation = block.rotation;
        done[i] = as_written || block.placed;
    }
    for (std::size_t i = 0; i < nodes.size(); ++i) {
        if (done[i]) continue;
        if (nodes.size() <= most_to_fit_in) fit_in(page, i, done);
        done[i] = true;
    }
    for (const PageLink& link : page.links) {
        page.bends.push_back(diagram.links[link.link].bends);
        for (Point& bend : page.bends.back()) bend = bend * k;
    }
    stretch(page);
    return true;
}

LayoutGraph layout_graph(const Diagram& diagram, const Page& page) {
    LayoutGraph graph;
    for (const Node& node : page.scene.nodes) {
        const Symbol& symbol = node.symbol;
        const double name = std::min(text_width(shown_name(diagram, node), name_size), symbol.width + 50);
        LayoutNode place{std::max(symbol.width, name), symbol.height + name_room, {}, {}};
        const auto heights = [&](const std::vector<Port>& ports, std::vector<double>& list) {
            double count = 0, at = 0;
            for (const Port& port : ports) count += port.number != enable_port ? 1 : 0;
            for (const Port& port : ports) {
                // inputs from above or from below pull no wire level
                const bool upright = port.number == enable_port || (symbol.shape == Shape::circle && !list.empty());
                list.push_back(upright ? -1
                                       : symbol.height * (symbol.shape == Shape::circle ? 0.5 : (at + 0.5) / count));
                ++at;
            }
        };
        heights(node.inputs, place.input_y);
        heights(node.outputs, place.output_y);
        graph.nodes.push_back(std::move(place));
    }
    for (const PageLink& link : page.links) {
        const Block& source = diagram.blocks[page.scene.nodes[link.from].block];
        graph.edges.push_back({link.from, link.to, link.output, link.input, is_delayed(source), false});
    }
    turn_loops(graph);
    return graph;
}

void accept_layout(const LayoutGraph& graph, const Positions& positions, Page& page) {
    for (std::size_t i = 0; i < page.scene.nodes.size(); ++i) {
        Node& node = page.scene.nodes[i];
        const double spare = graph.nodes[i].width - node.symbol.width;
        node.box = {positions[i].x + spare / 2, positions[i].y, node.symbol.width, node.symbol.height};
        node.rotation = 0;
    }
    page.bends.assign(page.links.size(), {});  // bends belong to the positions of the file
}

void place_ports(Page& page) {
    std::vector<std::vector<std::size_t>> arriving(page.scene.nodes.size());
    for (std::size_t i = 0; i < page.links.size(); ++i) arriving[page.links[i].to].push_back(i);
    for (std::size_t index = 0; index < page.scene.nodes.size(); ++index) {
        Node& node = page.scene.nodes[index];
        const Rect& box = node.box;
        const auto line_up = [&](std::vector<Port>& ports, double x, Point out) {
            double count = 0, at = 0;
            for (const Port& port : ports) count += port.number != enable_port ? 1 : 0;
            for (Port& port : ports) {
                const bool enable = port.number == enable_port;
                port.at = enable ? Point{box.center().x, box.y} : Point{x, box.y + box.h * (at + 0.5) / count};
                port.out = enable ? Point{0, -1} : out;
                if (!enable) ++at;
            }
        };
        line_up(node.inputs, box.x, {-1, 0});
        line_up(node.outputs, box.right(), {1, 0});
        if (node.symbol.shape == Shape::circle) place_sum_inputs(page, index, arriving[index]);
        for (auto* ports : {&node.inputs, &node.outputs}) {
            for (Port& port : *ports) {
                port.at = turned(port.at, box.center(), node.rotation);
                port.out = unit_turned(port.out, node.rotation);
            }
        }
    }
    level_ports(page);
    for (std::size_t i = 0; i < page.links.size(); ++i) {
        const PageLink& link = page.links[i];
        snap(page.bends[i], page.scene.nodes[link.from].outputs[link.output],
             page.scene.nodes[link.to].inputs[link.input], page.stretched ? 1e9 : 24);
    }
}

}  // namespace zarn::draw
