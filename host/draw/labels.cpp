#include "host/draw/labels.h"

#include <limits>

#include "host/draw/text.h"

namespace zarn::draw {
namespace {

constexpr double ascent = 0.78;  // of the font size, above the baseline
constexpr double line_height = 1.05;
constexpr double beside_text = 2.5;  // free where possible: fonts differ in width

}  // namespace

Label make_label(Label::Kind kind, const std::string& text, double size, double widest) {
    Label label;
    label.kind = kind;
    label.text = fit(text, size, widest);
    if (label.text != text) label.hint = text;
    label.size = size;
    label.box = {0, 0, text_width(label.text, size), size * line_height};
    return label;
}

void settle(Label& label, std::span<const Point> corners, const Taken& taken) {
    double best = std::numeric_limits<double>::max();
    Point place;
    for (const Point corner : corners) {
        const double covered =
            taken.overlap({corner.x - beside_text, corner.y, label.box.w + 2 * beside_text, label.box.h});
        if (covered >= best) continue;
        best = covered;
        place = corner;
        if (covered == 0) break;
    }
    label.box.x = place.x, label.box.y = place.y;
    label.at = {place.x, place.y + label.size * ascent};
}

std::vector<Point> beside(const Polyline& line, const Label& label) {
    std::vector<Point> corners, poor;
    const double w = label.box.w, h = label.box.h;
    for (std::size_t i = 1; i < line.size(); ++i) {
        const Rect r = around(line[i - 1], line[i]);
        if (r.w > straightness && r.h > straightness) {  // a slanting piece
            for (const double part : {0.5, 0.3, 0.7}) {
                const Point p = line[i - 1] + (line[i] - line[i - 1]) * part;
                poor.push_back({p.x + 4, p.y - h / 2});
            }
        } else if (r.w >= r.h) {
            auto& list = r.w >= w + 4 ? corners : poor;
            const bool forward = line[i].x >= line[i - 1].x;
            const double start = forward ? r.x + 4 : r.right() - 4 - w, end = forward ? r.right() - 6 - w : r.x + 6;
            for (const double x : {start, r.center().x - w / 2, end}) {
                list.push_back({x, r.y - h - 1});
                list.push_back({x, r.y + 2});
            }
        } else {
            auto& list = r.h >= h + 4 ? corners : poor;
            for (const double y : {r.center().y - h / 2, r.y + 4, r.bottom() - h - 4}) {
                list.push_back({r.x + 4, y});
                list.push_back({r.x - w - 4, y});
            }
        }
    }
    corners.insert(corners.end(), poor.begin(), poor.end());
    return corners;
}

}  // namespace zarn::draw
