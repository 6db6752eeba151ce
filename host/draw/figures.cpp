#include "host/draw/figures.h"

#include <algorithm>
#include <cmath>
#include <string_view>

#include "core/format.h"
#include "host/draw/text.h"

namespace zarn::draw {
namespace {

constexpr double text_size = 11;
constexpr double port_text_size = 9;

/// The inside of a file's colour is dark: texts on it are white.
bool is_dark(const std::array<double, 4>& c) { return c[3] > 0.5 && 0.299 * c[0] + 0.587 * c[1] + 0.114 * c[2] < 0.45; }

int byte_of(double v) { return static_cast<int>(std::lround(v * 255)); }

/// Whether a "^" in the caption is not the user's own: it starts what stands above the line.
bool raises(const Block& block) {
    const char* caption = block.traits->caption;
    return caption != nullptr && std::string_view(caption).find('^') != std::string_view::npos;
}

const char* family(const Block& block) {
    if (block.traits->family == tessel::family_t::source) return " source";
    return block.traits->family == tessel::family_t::state ? " state" : "";
}

double widest(const std::vector<Port>& ports) {
    double width = 0;
    for (const Port& port : ports)
        if (!port.label.empty()) width = std::max(width, text_width(port.label, port_text_size) + 5);
    return width;
}

/// Names of ports are shown where the block is large enough for them.
bool shows_port_names(const Node& n) {
    const Rect b = n.bounds();
    const auto rows = static_cast<double>(std::max(n.inputs.size(), n.outputs.size()));
    const double beside = widest(n.inputs) + widest(n.outputs);
    const bool icon = !n.symbol.icon.strokes.empty();
    const double center = icon ? 34 : std::min(text_width(n.symbol.text, text_size), 16.0) + 12;
    return rows > 0 && b.h / rows >= 8 && b.w >= beside + (n.symbol.shape == Shape::frame ? 6 : center);
}

/// Room for text or an icon in the middle, inside of the ports' names.
Rect middle(const Node& n) {
    const Rect b = n.bounds();
    const double slant = n.symbol.shape == Shape::goto_tag || n.symbol.shape == Shape::from_tag ? b.h / 4 : 0;
    const double inset = std::min(4.0, b.w / 8) + slant;
    const bool names = shows_port_names(n) && n.symbol.shape != Shape::circle;
    const double left = inset + (names ? widest(n.inputs) : 0), right = inset + (names ? widest(n.outputs) : 0);
    const double above = std::min(4.0, b.h / 8);
    return {b.x + left, b.y + above, b.w - left - right, b.h - 2 * above};
}

class Figures {
public:
    Figures(const Block& block, const Node& node) : block_(block), n_(node) {}

    void outline() {
        const Rect& b = n_.box;
        const std::string classes = std::string("block") + family(block_) + (block_.failed ? " failed" : "");
        const double nose = std::min(b.h / 2, b.w / 3);
        switch (n_.symbol.shape) {
            case Shape::circle: colored(turned_here(add(Figure::Kind::ellipse, classes, b))); return;
            case Shape::pill: rect(classes + " tag", b, std::min(b.w, b.h) / 2); return;
            case Shape::goto_tag:
                tag(classes, tessel::format("M{} {}H{}L{} {}L{} {}H{}z", num(b.x), num(b.y), num(b.right() - nose),
                                            num(b.right()), num(b.center().y), num(b.right() - nose), num(b.bottom()),
                                            num(b.x)));
                return;
            case Shape::from_tag:
                tag(classes, tessel::format("M{} {}H{}V{}H{}L{} {}z", num(b.x), num(b.y), num(b.right()),
                                            num(b.bottom()), num(b.x), num(b.x + nose), num(b.center().y)));
                return;
            case Shape::frame:
                rect(classes + " frame", b, 3);
                if (std::min(b.w, b.h) > 12) inner_rect("inner", b.grown(-3.5));
                return;
            case Shape::screen:
                rect(classes, b, 3);
                if (std::min(b.w, b.h) > 14) inner_rect("screen", b.grown(-5));
                return;
            case Shape::unknown: rect("block unknown", b, 2); return;
            default: rect(classes, b, 2); return;
        }
    }

    void icon() {
        const Rect room = middle(n_);
        const double half_h = std::min(room.h / 2 * 0.72, 16.0);
        const double half_w = std::min(room.w / 2 * 0.8, half_h * 1.35);
        const Point c = room.center();
        const auto placed = [&](const Polyline& strokes) {
            Polyline points;
            for (const Point p : strokes) points.push_back({c.x + p.x * half_w, c.y + p.y * half_h});
            return path_data(points);
        };
        constexpr double r = 1.9;
        for (const auto& axis : n_.symbol.icon.axes) add(Figure::Kind::path, "axis").path = placed(axis);
        for (const auto& stroke : n_.symbol.icon.strokes) add(Figure::Kind::path, "icon").path = placed(stroke);
        for (const Point p : n_.symbol.icon.dots)
            add(Figure::Kind::dot, "dot", {c.x + p.x * half_w - r, c.y + p.y * half_h - r, 2 * r, 2 * r});
    }

    void caption() {
        if (n_.symbol.text.empty() || n_.symbol.shape == Shape::circle) return;
        const Rect room = middle(n_);
        double size = std::min(text_size, room.h * 0.75);
        const bool sign = block_.traits->large_caption && text_width(n_.symbol.text, 1) < 0.9;
        if (sign) size = std::min(18.0, room.h * 0.7);
        if (n_.symbol.shape == Shape::frame && n_.symbol.inputs.empty()) size = std::min(size, 10.0);
        // a long text may become smaller before it is cut
        while (size > 7 && text_width(n_.symbol.text, size) > room.w) size -= 0.5;
        const std::string text = fit(n_.symbol.text, size, room.w);
        const auto raised = raises(block_) ? text.find('^') : std::string::npos;
        Figure& f = add(Figure::Kind::text, "", {room.center().x, room.center().y + size * 0.36, 0, 0});
        f.size = size;
        f.text = text.substr(0, raised);
        if (raised != std::string::npos) f.raised = text.substr(raised + 1);
        if (is_dark(block_.color)) f.fill = "#ffffff";
    }

    void ports() {
        const bool relay = block_.is("inport") || block_.is("outport") || block_.is("enable");
        for (const auto* list : {&n_.inputs, &n_.outputs}) {
            const bool input = list == &n_.inputs;
            for (const Port& port : *list) {
                if (port.number == enable_port && input) enable_mark(port);
                if (!port.linked && !relay) open_mark(port, input);
                if (port.number != enable_port || !input) port_name(port);
            }
        }
    }

    std::vector<Figure> all;

private:
    Figure& add(Figure::Kind kind, std::string style, const Rect& box = {}) {
        Figure& f = all.emplace_back();
        f.kind = kind;
        f.style = std::move(style);
        f.box = box;
        return f;
    }

    Figure& turned_here(Figure& f) {
        f.degrees = n_.rotation;
        f.pivot = n_.box.center();
        return f;
    }

    /// In the colour that the file gives the block.
    void colored(Figure& f) {
        const auto& c = block_.color;
        if (c[3] <= 0) return;
        f.fill = tessel::format("#{:02x}{:02x}{:02x}", byte_of(c[0]), byte_of(c[1]), byte_of(c[2]));
        f.opacity = c[3];
    }

    Figure& inner_rect(std::string style, const Rect& box, double corner = 2) {
        Figure& f = turned_here(add(Figure::Kind::rect, std::move(style), box));
        f.radius = corner;
        return f;
    }
    void rect(std::string style, const Rect& box, double corner) { colored(inner_rect(std::move(style), box, corner)); }

    void tag(const std::string& classes, std::string path) {
        Figure& f = turned_here(add(Figure::Kind::path, classes + " tag"));
        f.path = std::move(path);
        colored(f);
    }

    void port_name(const Port& port) {
        const bool circle = n_.symbol.shape == Shape::circle;
        if (port.label.empty() || (!circle && !port.broken && !shows_port_names(n_))) return;
        const double inside = circle ? std::min(n_.box.w, n_.box.h) * 0.26 : n_.symbol.shape == Shape::frame ? 7 : 5;
        const Point at = port.at - port.out * inside;
        const double size = circle ? std::clamp(n_.box.w * 0.36, 7.0, 13.0) : port_text_size;
        const double limit = n_.symbol.shape == Shape::frame ? n_.bounds().w / 2 - 6 : n_.bounds().w;
        const double drop = circle || port.out.x != 0 ? 0.34 : port.out.y < 0 ? 0.9 : 0;
        Figure& f = add(Figure::Kind::text, port.broken ? "bad" : "port", {at.x, at.y + size * drop, 0, 0});
        f.anchor = circle || port.out.x == 0 ? "middle" : port.out.x < 0 ? "start" : "end";
        f.size = size;
        f.text = fit(port.label, size, limit);
        if (is_dark(block_.color) && !port.broken) f.fill = "#ffffff";
    }

    /// A small pulse inside of the frame.
    void enable_mark(const Port& port) {
        const Point c = port.at - port.out * 12;
        Figure& f = add(Figure::Kind::path, "icon");
        f.path = path_data({{c.x - 7, c.y + 4},
                            {c.x - 3.5, c.y + 4},
                            {c.x - 3.5, c.y - 4},
                            {c.x + 3.5, c.y - 4},
                            {c.x + 3.5, c.y + 4},
                            {c.x + 7, c.y + 4}});
        f.stroke_width = 1.1;
    }

    /// A port where nothing is connected: a hollow angle.
    void open_mark(const Port& port, bool input) {
        const Point across{-port.out.y, port.out.x};
        const Point tip = input ? port.at : port.at + port.out * 6, base = input ? port.at + port.out * 6 : port.at;
        add(Figure::Kind::path, "open").path = path_data({base + across * 4, tip, base - across * 4});
    }

    const Block& block_;
    const Node& n_;
};

}  // namespace

std::vector<Figure> body_of(const Block& block, const Node& node) {
    Figures figures(block, node);
    figures.outline();
    if (node.inner == nullptr) {
        figures.icon();
        figures.caption();
    }
    return std::move(figures.all);
}

std::vector<Figure> ports_of(const Block& block, const Node& node) {
    Figures figures(block, node);
    figures.ports();
    return std::move(figures.all);
}

std::string tooltip_of(const Diagram& diagram, std::size_t index) {
    const Block& block = diagram.blocks[index];
    std::string text = diagram.short_path(index) + " (" + block.class_name + ")";
    for (const auto& [key, value] : block.parameters) text += "; " + key + " = " + value;
    return text;
}

const char* type_style(const std::string& type) {
    if (type == "bool") return " bool";
    return type.starts_with("int") || type.starts_with("uint") ? " int" : "";
}

const char* wire_style(const Wire& wire) { return wire.broken ? " broken" : type_style(wire.type); }

const char* label_style(Label::Kind kind) {
    switch (kind) {
        case Label::Kind::type: return "type";
        case Label::Kind::link: return "link";
        case Label::Kind::broken:
        case Label::Kind::note: return "bad";
        default: return "name";
    }
}

std::string path_data(const Polyline& line) {
    std::string data;
    for (std::size_t i = 0; i < line.size(); ++i)
        data += tessel::format("{}{} {}", i == 0 ? "M" : "L", num(line[i].x), num(line[i].y));
    return data;
}

}  // namespace zarn::draw
