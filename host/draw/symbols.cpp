#include "host/draw/symbols.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <nlohmann/json.hpp>
#include <string_view>

#include "core/format.h"
#include "host/draw/caption.h"
#include "host/draw/text.h"

namespace zarn::draw {
namespace {

using tessel::icon_t;
using tessel::outline_t;

constexpr double text_size = 11;
constexpr double tau = 6.283185307179586;

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

const Icon& icon_of(icon_t kind) {
    static const std::map<icon_t, Icon> table{
        {icon_t::sine, sine_icon()},
        {icon_t::square,
         {{{{-1, 0.65}, {-0.65, 0.65}, {-0.65, -0.65}, {0, -0.65}, {0, 0.65}, {0.65, 0.65}, {0.65, -0.65}, {1, -0.65}}},
          {{{-1, 0}, {1, 0}}},
          {}}},
        {icon_t::step, {{{{-1, 0.65}, {-0.1, 0.65}, {-0.1, -0.65}, {1, -0.65}}}, {{{-1, 0.95}, {1, 0.95}}}, {}}},
        {icon_t::noise,
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
        {icon_t::clock, {{arc({0, 0}, 0.9, 0, tau), {{0, -0.6}, {0, 0}, {0.4, 0.2}}}, {}, {}}},
        {icon_t::limits,
         {{{{-1, 0.6}, {-0.45, 0.6}, {0.45, -0.6}, {1, -0.6}}}, {{{-1, 0}, {1, 0}}, {{0, -0.9}, {0, 0.9}}}, {}}},
        {icon_t::thresholds,
         {{{{-1, 0.6}, {0.4, 0.6}, {0.4, -0.6}, {1, -0.6}}, {{0.4, -0.6}, {-0.4, -0.6}, {-0.4, 0.6}}}, {}, {}}},
        {icon_t::delays,
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
        {icon_t::choice,
         {{{{-1, 0.55}, {-0.5, 0.55}, {0.5, 0}, {1, 0}}, {{-1, -0.55}, {-0.5, -0.55}}}, {}, {{-0.5, -0.55}}}},
        {icon_t::series, series_icon()},
        {icon_t::pulse, {{{{-1, 0.7}, {-0.5, 0.7}, {-0.5, -0.7}, {0.5, -0.7}, {0.5, 0.7}, {1, 0.7}}}, {}, {}}},
        {icon_t::grid, grid_icon()},
    };
    static const Icon empty;
    const auto found = table.find(kind);
    return found != table.end() ? found->second : empty;
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

/// A parameter's text in a caption: a keyword by its sign, anything else as it is.
std::string shown_value(const Block& block, std::string_view key) {
    const std::string text = block.parameter(key);
    for (const tessel::parameter_traits_t& parameter : block.traits->parameters) {
        if (key != parameter.key) continue;
        for (const tessel::word_t& word : parameter.words)
            if (text == word.word && word.sign != nullptr) return word.sign;
    }
    return text;
}

/// What stands in the middle of a block that has no icon.
std::string caption(const Block& block) {
    const bool relay = block.traits->outline == outline_t::pill;
    if (relay && block.port_number == tessel::no_port_number) return block.name;
    if (relay) return std::to_string(block.port_number);
    if (block.traits->caption == nullptr || !block.known) return block.class_name;
    return fill_caption(block.traits->caption, [&block](std::string_view key) { return shown_value(block, key); });
}

/// What is written at the inputs. Those of a sum that are not told go on as the two before them.
std::vector<std::string> input_labels(const Block& block) {
    std::vector<std::string> labels;
    for (const tessel::port_traits_t& input : block.traits->inputs) labels.emplace_back(input.label);
    const auto count = static_cast<std::size_t>(block.inputs);
    while (block.traits->outline == outline_t::sum && labels.size() >= 2 && labels.size() < count)
        labels.push_back(labels[labels.size() - 2]);
    labels.resize(count);
    return labels;
}

/// The ports that the blocks inside a subsystem stand for, completed to the count that the file tells.
std::vector<PortName> inner_ports(const Diagram& diagram, const std::vector<std::size_t>& children,
                                  std::string_view class_name, int count) {
    std::map<int, std::string> ports;
    for (const std::size_t child : children) {
        const Block& inner = diagram.blocks[child];
        if (inner.is(class_name) && inner.port_number != tessel::no_port_number)
            ports.emplace(inner.port_number, inner.name);
    }
    for (int i = 0; static_cast<int>(ports.size()) < count; ++i) ports.emplace(i, "");
    std::vector<PortName> list;
    for (const auto& [number, name] : ports) list.push_back({number, name, false});
    return list;
}

Shape shape_of(const Block& block) {
    if (!block.known) return Shape::unknown;
    switch (block.traits->outline) {
        case outline_t::pill: return Shape::pill;
        case outline_t::goto_tag: return Shape::goto_tag;
        case outline_t::from_tag: return Shape::from_tag;
        case outline_t::frame: return Shape::frame;
        case outline_t::screen: return Shape::screen;
        default: break;
    }
    // a drawn sum is round where its box is about as wide as it is high
    const bool sum = block.traits->outline == outline_t::sum && (block.inputs == 2 || block.inputs == 3);
    const bool square =
        block.width <= 0 || block.height <= 0 || (block.width < 1.3 * block.height && block.height < 1.3 * block.width);
    return sum && square ? Shape::circle : Shape::box;
}

double widest(const std::vector<PortName>& ports) {
    double width = 0;
    for (const auto& port : ports) width = std::max(width, text_width(port.label, 9));
    return std::min(width, 80.0);
}

void natural_size(Symbol& symbol) {
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
    symbol.height = std::max(symbol.inputs.empty() && symbol.icon.strokes.empty() ? 30.0 : 40.0, 18 * ports + 8);
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
    symbol.icon = block.traits->icon == icon_t::curve ? table_icon(block) : icon_of(block.traits->icon);
    if (symbol.icon.strokes.empty()) symbol.text = caption(block);
    natural_size(symbol);
    return symbol;
}

}  // namespace zarn::draw
