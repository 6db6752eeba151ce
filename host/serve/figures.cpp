#include "host/serve/figures.h"

#include <cmath>
#include <utility>

namespace zarn::serve {
namespace {

using draw::Figure;

json_t figure_json(const Figure& f) {
    json_t object;
    const auto style = [&] { object["style"] = f.style; };
    switch (f.kind) {
        case Figure::Kind::rect:
            object["shape"] = "rect";
            style();
            put_box(object, f.box);
            object["radius"] = rounded(f.radius);
            break;
        case Figure::Kind::ellipse:
        case Figure::Kind::dot:
            object["shape"] = "ellipse";
            style();
            object["x"] = rounded(f.box.center().x);
            object["y"] = rounded(f.box.center().y);
            object["rx"] = rounded(f.box.w / 2);
            object["ry"] = rounded(f.box.h / 2);
            break;
        case Figure::Kind::path:
            object["shape"] = "path";
            style();
            object["d"] = f.path;
            break;
        case Figure::Kind::text:
            object["shape"] = "text";
            style();
            object["x"] = rounded(f.box.x);
            object["y"] = rounded(f.box.y);
            object["size"] = rounded(f.size);
            object["anchor"] = f.anchor;
            object["text"] = f.text;
            if (!f.raised.empty()) object["raised"] = f.raised;
            break;
    }
    if (!f.fill.empty()) object["fill"] = f.fill;
    if (f.opacity < 1) object["opacity"] = rounded(f.opacity);
    if (f.stroke_width > 0) object["stroke_width"] = f.stroke_width;
    if (f.degrees != 0) object["turn"] = {rounded(f.degrees), rounded(f.pivot.x), rounded(f.pivot.y)};
    return object;
}

}  // namespace

double rounded(double v) {
    const double r = std::round(v * 100) / 100;
    return r == 0 ? 0 : r;  // no minus zero
}

void put_box(json_t& object, const draw::Rect& box) {
    object["x"] = rounded(box.x);
    object["y"] = rounded(box.y);
    object["width"] = rounded(box.w);
    object["height"] = rounded(box.h);
}

draw::Node at_origin(const draw::Node& node) {
    const draw::Point back{-node.box.x, -node.box.y};
    draw::Node moved;
    moved.block = node.block;
    moved.symbol = node.symbol;
    moved.box = node.box.moved(back);
    moved.rotation = node.rotation;
    for (auto [from, to] : {std::pair(&node.inputs, &moved.inputs), std::pair(&node.outputs, &moved.outputs)}) {
        *to = *from;
        for (draw::Port& port : *to) port.at = port.at + back;
    }
    return moved;
}

json_t figures_json(const draw::Block& block, const draw::Node& node) {
    const draw::Node own = at_origin(node);
    json_t list = json_t::array();
    for (const Figure& f : draw::body_of(block, own)) list.push_back(figure_json(f));
    for (const Figure& f : draw::ports_of(block, own)) list.push_back(figure_json(f));
    return list;
}

}  // namespace zarn::serve
