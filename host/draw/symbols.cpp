#include "host/draw/symbols.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <nlohmann/json.hpp>
#include <set>
#include <string_view>

#include "core/format.h"
#include "host/draw/text.h"

namespace zarn::draw {
namespace {

constexpr double text_size = 11;
constexpr double tau = 6.283185307179586;

const Icon& pulse_icon() {
    static const Icon icon{{{{-1, 0.7}, {-0.5, 0.7}, {-0.5, -0.7}, {0.5, -0.7}, {0.5, 0.7}, {1, 0.7}}}, {}, {}};
    return icon;
}

Polyline arc(Point center, double radius, double from, double to) {
    Polyline line;
    for (int i = 0; i <= 24; ++i) {
        const double a = from + (to - from) * i / 24;
        line.push_back({center.x + radius * std::cos(a), center.y + radius * std::sin(a)});
    }
    return line;
}

Icon sine_icon() {
    Polyline wave;
    for (int i = 0; i <= 32; ++i) wave.push_back({-1 + i / 16.0, -0.75 * std::sin(tau * i / 32)});
    return {{wave}, {{{-1, 0}, {1, 0}}}, {}};
}

Icon series_icon() {
    return {{{{-0.9, 0.5}, {-0.45, -0.25}, {-0.1, 0.15}, {0.35, -0.65}, {0.9, -0.1}}},
            {{{-0.9, -0.9}, {-0.9, 0.9}, {0.95, 0.9}}},
            {}};
}

Icon grid_icon() {
    Icon icon;
    for (const double at : {-0.9, -0.3, 0.3, 0.9}) {
        icon.axes.push_back({{at, -0.9}, {at, 0.9}});
        icon.axes.push_back({{-0.9, at}, {0.9, at}});
    }
    icon.strokes = {{{-0.9, 0.7}, {-0.2, 0.1}, {0.3, -0.1}, {0.9, -0.8}}};
    return icon;
}

const std::map<std::string_view, Icon>& icons() {
    static const std::map<std::string_view, Icon> table{
        {"sinewave", sine_icon()},
        {"squarewave",
         {{{{-1, 0.65}, {-0.65, 0.65}, {-0.65, -0.65}, {0, -0.65}, {0, 0.65}, {0.65, 0.65}, {0.65, -0.65}, {1, -0.65}}},
          {{{-1, 0}, {1, 0}}},
          {}}},
        {"step", {{{{-1, 0.65}, {-0.1, 0.65}, {-0.1, -0.65}, {1, -0.65}}}, {{{-1, 0.95}, {1, 0.95}}}, {}}},
        {"random",
         {{{{-1, 0.1},
            {-0.8, -0.6},
            {-0.6, 0.4},
            {-0.42, -0.1},
            {-0.22, -0.75},
            {0, 0.7},
            {0.18, 0.05},
            {0.4, -0.5},
            {0.58, 0.6},
            {0.8, -0.3},
            {1, 0.2}}},
          {},
          {}}},
        {"time", {{arc({0, 0}, 0.9, 0, tau), {{0, -0.6}, {0, 0}, {0.4, 0.2}}}, {}, {}}},
        {"clamp",
         {{{{-1, 0.6}, {-0.45, 0.6}, {0.45, -0.6}, {1, -0.6}}}, {{{-1, 0}, {1, 0}}, {{0, -0.9}, {0, 0.9}}}, {}}},
        {"hysteresis",
         {{{{-1, 0.6}, {0.4, 0.6}, {0.4, -0.6}, {1, -0.6}}, {{0.4, -0.6}, {-0.4, -0.6}, {-0.4, 0.6}}}, {}, {}}},
        {"debounce",
         {{{{-1, 0.85},
            {-0.6, 0.85},
            {-0.6, 0.25},
            {-0.45, 0.25},
            {-0.45, 0.85},
            {-0.3, 0.85},
            {-0.3, 0.25},
            {1, 0.25}},
           {{-1, -0.25}, {0.3, -0.25}, {0.3, -0.85}, {1, -0.85}}},
          {},
          {}}},
        {"if", {{{{-1, 0.55}, {-0.5, 0.55}, {0.5, 0}, {1, 0}}, {{-1, -0.55}, {-0.5, -0.55}}}, {}, {{-0.5, -0.55}}}},
        {"switch", {{{{-1, 0.55}, {-0.5, 0.55}, {0.5, 0}, {1, 0}}, {{-1, -0.55}, {-0.5, -0.55}}}, {}, {{-0.5, -0.55}}}},
        {"to_workspace", series_icon()},
        {"enable", pulse_icon()},
        {"lut2d", grid_icon()},
    };
    return table;
}

/// The curve of a table when its parameters are plain lists, else a curve that stands for any.
Icon table_icon(const Block& block) {
    Icon icon{{{{-1, 0.7}, {-0.35, 0.35}, {0.2, -0.5}, {1, -0.75}}},
              {{{-1, -0.9}, {-1, 0.9}, {1, 0.9}}},
              {{-0.35, 0.35}, {0.2, -0.5}}};
    const auto list = [&block](const char* key) {
        const auto parsed = nlohmann::json::parse(block.parameter(key), nullptr, false);
        std::vector<double> values;
        if (parsed.is_array() && parsed.size() <= 1000)
            for (const auto& value : parsed)
                if (value.is_number()) values.push_back(value.get<double>());
        return parsed.is_array() && values.size() == parsed.size() ? values : std::vector<double>();
    };
    const auto x = list("bp1"), y = list("out");
    if (x.size() < 2 || x.size() != y.size()) return icon;
    const auto [x0, x1] = std::ranges::minmax(x);
    const auto [y0, y1] = std::ranges::minmax(y);
    if (!std::isfinite(x1 - x0) || !std::isfinite(y1 - y0) || x0 == x1) return icon;
    icon.strokes[0].clear();
    icon.dots.clear();
    for (std::size_t i = 0; i < x.size(); ++i) {
        const double across = 2 * (x[i] - x0) / (x1 - x0) - 1;
        icon.strokes[0].push_back({across, y0 == y1 ? 0 : 0.8 - 1.6 * (y[i] - y0) / (y1 - y0)});
        if (x.size() <= 8) icon.dots.push_back(icon.strokes[0].back());
    }
    return icon;
}

std::string relation(std::string_view op) {
    static const std::map<std::string_view, const char*> signs{
        {"eq", "="}, {"ne", "\xE2\x89\xA0"}, {"lt", "<"}, {"le", "\xE2\x89\xA4"}, {"gt", ">"}, {"ge", "\xE2\x89\xA5"}};
    const auto found = signs.find(op);
    return found != signs.end() ? found->second : std::string(op);
}

std::string upper(std::string text) {
    for (char& c : text)
        if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
    return text;
}

/// What stands in the middle of a block that has no icon.
std::string caption(const Block& block) {
    static const std::map<std::string_view, const char*> fixed{
        {"abs", "|u|"},
        {"acc", "\xCE\xA3"},  // capital sigma
        {"add", "\xCE\xA3"},
        {"delta", "\xCE\x94"},  // capital delta
        {"divide", "\xC3\xB7"},
        {"log", "ln"},
        {"memory",
         "z^\xE2\x88\x92"
         "1"},
        {"multiply", "\xC3\x97"},
        {"not", "NOT"},
        {"pow", "u^v"},
        {"sqrt", "\xE2\x88\x9Au"},
        {"subtract", "\xCE\xA3"},
        {"display", ""},
        {"subsys", ""},
    };
    if (const auto found = fixed.find(block.class_name); found != fixed.end()) return found->second;
    if (block.is("constant") || block.is("from_workspace")) return block.parameter("expression");
    if (block.is("relational")) return relation(block.parameter("operator"));
    if (block.is("logical")) return upper(block.parameter("operator"));
    if (block.is("cast")) return block.parameter("type");
    if (block.is("goto") || block.is("from")) return "[" + block.parameter("target") + "]";
    if (block.is("poly1st")) return block.parameter("coeffA") + "\xC2\xB7u + " + block.parameter("coeffB");
    if (block.is("lerp")) return "lerp " + block.parameter("coeffA") + "\xE2\x80\xA6" + block.parameter("coeffB");
    if (block.is("unpack")) return "[" + block.parameter("msb") + ":" + block.parameter("lsb") + "]";
    if (block.is("refsys")) return block.parameter("path");
    if (block.is("inport") || block.is("outport"))
        return block.port_number == 2047 ? block.name : std::to_string(block.port_number);
    return block.class_name;
}

std::vector<std::string> input_labels(const Block& block) {
    static const std::map<std::string_view, std::vector<std::string>> fixed{
        {"acc", {"u", "set", "reset"}},
        {"clamp", {"u", "lo", "hi"}},
        {"if", {"if", "then", "else"}},
        {"divide", {"\xC3\x97", "\xC3\xB7"}},
        {"lut2d", {"u1", "u2"}},
        {"pow", {"u", "v"}},
        {"mod", {"u", "v"}},
    };
    if (const auto found = fixed.find(block.class_name); found != fixed.end()) return found->second;
    std::vector<std::string> labels(static_cast<std::size_t>(block.inputs));
    for (std::size_t i = 0; i < labels.size(); ++i) {
        // differences fold from the right: u0 - (u1 - u2)
        if (block.is("add") || (block.is("subtract") && i % 2 == 0)) labels[i] = "+";
        else if (block.is("subtract")) labels[i] = "\xE2\x88\x92";
        else if (block.is("switch")) labels[i] = i == 0 ? "sel" : i == 1 ? "else" : std::to_string(i - 2);
    }
    return labels;
}

/// The ports that the blocks inside a subsystem stand for, completed to the count that the file tells.
std::vector<PortName> inner_ports(const Diagram& diagram, const std::vector<std::size_t>& children,
                                  std::string_view class_name, int count) {
    std::map<int, std::string> ports;
    for (const std::size_t child : children) {
        const Block& inner = diagram.blocks[child];
        if (inner.is(class_name) && inner.port_number != 2047) ports.emplace(inner.port_number, inner.name);
    }
    for (int i = 0; static_cast<int>(ports.size()) < count; ++i) ports.emplace(i, "");
    std::vector<PortName> list;
    for (const auto& [number, name] : ports) list.push_back({number, name, false});
    return list;
}

Shape shape_of(const Block& block) {
    static const std::map<std::string_view, Shape> shapes{
        {"inport", Shape::pill},  {"outport", Shape::pill}, {"goto", Shape::goto_tag},  {"from", Shape::from_tag},
        {"subsys", Shape::frame}, {"refsys", Shape::frame}, {"display", Shape::screen},
    };
    if (!block.known) return Shape::unknown;
    const auto found = shapes.find(block.class_name);
    if (found != shapes.end()) return found->second;
    // a drawn sum is round where its box is about as wide as it is high
    const bool sum = (block.is("add") || block.is("subtract")) && (block.inputs == 2 || block.inputs == 3);
    const bool square =
        block.width <= 0 || block.height <= 0 || (block.width < 1.3 * block.height && block.height < 1.3 * block.width);
    return sum && square ? Shape::circle : Shape::box;
}

double widest(const std::vector<PortName>& ports) {
    double width = 0;
    for (const auto& port : ports) width = std::max(width, text_width(port.label, 9));
    return std::min(width, 80.0);
}

void natural_size(Symbol& symbol, const Block& block) {
    const auto ports = static_cast<double>(std::max(symbol.inputs.size(), symbol.outputs.size()));
    const double text = text_width(symbol.text, text_size);
    switch (symbol.shape) {
        case Shape::circle: symbol.width = symbol.height = 34; return;
        case Shape::pill: symbol.width = std::clamp(text + 24, 44.0, 120.0), symbol.height = 22; return;
        case Shape::goto_tag:
        case Shape::from_tag: symbol.width = std::clamp(text + 30, 56.0, 160.0), symbol.height = 24; return;
        case Shape::screen: symbol.width = 60, symbol.height = 30; return;
        case Shape::frame:
            symbol.width = std::max(110.0, widest(symbol.inputs) + widest(symbol.outputs) + 50);
            symbol.height = std::max(64.0, 24 * ports + 16);
            return;
        default: break;
    }
    const bool labels = std::ranges::any_of(symbol.inputs, [](const PortName& p) { return !p.label.empty(); });
    const double beside = labels ? 2 * std::max(widest(symbol.inputs) + 2, 8.0) : 0;
    symbol.width = std::clamp(text + 22 + beside, 52.0, 150.0);
    symbol.height = std::max(block.is("constant") || block.is("from_workspace") ? 30.0 : 40.0, 18 * ports + 8);
    if (!symbol.icon.strokes.empty()) symbol.width = std::max(symbol.width, 52 + beside);
}

}  // namespace

Symbol symbol_of(const Diagram& diagram, std::size_t index, const std::vector<std::size_t>& children) {
    const Block& block = diagram.blocks[index];
    Symbol symbol;
    symbol.shape = shape_of(block);
    if (block.is_subsystem()) {
        symbol.inputs = inner_ports(diagram, children, "inport", block.inputs);
        symbol.outputs = inner_ports(diagram, children, "outport", block.outputs);
    } else {
        const auto labels = input_labels(block);
        for (int i = 0; i < block.inputs; ++i) {
            const auto at = static_cast<std::size_t>(i);
            symbol.inputs.push_back({i, at < labels.size() ? labels[at] : std::string(), false});
        }
        for (int i = 0; i < block.outputs; ++i) symbol.outputs.push_back({i, "", false});
    }
    if (block.is("lut1d")) symbol.icon = table_icon(block);
    else if (const auto found = icons().find(block.class_name); found != icons().end()) symbol.icon = found->second;
    if (symbol.icon.strokes.empty()) symbol.text = caption(block);
    natural_size(symbol, block);
    return symbol;
}

}  // namespace zarn::draw
