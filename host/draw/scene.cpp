#include "host/draw/scene.h"

#include <algorithm>
#include <map>
#include <unordered_map>

#include "core/format.h"
#include "host/draw/labels.h"
#include "host/draw/place.h"
#include "host/draw/router.h"
#include "host/draw/text.h"

namespace zarn::draw {
namespace {

constexpr double type_size = 8.5;
constexpr double link_label_size = 9.5;
constexpr double stray_length = 34;
constexpr std::size_t most_broken_ports = 16;  // drawn beside those that a block has
constexpr std::size_t most_for_dot = 400;      // blocks of one page
constexpr std::size_t most_notes = 8;

// ---- which blocks have a page, and which pages are drawn inside others

struct Plan {
    std::vector<std::vector<std::size_t>> children;
    std::vector<std::size_t> pages;                            ///< owners, each before those inside it
    std::vector<bool> inlined;                                 ///< by block: drawn with its content in place
    std::vector<std::size_t> height;                           ///< by block: levels drawn in place inside
    std::map<std::size_t, std::vector<std::size_t>> repeated;  ///< by owner: references to the same file
};

/// Which part of the diagram hangs from each block, `none` for blocks other than the references that were read.
std::vector<std::size_t> parts_by_owner(const Diagram& diagram) {
    std::vector<std::size_t> parts(diagram.blocks.size(), none);
    for (std::size_t p = 1; p < diagram.parts.size(); ++p) parts[diagram.parts[p].owner] = p;
    return parts;
}

Plan make_plan(const Diagram& diagram, const DrawOptions& options) {
    Plan plan;
    const std::size_t n = diagram.blocks.size();
    plan.children = diagram.children();
    plan.inlined.assign(n, false);
    plan.height.assign(n, 0);
    std::vector<int> level(n, 0);
    std::vector<bool> seen(n, false);
    const auto part_of = parts_by_owner(diagram);
    std::vector<std::size_t> panel_of(diagram.parts.size(), none);  // by first part of a file
    /// Whether the content of a reference has its panel already.
    const auto repeats = [&](std::size_t reference) {
        if (part_of[reference] == none) return false;
        std::size_t& panel = panel_of[diagram.parts[part_of[reference]].same];
        if (panel == none) {
            panel = reference;
            return false;
        }
        plan.repeated[panel].push_back(reference);
        for (const std::size_t block : diagram.parts[part_of[reference]].blocks)
            if (block != none) seen[block] = true;
        return true;
    };
    const auto visit = [&](std::size_t start, int deepest) {
        std::vector<std::size_t> waiting{start};
        while (!waiting.empty()) {
            const std::size_t owner = waiting.back();
            waiting.pop_back();
            if (seen[owner]) continue;
            seen[owner] = true;
            if (!plan.inlined[owner] && repeats(owner)) continue;
            plan.pages.push_back(owner);
            const auto& inside = plan.children[owner];
            for (auto child = inside.rbegin(); child != inside.rend(); ++child) {
                if (plan.children[*child].empty() || seen[*child]) continue;
                const bool in_place = level[owner] < deepest && diagram.blocks[*child].is_subsystem();
                if (options.level != none && !in_place) continue;
                level[*child] = in_place ? level[owner] + 1 : 0;
                plan.inlined[*child] = in_place;
                waiting.push_back(*child);
            }
        }
    };
    visit(options.level == none ? 0 : options.level, options.depth);
    // what hangs from the root by no way at all is shown none the less
    for (std::size_t i = 1; options.level == none && i < n; ++i)
        if (!seen[i] && !plan.children[i].empty()) visit(i, 0);
    for (auto page = plan.pages.rbegin(); page != plan.pages.rend(); ++page) {
        if (!plan.inlined[*page]) continue;
        auto& outer = plan.height[diagram.blocks[*page].parent];
        outer = std::max(outer, plan.height[*page] + 1);
    }
    return plan;
}

/// Brings to the one drawing of a file what is known of its other uses.
void take_together(Diagram& diagram, const Plan& plan) {
    const auto part_of = parts_by_owner(diagram);
    for (const auto& [panel, references] : plan.repeated) {
        const Part& drawn = diagram.parts[part_of[panel]];
        for (const std::size_t reference : references) {
            const Part& other = diagram.parts[part_of[reference]];
            for (std::size_t i = 0; i < drawn.blocks.size(); ++i)
                if (drawn.blocks[i] != none && diagram.blocks[other.blocks[i]].failed)
                    diagram.blocks[drawn.blocks[i]].failed = true;
            for (std::size_t i = 0; i < drawn.links.size(); ++i) {
                Link& link = diagram.links[drawn.links[i]];
                const Link& use = diagram.links[other.links[i]];
                link.failed = link.failed || use.failed;
                if (link.type.empty()) link.type = use.type;
                else if (link.type.find(use.type) == std::string::npos) link.type += " | " + use.type;
            }
        }
    }
}

// ---- one page

class PageMaker {
public:
    PageMaker(const Diagram& diagram, const Plan& plan) : diagram_(diagram), plan_(plan) {}

    /// Blocks and ports, without places. `inner` gives the finished contents that are drawn in place.
    void gather(std::size_t owner, const std::vector<std::size_t>& links,
                std::unordered_map<std::size_t, std::unique_ptr<Scene>>& inner) {
        page.scene.owner = owner;
        if (const auto found = plan_.repeated.find(owner); found != plan_.repeated.end())
            page.scene.repeated = found->second;
        for (const std::size_t block : plan_.children[owner]) {
            places_.emplace(block, page.scene.nodes.size());
            page.scene.nodes.push_back(make_node(block, inner));
        }
        for (const std::size_t l : links) add_link(l);
    }

    /// Everything else, once the blocks have their places.
    void finish() {
        place_ports(page);
        place_contents();
        Taken taken;
        for (const Node& node : page.scene.nodes) taken.add(node.bounds());
        for (std::size_t i = 0; i < page.links.size(); ++i)
            if (!page.bends[i].empty()) taken.add(pieces_of({drawn_path(page.links[i], page.bends[i])}));
        name_blocks(taken);
        lay_wires();
        lay_strays();
        Taken all = rename_blocks();
        label_wires(all);
        set_bounds();
    }

    Page page;

private:
    Node make_node(std::size_t index, std::unordered_map<std::size_t, std::unique_ptr<Scene>>& inner) {
        Node node;
        node.block = index;
        node.symbol = symbol_of(diagram_, index, plan_.children[index]);
        for (const auto& port : node.symbol.inputs)
            node.inputs.push_back({port.number, port.label, {}, {}, false, false});
        for (const auto& port : node.symbol.outputs)
            node.outputs.push_back({port.number, port.label, {}, {}, false, false});
        for (const std::size_t child : plan_.children[index]) {
            if (!diagram_.blocks[child].is("enable")) continue;
            node.inputs.push_back({enable_port, "", {}, {}, false, false});
            break;
        }
        if (!plan_.inlined[index]) return node;
        node.inner = std::move(inner[index]);
        const double side = 26 + std::min(60.0, widest_label(node.inputs)),
                     other = 26 + std::min(60.0, widest_label(node.outputs));
        node.symbol.width = std::max(node.symbol.width, node.inner->bounds.w + side + other);
        node.symbol.height = std::max(node.symbol.height, node.inner->bounds.h + 38);
        node.inner_at = {side, 28};
        return node;
    }

    static double widest_label(const std::vector<Port>& ports) {
        double width = 0;
        for (const Port& port : ports) width = std::max(width, text_width(port.label, 9));
        return width;
    }

    /// The place of a port in the list; one that the block does not have is added, marked as broken.
    static std::size_t find_port(std::vector<Port>& ports, int number) {
        for (std::size_t i = 0; i < ports.size(); ++i)
            if (ports[i].number == number) return i;
        std::size_t broken = 0;
        for (const Port& port : ports) broken += port.broken ? 1 : 0;
        if (broken >= most_broken_ports) return ports.size() - 1;
        ports.push_back({number, std::to_string(number), {}, {}, false, true});
        return ports.size() - 1;
    }

    void add_link(std::size_t index) {
        const Link& link = diagram_.links[index];
        const auto from = places_.find(link.source), to = places_.find(link.target);
        if (from == places_.end() && to == places_.end()) return;
        PageLink found{index, none, none, 0, 0};
        if (from != places_.end()) {
            found.from = from->second;
            auto& ports = page.scene.nodes[found.from].outputs;
            found.output = find_port(ports, link.source_port);
            ports[found.output].linked = true;
        }
        if (to != places_.end()) {
            found.to = to->second;
            auto& ports = page.scene.nodes[found.to].inputs;
            found.input = find_port(ports, link.target_port);
            ports[found.input].linked = true;
        }
        if (found.from != none && found.to != none) page.links.push_back(found);
        else strays_.push_back(found);
    }

    void place_contents() {
        for (Node& node : page.scene.nodes) {
            if (node.inner == nullptr) continue;
            const double spare_w = node.box.w - node.symbol.width, spare_h = node.box.h - node.symbol.height;
            const Rect& inside = node.inner->bounds;
            node.inner_at = Point{node.box.x, node.box.y} + node.inner_at + Point{spare_w / 2, spare_h / 2} -
                            Point{inside.x, inside.y};
        }
    }

    void name_blocks(Taken& taken) {
        for (const Node& node : page.scene.nodes) {
            const std::string name = shown_name(diagram_, node);
            if (name.empty()) continue;
            const Rect box = node.bounds();
            Label label = make_label(Label::Kind::name, name, name_size, std::max(box.w + 50, 80.0));
            bool below = false, above = false;
            for (const auto* ports : {&node.inputs, &node.outputs}) {
                for (const Port& port : *ports) {
                    below = below || (port.linked && port.out.y > 0);
                    above = above || (port.linked && port.out.y < 0);
                }
            }
            const double left = box.center().x - label.box.w / 2;
            const Point under{left, box.bottom() + 3}, over{left, box.y - label.box.h - 2};
            const double to_right = box.center().x + 6, to_left = box.center().x - 6 - label.box.w;
            std::vector<Point> corners;
            if (!below) corners.push_back(under);
            if (!above) corners.push_back(over);
            for (const double x : {to_right, to_left})
                for (const double y : {under.y, over.y}) corners.push_back({x, y});
            label.block = node.block;
            settle(label, corners, taken);
            taken.add(label.box);
            page.scene.labels.push_back(std::move(label));
            name_places_.push_back(std::move(corners));
        }
    }

    /// Moves the names that a wire or another text has come to cross. Returns what is taken on the page.
    Taken rename_blocks() {
        Taken taken;
        for (const Node& node : page.scene.nodes) taken.add(node.bounds());
        for (const Pieces& pieces : wire_pieces_) taken.add(pieces);
        std::vector<std::size_t> crossed;
        for (std::size_t i = 0; i < page.scene.labels.size(); ++i) {
            const Rect& box = page.scene.labels[i].box;
            if (i < name_places_.size() && taken.overlap(box) > 0) crossed.push_back(i);
            else taken.add(box);
        }
        for (const std::size_t i : crossed) {
            Label& label = page.scene.labels[i];
            settle(label, name_places_[i], taken);
            taken.add(label.box);
        }
        return taken;
    }

    /// From port to port along the bends that a person has drawn.
    Polyline drawn_path(const PageLink& link, const Polyline& bends) const {
        Polyline path{page.scene.nodes[link.from].outputs[link.output].at};
        path.insert(path.end(), bends.begin(), bends.end());
        path.push_back(page.scene.nodes[link.to].inputs[link.input].at);
        return simplified(path);
    }

    bool broken(const PageLink& link) const {
        return diagram_.links[link.link].failed || page.scene.nodes[link.from].outputs[link.output].broken ||
               page.scene.nodes[link.to].inputs[link.input].broken;
    }

    Wire wire_of(const PageLink& link, Polyline path) const {
        const std::size_t source = page.scene.nodes[link.from].block;
        return {std::move(path), source, diagram_.links[link.link].type, broken(link), true, link.link};
    }

    void lay_wires() {
        RoutingArea area;
        for (const Node& node : page.scene.nodes) area.blocks.push_back(node.bounds());
        for (const Label& label : page.scene.labels) area.texts.push_back(label.box);
        std::vector<Net> nets;
        std::vector<std::vector<std::size_t>> members;
        std::vector<std::string> types;
        std::map<std::pair<std::size_t, std::size_t>, std::size_t> by_output;
        for (std::size_t i = 0; i < page.links.size(); ++i) {
            const PageLink& link = page.links[i];
            const Port& out = page.scene.nodes[link.from].outputs[link.output];
            const Port& in = page.scene.nodes[link.to].inputs[link.input];
            const auto [entry, added] = by_output.emplace(std::pair(link.from, link.output), nets.size());
            if (added) {
                nets.push_back({{out.at, out.out}, {}, {}, {}, {}});
                members.emplace_back();
                types.push_back(wire_of(link, {}).type);
            }
            Net& net = nets[entry->second];
            if (page.bends[i].empty()) {
                net.targets.push_back({in.at, in.out});
                members[entry->second].push_back(i);
                continue;
            }
            net.fixed.push_back(drawn_path(link, page.bends[i]));
            page.scene.wires.push_back(wire_of(link, net.fixed.back()));
            wire_links_.push_back(link.link);
        }
        route(area, nets);
        for (std::size_t n = 0; n < nets.size(); ++n) {
            for (std::size_t i = 0; i < members[n].size(); ++i) {
                const PageLink& link = page.links[members[n][i]];
                page.scene.wires.push_back(wire_of(link, std::move(nets[n].routes[i])));
                wire_links_.push_back(link.link);
            }
            for (const Point joint : nets[n].pieces.joints) page.scene.joints.push_back({joint, types[n]});
            wire_pieces_.push_back(std::move(nets[n].pieces));
        }
    }

    /// Links that lead to nowhere, or to a block of another page.
    void lay_strays() {
        std::map<std::pair<double, double>, int> stacked;
        for (const PageLink& stray : strays_) {
            const Link& link = diagram_.links[stray.link];
            const bool leaves = stray.from != none;
            const Port& port = leaves ? page.scene.nodes[stray.from].outputs[stray.output]
                                      : page.scene.nodes[stray.to].inputs[stray.input];
            const std::size_t other = leaves ? link.target : link.source;
            const std::uint64_t id = leaves ? link.target_id : link.source_id;
            const int row = stacked[{port.at.x, port.at.y}]++;
            const Point end = port.at + port.out * stray_length + Point{0, 13.0 * row};
            Wire wire;
            wire.path = {port.at, end};
            if (row > 0) wire.path = {port.at, port.at + port.out * 10, end};
            if (!leaves) std::ranges::reverse(wire.path);
            wire.source = leaves ? page.scene.nodes[stray.from].block : other;
            wire.broken = other == none;
            wire.arrow = true;
            wire.link = stray.link;
            wire_pieces_.push_back(pieces_of({wire.path}));
            page.scene.wires.push_back(std::move(wire));
            wire_links_.push_back(none);
            const std::string text = other == none ? tessel::format("no block {}", id)
                                                   : (leaves ? "to " : "from ") + diagram_.short_path(other);
            Label label = make_label(other == none ? Label::Kind::broken : Label::Kind::link, text, type_size, 190);
            label.link = stray.link;
            const double x = port.out.x < 0 ? end.x - label.box.w - 3 : end.x + 3;
            const Point corner{x, end.y - label.box.h / 2};
            settle(label, {&corner, 1}, {});
            page.scene.labels.push_back(std::move(label));
        }
    }

    void label_wires(Taken& taken) {
        std::map<std::pair<std::size_t, int>, bool> typed;
        std::map<std::tuple<std::size_t, int, std::string>, bool> named;
        for (std::size_t w = 0; w < page.scene.wires.size(); ++w) {
            if (wire_links_[w] == none) continue;
            const Wire& wire = page.scene.wires[w];
            const Link& link = diagram_.links[wire_links_[w]];
            const bool first = typed.emplace(std::pair(link.source, link.source_port), true).second;
            if (first && !wire.type.empty()) put(Label::Kind::type, wire.type, type_size, wire, taken);
            const bool unsaid = named.emplace(std::tuple(link.source, link.source_port, link.label), true).second;
            if (unsaid && !link.label.empty()) put(Label::Kind::link, link.label, link_label_size, wire, taken);
        }
    }

    void put(Label::Kind kind, const std::string& text, double size, const Wire& wire, Taken& taken) {
        Label label = make_label(kind, text, size, 150);
        label.link = wire.link;
        settle(label, beside(wire.path, label), taken);
        taken.add(label.box);
        page.scene.labels.push_back(std::move(label));
    }

    void set_bounds() {
        Scene& scene = page.scene;
        bool any = false;
        const auto cover = [&](const Rect& r) {
            scene.bounds = any ? scene.bounds.joined(r) : r;
            any = true;
        };
        for (const Node& node : scene.nodes) cover(node.bounds());
        for (const Label& label : scene.labels) cover(label.box);
        for (const Wire& wire : scene.wires)
            for (const Point p : wire.path) cover({p.x, p.y, 0, 0});
        scene.bounds = scene.bounds.grown(8);
    }

    const Diagram& diagram_;
    const Plan& plan_;
    std::unordered_map<std::size_t, std::size_t> places_;  // block to node
    std::vector<PageLink> strays_;
    std::vector<Pieces> wire_pieces_;              // of each signal's wires
    std::vector<std::size_t> wire_links_;          // the link that each wire stands for
    std::vector<std::vector<Point>> name_places_;  // where each name may stand; names are the first labels
};

/// The links that each page shows, by owner: those that touch one of its blocks.
std::vector<std::vector<std::size_t>> links_by_page(const Diagram& diagram) {
    std::vector<std::vector<std::size_t>> lists(diagram.blocks.size());
    for (std::size_t l = 0; l < diagram.links.size(); ++l) {
        const Link& link = diagram.links[l];
        const std::size_t from = link.source != none ? diagram.blocks[link.source].parent : none;
        const std::size_t to = link.target != none ? diagram.blocks[link.target].parent : none;
        if (from != none) lists[from].push_back(l);
        if (to != none && to != from) lists[to].push_back(l);
    }
    return lists;
}

/// Places the blocks of pages whose file has no positions for them.
void lay_out(const Diagram& diagram, std::vector<PageMaker>& makers, const DrawOptions& options, std::string& note) {
    std::vector<LayoutGraph> small;
    std::vector<std::size_t> small_pages;
    for (std::size_t i = 0; i < makers.size(); ++i) {
        Page& page = makers[i].page;
        if (!options.relayout && place_as_drawn(diagram, page, options.as_written)) continue;
        LayoutGraph graph = layout_graph(diagram, page);
        if (graph.nodes.size() <= most_for_dot) {
            small.push_back(std::move(graph));
            small_pages.push_back(i);
            continue;
        }
        Positions positions = layered_layout(graph);
        straighten(graph, positions);
        accept_layout(graph, positions, page);
    }
    auto found = dot_layouts(small, options.layout_limit, note);
    for (std::size_t i = 0; i < small.size(); ++i) {
        Positions positions = found[i].empty() ? layered_layout(small[i]) : std::move(found[i]);
        straighten(small[i], positions);
        accept_layout(small[i], positions, makers[small_pages[i]].page);
    }
}

/// What is to be said of the whole diagram, the first of many notes.
void take_notes(const Diagram& diagram, Scene& root) {
    for (const Link& link : diagram.links)
        if (link.source == none && link.target == none)
            root.notes.push_back(
                tessel::format("a link from {} to {}: there are no such blocks", link.source_id, link.target_id));
    root.notes.insert(root.notes.end(), diagram.notes.begin(), diagram.notes.end());
    root.remarks = diagram.remarks;
    if (root.notes.size() <= most_notes) return;
    const std::size_t more = root.notes.size() - most_notes;
    root.notes.resize(most_notes);
    root.notes.push_back(tessel::format("and {} more", more));
}

}  // namespace

std::vector<Scene> make_scenes(Diagram& diagram, const DrawOptions& options, std::string& note) {
    const Plan plan = make_plan(diagram, options);
    take_together(diagram, plan);
    const auto links = links_by_page(diagram);
    std::unordered_map<std::size_t, std::unique_ptr<Scene>> finished;
    std::size_t highest = 0;
    for (const std::size_t owner : plan.pages) highest = std::max(highest, plan.height[owner]);
    // contents first, since they tell how large the blocks around them are
    for (std::size_t height = 0; height <= highest; ++height) {
        std::vector<PageMaker> makers;
        for (const std::size_t owner : plan.pages) {
            if (plan.height[owner] != height) continue;
            makers.emplace_back(diagram, plan);
            makers.back().gather(owner, links[owner], finished);
        }
        lay_out(diagram, makers, options, note);
        for (PageMaker& maker : makers) {
            maker.finish();
            const std::size_t owner = maker.page.scene.owner;
            finished[owner] = std::make_unique<Scene>(std::move(maker.page.scene));
        }
    }
    std::vector<Scene> scenes;
    for (const std::size_t owner : plan.pages)
        if (!plan.inlined[owner]) scenes.push_back(std::move(*finished[owner]));
    take_notes(diagram, scenes.front());
    return scenes;
}

}  // namespace zarn::draw
