#include "host/draw/svg.h"

#include <algorithm>
#include <string_view>
#include <unordered_map>

#include "core/format.h"
#include "host/draw/figures.h"
#include "host/draw/text.h"

namespace zarn::draw {
namespace {

constexpr double edge = 16;  // around and between panels
constexpr double title_height = 34;
constexpr double padding = 22;  // inside a panel
constexpr double note_height = 17;
constexpr double least_width = 420;
constexpr std::size_t most_titles = 2;  // further references that the title of their content names

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

    void wire(const Wire& w) {
        if (w.path.size() < 2) return;
        const char* kind = wire_style(w);
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
        line(R"(<circle class="joint{}" cx="{}" cy="{}" r="2.6"/>)", type_style(j.type), num(j.at.x), num(j.at.y));
    }

    // ---- blocks

    void node(const Node& n) {
        const Block& block = diagram_.blocks[n.block];
        const auto panel = panels_.find(n.block);
        const bool leads = panel != panels_.end();
        if (leads) line("<a href=\"#page-{}\">", panel->second);
        line(R"(<g class="node" data-class="{}" data-id="{}">)", escape(block.class_name), block.id);
        line("<title>{}</title>", escape(tooltip_of(diagram_, n.block)));
        figures(body_of(block, n));
        if (n.inner != nullptr) content(n, block);
        figures(ports_of(block, n));
        line("</g>");
        if (leads) line("</a>");
    }

    void content(const Node& n, const Block& block) {
        line(R"(<text x="{}" y="{}" font-size="11" font-weight="bold">{}</text>)", num(n.box.x + 10), num(n.box.y + 18),
             escape(fit(block.name, 11.8, n.box.w - 20)));
        line("<g transform=\"translate({} {})\">", num(n.inner_at.x), num(n.inner_at.y));
        scene(*n.inner);
        line("</g>");
    }

    // ---- figures

    void figures(const std::vector<Figure>& list) {
        for (const Figure& f : list) figure(f);
    }

    void figure(const Figure& f) {
        const std::string kind = f.style.empty() ? "" : " class=\"" + f.style + "\"";
        const std::string rest = fill(f) + turn(f);
        switch (f.kind) {
            case Figure::Kind::rect:
                line(R"(<rect{} x="{}" y="{}" width="{}" height="{}" rx="{}"{}/>)", kind, num(f.box.x), num(f.box.y),
                     num(f.box.w), num(f.box.h), num(f.radius), rest);
                return;
            case Figure::Kind::ellipse:
                line(R"(<ellipse{} cx="{}" cy="{}" rx="{}" ry="{}"{}/>)", kind, num(f.box.center().x),
                     num(f.box.center().y), num(f.box.w / 2), num(f.box.h / 2), rest);
                return;
            case Figure::Kind::dot:
                line(R"(<circle{} cx="{}" cy="{}" r="{}"/>)", kind, num(f.box.center().x), num(f.box.center().y),
                     num(f.box.w / 2));
                return;
            case Figure::Kind::path:
                line(R"(<path{}{} d="{}"{}/>)", kind,
                     f.stroke_width > 0 ? " style=\"stroke-width:" + num(f.stroke_width) + "\"" : "", f.path, rest);
                return;
            case Figure::Kind::text: text(f, kind); return;
        }
    }

    void text(const Figure& f, const std::string& kind) {
        const std::string raised = f.raised.empty()
                                       ? ""
                                       : tessel::format(R"(<tspan dy="{}" font-size="{}">{}</tspan>)",
                                                        num(-f.size * 0.4), num(f.size * 0.75), escape(f.raised));
        line(R"(<text{} x="{}" y="{}" font-size="{}" text-anchor="{}"{}>{}{}</text>)", kind, num(f.box.x), num(f.box.y),
             num(f.size), f.anchor, fill(f), escape(f.text), raised);
    }

    static std::string fill(const Figure& f) {
        if (f.fill.empty()) return {};
        const std::string opacity = f.opacity < 1 ? ";fill-opacity:" + tessel::format("{:.2f}", f.opacity) : "";
        return " style=\"fill:" + f.fill + opacity + "\"";
    }

    static std::string turn(const Figure& f) {
        if (f.degrees == 0) return {};
        return tessel::format(" transform=\"rotate({} {} {})\"", num(f.degrees), num(f.pivot.x), num(f.pivot.y));
    }

    // ---- texts

    void label(const Label& l) {
        const char* kind = label_style(l.kind);
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

std::string_view stylesheet() { return style; }

std::string write_svg(const Diagram& diagram, const std::vector<Scene>& pages) {
    return Writer(diagram, pages).document(pages);
}

}  // namespace zarn::draw
