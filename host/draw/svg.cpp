#include "host/draw/svg.h"

#include <algorithm>
#include <string_view>
#include <unordered_map>

#include "core/format.h"
#include "host/draw/text.h"

namespace zarn::draw {
namespace {

constexpr double edge = 16;  // around and between panels
constexpr double title_height = 34;
constexpr double padding = 22;  // inside a panel
constexpr double note_height = 17;
constexpr double least_width = 420;
constexpr std::size_t most_titles = 2;  // further references that the title of their content names
constexpr double text_size = 11;
constexpr double port_text_size = 9;

constexpr const char* style = R"(
text { font-family: Helvetica, Arial, 'Liberation Sans', 'DejaVu Sans', sans-serif; fill: #1e293b; }
.panel { fill: #ffffff; stroke: #d5dae1; }
.bar { fill: #f1f4f8; stroke: #d5dae1; }
.title { font-size: 14px; font-weight: bold; }
.subtitle { font-size: 11px; fill: #64748b; }
.block { fill: #ffffff; stroke: #334155; stroke-width: 1.4; }
.source { fill: #f6faf3; }
.state { fill: #fdf8ee; }
.tag { fill: #eff5fc; }
.frame { fill: #f7f8fa; }
.inner { fill: none; stroke: #334155; stroke-width: 0.8; }
.screen { fill: #eef2f6; stroke: #64748b; stroke-width: 0.8; }
.unknown { fill: #fff5f5; stroke: #c81e1e; stroke-dasharray: 4 3; }
.failed { stroke: #c81e1e; stroke-width: 2.4; }
.icon { fill: none; stroke: #334155; stroke-width: 1.5; stroke-linejoin: round; stroke-linecap: round; }
.axis { fill: none; stroke: #a3b0c0; stroke-width: 0.8; }
.dot { fill: #334155; }
.wire { fill: none; stroke: #1e293b; stroke-width: 1.3; stroke-linejoin: round; }
.arrow { fill: #1e293b; }
.int { stroke: #1d4f91; } .arrow.int, .joint.int { fill: #1d4f91; stroke: none; }
.bool { stroke: #0f7a5f; } .arrow.bool, .joint.bool { fill: #0f7a5f; stroke: none; }
.broken { stroke: #c81e1e; stroke-dasharray: 5 3; } .arrow.broken { fill: #c81e1e; stroke: none; }
.joint { fill: #1e293b; }
.open { fill: #ffffff; stroke: #b45309; stroke-width: 1.2; }
.name { fill: #475569; }
.type { fill: #64748b; font-style: italic; }
.link { fill: #334155; font-style: italic; }
.bad { fill: #c81e1e; }
.remark { fill: #64748b; }
.port { fill: #475569; }
.halo { paint-order: stroke; stroke: #ffffff; stroke-width: 3px; stroke-linejoin: round; }
)";

/// The inside of a file's colour is dark: texts on it are white.
bool is_dark(const std::array<double, 4>& c) { return c[3] > 0.5 && 0.299 * c[0] + 0.587 * c[1] + 0.114 * c[2] < 0.45; }

int byte_of(double v) { return static_cast<int>(std::lround(v * 255)); }

const char* type_class(const std::string& type) {
    if (type == "bool") return " bool";
    return type.starts_with("int") || type.starts_with("uint") ? " int" : "";
}

/// Whether a "^" in the caption is not the user's own: it starts what stands above the line.
bool raises(const Block& block) {
    const char* caption = block.traits->caption;
    return caption != nullptr && std::string_view(caption).find('^') != std::string_view::npos;
}

const char* family(const Block& block) {
    if (block.traits->family == tessel::family_t::source) return " source";
    return block.traits->family == tessel::family_t::state ? " state" : "";
}

class Writer {
public:
    Writer(const Diagram& diagram, const std::vector<Scene>& pages) : diagram_(diagram) {
        for (const Scene& page : pages) {
            panels_.emplace(page.owner, page.owner);
            for (const std::size_t reference : page.repeated) panels_.emplace(reference, page.owner);
        }
    }

    std::string document(const std::vector<Scene>& pages) {
        double width = least_width, y = edge;
        for (const Scene& page : pages) width = std::max({width, page.bounds.w + 2 * padding, title_width(page)});
        for (const Scene& page : pages) y = panel(page, y, width) + edge;
        const std::string w = num(width + 2 * edge), h = num(y);
        return tessel::format(
                   "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                   "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"{0}\" height=\"{1}\" viewBox=\"0 0 {0} {1}\">\n"
                   "<title>{2}</title>\n<style>{3}</style>\n"
                   "<rect width=\"{0}\" height=\"{1}\" fill=\"#fbfcfd\"/>\n",
                   w, h, escape(diagram_.title), style) +
               out_ + "</svg>\n";
    }

private:
    // ---- panels

    std::string title(const Scene& page) const {
        if (page.owner == 0) return diagram_.title;
        std::string text = diagram_.short_path(page.owner);
        for (std::size_t i = 0; i < page.repeated.size(); ++i) {
            if (i == most_titles) return text + tessel::format(" and {} more", page.repeated.size() - i);
            text += ", " + diagram_.short_path(page.repeated[i]);
        }
        return text;
    }

    std::string subtitle(const Scene& page) const {
        if (page.owner == 0)
            return tessel::format("{:g} s to {:g} s, step {:g} s", diagram_.start, diagram_.end, diagram_.step);
        const Block& block = diagram_.blocks[page.owner];
        return block.is("refsys") ? "refers to " + block.parameter("path") : std::string();
    }

    double title_width(const Scene& page) const {
        return text_width(title(page), 14) * 1.08 + text_width(subtitle(page), 11) + 60;
    }

    double panel(const Scene& page, double y, double width) {
        const auto lines = static_cast<double>(page.notes.size() + page.remarks.size());
        const double notes = lines == 0 ? 0 : note_height * lines + 8;
        const double height = title_height + page.bounds.h + 2 * padding + notes;
        line("<g id=\"page-{}\">", page.owner);
        line(R"(<rect class="panel" x="{}" y="{}" width="{}" height="{}" rx="6"/>)", num(edge), num(y), num(width),
             num(height));
        line(R"(<path class="bar" d="M{0} {1}v-{2}a6 6 0 0 1 6 -6h{3}a6 6 0 0 1 6 6v{2}z"/>)", num(edge),
             num(y + title_height), num(title_height - 6), num(width - 12));
        const double base = y + title_height / 2 + 5;
        line(R"(<text class="title" x="{}" y="{}">{}</text>)", num(edge + 14), num(base), escape(title(page)));
        line(R"(<text class="subtitle" x="{}" y="{}" text-anchor="end">{}</text>)", num(edge + width - 14), num(base),
             escape(subtitle(page)));
        const double left = edge + (width - page.bounds.w) / 2;
        line("<g transform=\"translate({} {})\">", num(left - page.bounds.x),
             num(y + title_height + padding - page.bounds.y));
        scene(page);
        line("</g>");
        double at = y + height - notes + 4;
        const auto write = [&](const char* kind, const std::string& text) {
            line(R"(<text class="{}" font-size="11" x="{}" y="{}">{}</text>)", kind, num(edge + 14), num(at),
                 escape(text));
            at += note_height;
        };
        for (const std::string& note : page.notes) write("bad", note);
        for (const std::string& remark : page.remarks) write("remark", remark);
        line("</g>");
        return y + height;
    }

    void scene(const Scene& page) {
        for (const Wire& w : page.wires) wire(w);
        for (const Joint& j : page.joints) joint(j);
        for (const Node& n : page.nodes) node(n);
        for (const Label& l : page.labels) label(l);
    }

    // ---- wires

    static std::string path_data(const Polyline& path) {
        std::string data;
        for (std::size_t i = 0; i < path.size(); ++i)
            data += tessel::format("{}{} {}", i == 0 ? "M" : "L", num(path[i].x), num(path[i].y));
        return data;
    }

    void wire(const Wire& w) {
        if (w.path.size() < 2) return;
        const char* kind = w.broken ? " broken" : type_class(w.type);
        const Point end = w.path.back(), before = w.path[w.path.size() - 2];
        const double length = std::hypot(end.x - before.x, end.y - before.y);
        Polyline shaft = w.path;
        const bool arrow = w.arrow && length > 0;
        const Point d = arrow ? (end - before) * (1 / length) : Point{};
        if (arrow && length > 6) shaft.back() = end - d * 4;  // the line does not show beside the arrow's tip
        line(R"(<path class="wire{}" d="{}"/>)", kind, path_data(shaft));
        if (!arrow) return;
        const Point across{-d.y, d.x}, base = end - d * 7.5;
        const Polyline tip{end, base + across * 3.2, base - across * 3.2};
        line(R"(<path class="arrow{}" d="{}z"/>)", kind, path_data(tip));
    }

    void joint(const Joint& j) {
        line(R"(<circle class="joint{}" cx="{}" cy="{}" r="2.6"/>)", type_class(j.type), num(j.at.x), num(j.at.y));
    }

    // ---- blocks

    void node(const Node& n) {
        const Block& block = diagram_.blocks[n.block];
        const auto panel = panels_.find(n.block);
        const bool leads = panel != panels_.end();
        if (leads) line("<a href=\"#page-{}\">", panel->second);
        line(R"(<g class="node" data-class="{}" data-id="{}">)", escape(block.class_name), block.id);
        line("<title>{}</title>", escape(tooltip(n)));
        outline(n, block);
        if (n.inner != nullptr) {
            content(n, block);
        } else {
            icon(n);
            caption(n, block);
        }
        ports(n, block);
        line("</g>");
        if (leads) line("</a>");
    }

    std::string tooltip(const Node& n) const {
        const Block& block = diagram_.blocks[n.block];
        std::string text = diagram_.short_path(n.block) + " (" + block.class_name + ")";
        for (const auto& [key, value] : block.parameters) text += "; " + key + " = " + value;
        return text;
    }

    static std::string fill(const Block& block) {
        const auto& c = block.color;
        if (c[3] <= 0) return {};
        std::string attribute =
            tessel::format(" style=\"fill:#{:02x}{:02x}{:02x}", byte_of(c[0]), byte_of(c[1]), byte_of(c[2]));
        if (c[3] < 1) attribute += ";fill-opacity:" + tessel::format("{:.2f}", c[3]);
        return attribute + "\"";
    }

    static std::string turn(const Node& n) {
        if (n.rotation == 0) return {};
        const Point c = n.box.center();
        return tessel::format(" transform=\"rotate({} {} {})\"", num(n.rotation), num(c.x), num(c.y));
    }

    void outline(const Node& n, const Block& block) {
        const Rect& b = n.box;
        const std::string classes = std::string("block") + family(block) + (block.failed ? " failed" : "");
        const std::string rest = fill(block) + turn(n);
        const auto rect = [&](const std::string& kind, const Rect& r, double corner, const std::string& more) {
            line(R"(<rect class="{}" x="{}" y="{}" width="{}" height="{}" rx="{}"{}/>)", kind, num(r.x), num(r.y),
                 num(r.w), num(r.h), num(corner), more);
        };
        const double nose = std::min(b.h / 2, b.w / 3);
        switch (n.symbol.shape) {
            case Shape::circle:
                line(R"(<ellipse class="{}" cx="{}" cy="{}" rx="{}" ry="{}"{}/>)", classes, num(b.center().x),
                     num(b.center().y), num(b.w / 2), num(b.h / 2), rest);
                return;
            case Shape::pill: rect(classes + " tag", b, std::min(b.w, b.h) / 2, rest); return;
            case Shape::goto_tag:
                line(R"(<path class="{} tag" d="M{} {}H{}L{} {}L{} {}H{}z"{}/>)", classes, num(b.x), num(b.y),
                     num(b.right() - nose), num(b.right()), num(b.center().y), num(b.right() - nose), num(b.bottom()),
                     num(b.x), rest);
                return;
            case Shape::from_tag:
                line(R"(<path class="{} tag" d="M{} {}H{}V{}H{}L{} {}z"{}/>)", classes, num(b.x), num(b.y),
                     num(b.right()), num(b.bottom()), num(b.x), num(b.x + nose), num(b.center().y), rest);
                return;
            case Shape::frame:
                rect(classes + " frame", b, 3, rest);
                if (std::min(b.w, b.h) > 12) rect("inner", b.grown(-3.5), 2, turn(n));
                return;
            case Shape::screen:
                rect(classes, b, 3, rest);
                if (std::min(b.w, b.h) > 14) rect("screen", b.grown(-5), 2, turn(n));
                return;
            case Shape::unknown: rect("block unknown", b, 2, rest); return;
            default: rect(classes, b, 2, rest); return;
        }
    }

    /// Room for text or an icon in the middle, inside of the ports' names.
    Rect middle(const Node& n) const {
        const Rect b = n.bounds();
        const double slant = n.symbol.shape == Shape::goto_tag || n.symbol.shape == Shape::from_tag ? b.h / 4 : 0;
        const double inset = std::min(4.0, b.w / 8) + slant;
        const bool names = shows_port_names(n) && n.symbol.shape != Shape::circle;
        const double left = inset + (names ? widest(n.inputs) : 0), right = inset + (names ? widest(n.outputs) : 0);
        const double above = std::min(4.0, b.h / 8);
        return {b.x + left, b.y + above, b.w - left - right, b.h - 2 * above};
    }

    static double widest(const std::vector<Port>& ports) {
        double width = 0;
        for (const Port& port : ports)
            if (!port.label.empty()) width = std::max(width, text_width(port.label, port_text_size) + 5);
        return width;
    }

    void icon(const Node& n) {
        const Rect room = middle(n);
        const double half_h = std::min(room.h / 2 * 0.72, 16.0);
        const double half_w = std::min(room.w / 2 * 0.8, half_h * 1.35);
        const Point c = room.center();
        const auto placed = [&](const Polyline& strokes) {
            Polyline points;
            for (const Point p : strokes) points.push_back({c.x + p.x * half_w, c.y + p.y * half_h});
            return path_data(points);
        };
        for (const auto& axis : n.symbol.icon.axes) line(R"(<path class="axis" d="{}"/>)", placed(axis));
        for (const auto& stroke : n.symbol.icon.strokes) line(R"(<path class="icon" d="{}"/>)", placed(stroke));
        for (const Point p : n.symbol.icon.dots)
            line(R"(<circle class="dot" cx="{}" cy="{}" r="1.9"/>)", num(c.x + p.x * half_w), num(c.y + p.y * half_h));
    }

    void caption(const Node& n, const Block& block) {
        if (n.symbol.text.empty() || n.symbol.shape == Shape::circle) return;
        const Rect room = middle(n);
        double size = std::min(text_size, room.h * 0.75);
        const bool sign = block.traits->large_caption && text_width(n.symbol.text, 1) < 0.9;
        if (sign) size = std::min(18.0, room.h * 0.7);
        if (n.symbol.shape == Shape::frame && n.symbol.inputs.empty()) size = std::min(size, 10.0);
        // a long text may become smaller before it is cut
        while (size > 7 && text_width(n.symbol.text, size) > room.w) size -= 0.5;
        const std::string text = fit(n.symbol.text, size, room.w);
        const auto raised = text.find('^');
        const std::string head = tessel::format(R"(<text x="{}" y="{}" font-size="{}" text-anchor="middle"{}>)",
                                                num(room.center().x), num(room.center().y + size * 0.36), num(size),
                                                is_dark(block.color) ? " style=\"fill:#ffffff\"" : "");
        if (!raises(block) || raised == std::string::npos) line("{}{}</text>", head, escape(text));
        else
            line(R"({}{}<tspan dy="{}" font-size="{}">{}</tspan></text>)", head, escape(text.substr(0, raised)),
                 num(-size * 0.4), num(size * 0.75), escape(text.substr(raised + 1)));
    }

    void content(const Node& n, const Block& block) {
        line(R"(<text x="{}" y="{}" font-size="11" font-weight="bold">{}</text>)", num(n.box.x + 10), num(n.box.y + 18),
             escape(fit(block.name, 11.8, n.box.w - 20)));
        line("<g transform=\"translate({} {})\">", num(n.inner_at.x), num(n.inner_at.y));
        scene(*n.inner);
        line("</g>");
    }

    // ---- ports

    /// Names of ports are shown where the block is large enough for them.
    static bool shows_port_names(const Node& n) {
        const Rect b = n.bounds();
        const auto rows = static_cast<double>(std::max(n.inputs.size(), n.outputs.size()));
        const double beside = widest(n.inputs) + widest(n.outputs);
        const bool icon = !n.symbol.icon.strokes.empty();
        const double center = icon ? 34 : std::min(text_width(n.symbol.text, text_size), 16.0) + 12;
        return rows > 0 && b.h / rows >= 8 && b.w >= beside + (n.symbol.shape == Shape::frame ? 6 : center);
    }

    void ports(const Node& n, const Block& block) {
        const bool relay = block.is("inport") || block.is("outport") || block.is("enable");
        for (const auto* list : {&n.inputs, &n.outputs}) {
            const bool input = list == &n.inputs;
            for (const Port& port : *list) {
                if (port.number == enable_port && input) enable_mark(port);
                if (!port.linked && !relay) open_mark(port, input);
                if (port.number != enable_port || !input) port_name(n, block, port);
            }
        }
    }

    void port_name(const Node& n, const Block& block, const Port& port) {
        const bool circle = n.symbol.shape == Shape::circle;
        if (port.label.empty() || (!circle && !port.broken && !shows_port_names(n))) return;
        const double inside = circle ? std::min(n.box.w, n.box.h) * 0.26 : n.symbol.shape == Shape::frame ? 7 : 5;
        const Point at = port.at - port.out * inside;
        const char* anchor = circle || port.out.x == 0 ? "middle" : port.out.x < 0 ? "start" : "end";
        const double size = circle ? std::clamp(n.box.w * 0.36, 7.0, 13.0) : port_text_size;
        const double limit = n.symbol.shape == Shape::frame ? n.bounds().w / 2 - 6 : n.bounds().w;
        const double drop = circle || port.out.x != 0 ? 0.34 : port.out.y < 0 ? 0.9 : 0;
        line(R"(<text class="{}" x="{}" y="{}" font-size="{}" text-anchor="{}"{}>{}</text>)",
             port.broken ? "bad" : "port", num(at.x), num(at.y + size * drop), num(size), anchor,
             is_dark(block.color) && !port.broken ? " style=\"fill:#ffffff\"" : "",
             escape(fit(port.label, size, limit)));
    }

    /// A small pulse inside of the frame.
    void enable_mark(const Port& port) {
        const Point c = port.at - port.out * 12;
        const Polyline pulse{{c.x - 7, c.y + 4},   {c.x - 3.5, c.y + 4}, {c.x - 3.5, c.y - 4},
                             {c.x + 3.5, c.y - 4}, {c.x + 3.5, c.y + 4}, {c.x + 7, c.y + 4}};
        line(R"(<path class="icon" style="stroke-width:1.1" d="{}"/>)", path_data(pulse));
    }

    /// A port where nothing is connected: a hollow angle.
    void open_mark(const Port& port, bool input) {
        const Point across{-port.out.y, port.out.x};
        const Point tip = input ? port.at : port.at + port.out * 6, base = input ? port.at + port.out * 6 : port.at;
        line(R"(<path class="open" d="{}"/>)", path_data({base + across * 4, tip, base - across * 4}));
    }

    // ---- texts

    void label(const Label& l) {
        const char* kind = "name";
        switch (l.kind) {
            case Label::Kind::type: kind = "type"; break;
            case Label::Kind::link: kind = "link"; break;
            case Label::Kind::broken:
            case Label::Kind::note: kind = "bad"; break;
            default: break;
        }
        const bool middle = l.kind == Label::Kind::name;
        const double x = middle ? l.at.x + l.box.w / 2 : l.at.x;
        const std::string hint = l.hint.empty() ? "" : "<title>" + escape(l.hint) + "</title>";
        line(R"(<text class="{} halo" x="{}" y="{}" font-size="{}"{}>{}{}</text>)", kind, num(x), num(l.at.y),
             num(l.size), middle ? " text-anchor=\"middle\"" : "", hint, escape(l.text));
    }

    template <class... Args>
    void line(tessel::format_string<Args...> text, Args&&... args) {
        out_ += tessel::format(text, std::forward<Args>(args)...);
        out_ += '\n';
    }

    const Diagram& diagram_;
    std::unordered_map<std::size_t, std::size_t> panels_;  // by block, the owner of the page with its content
    std::string out_;
};

}  // namespace

std::string write_svg(const Diagram& diagram, const std::vector<Scene>& pages) {
    return Writer(diagram, pages).document(pages);
}

}  // namespace zarn::draw
