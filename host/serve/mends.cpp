#include "host/serve/mends.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <set>

#include "core/format.h"
#include "core/str.h"
#include "framework/classes.h"

namespace zarn::serve {
namespace {

using mends_t = std::vector<mend_t>;

/// What the mends of one finding look at.
struct about_t {
    const open_t& open;
    const found_t& found;
    const draw::Diagram& diagram;
    std::size_t block;  ///< `draw::none` for none

    const draw::Block& at() const { return diagram.blocks[block]; }
    std::string name() const { return at().name; }
};

json_t only(json_t operation) { return json_t::array({std::move(operation)}); }

mends_t remove_wire(const about_t& about) {
    if (about.found.wire.empty()) return {};
    return {{"remove the wire", only({{"op", "remove"}, {"wires", {about.found.wire}}})}};
}

/// The key that a pointer such as "/blocks/3/add/foo" ends in; "" for one that ends at the block.
std::string key_of(const found_t& found) {
    const auto& pointer = found.finding.pointer;
    if (std::ranges::count(pointer, '/') != 4) return {};
    return pointer.substr(pointer.rfind('/') + 1);
}

mends_t drop_key(const about_t& about) {
    const std::string key = key_of(about.found);
    // a slip for another key is more than superfluous
    const bool idle = about.found.finding.severity == severity_t::note;
    if (about.block == draw::none || key.empty() || !idle) return {};
    return {{tessel::format("remove \"{}\"", key),
             only({{"op", "set_parameter"}, {"block", about.found.block}, {"key", key}, {"value", nullptr}})}};
}

mends_t rename_to(const about_t& about, const std::string& name) {
    if (name.empty() || name == about.name()) return {};
    return {{tessel::format("rename to \"{}\"", name),
             only({{"op", "rename"}, {"block", about.found.block}, {"name", name}})}};
}

std::string unused(const about_t& about, const std::string& base) {
    std::set<std::string> taken;
    for (const draw::Block& other : about.diagram.blocks)
        if (other.parent == about.at().parent) taken.insert(other.name);
    std::string name = base;
    for (int number = 2; taken.contains(name); ++number) name = base + std::to_string(number);
    return name;
}

mends_t name_identifier(const about_t& about) {
    if (about.block == draw::none) return {};
    return rename_to(about, unused(about, tessel::str::sanitize_identifier(about.name())));
}

mends_t name_anew(const about_t& about) {
    if (about.block == draw::none) return {};
    return rename_to(about, unused(about, about.name().empty() ? about.at().class_name : about.name()));
}

/// A memory into a wire between two blocks of the loop.
mends_t break_loop(const about_t& about) {
    if (about.block == draw::none) return {};
    const Handles& handles = about.open.views.handles();
    for (std::size_t i = 0; i < about.diagram.links.size(); ++i) {
        const draw::Link& link = about.diagram.links[i];
        if (link.target != about.block || link.source == draw::none) continue;
        const draw::Block& source = about.diagram.blocks[link.source];
        if (!source.failed || source.parent != about.at().parent) continue;
        const double x = (source.x + source.width + about.at().x) / 2, y = (source.y + about.at().y) / 2;
        return {{tessel::format("put a memory between {} and {}", source.name, about.name()),
                 only({{"op", "insert_on_wire"},
                       {"wire", handles.of_link(i)},
                       {"class", "memory"},
                       {"level", handles.of_block(source.parent)},
                       {"x", std::round(x)},
                       {"y", std::round(y)}})}};
    }
    return {};
}

mends_t number_anew(const about_t& about) {
    if (about.block == draw::none) return {};
    std::set<int> taken;
    for (const draw::Block& other : about.diagram.blocks)
        if (other.parent == about.at().parent && other.class_name == about.at().class_name)
            taken.insert(other.port_number);
    int number = 0;
    while (taken.contains(number)) ++number;
    return {{tessel::format("give it the number {}", number),
             only({{"op", "set_parameter"}, {"block", about.found.block}, {"key", "portNumber"}, {"value", number}})}};
}

mends_t choose_word(const about_t& about) {
    if (about.block == draw::none) return {};
    mends_t mends;
    for (const tessel::parameter_traits_t& parameter : about.at().traits->parameters)
        for (const tessel::word_t& word : parameter.words)
            mends.push_back({tessel::format("{} = {}", parameter.key, word.word), only({{"op", "set_parameter"},
                                                                                        {"block", about.found.block},
                                                                                        {"key", parameter.key},
                                                                                        {"value", word.word}})});
    return mends;
}

mends_t remove_block(const about_t& about) {
    if (about.block == draw::none) return {};
    return {{tessel::format("remove {}", about.name()), only({{"op", "remove"}, {"blocks", {about.found.block}}})}};
}

mends_t step_length(const about_t&) {
    return {{"make the step 0.01 s long", only({{"op", "set_setting"}, {"key", "ts"}, {"value", 0.01}})}};
}

}  // namespace

std::vector<mend_t> mends_of(const open_t& open, const found_t& found) {
    static const std::map<std::string, mends_t (*)(const about_t&)> ways{
        {"Z109", drop_key},    {"Z116", step_length}, {"Z202", remove_wire},     {"Z203", remove_wire},
        {"Z204", remove_wire}, {"Z205", number_anew}, {"Z212", remove_block},    {"Z213", remove_wire},
        {"Z217", break_loop},  {"Z408", choose_word}, {"Z501", name_identifier}, {"Z502", name_anew},
        {"Z503", name_anew},
    };
    const auto way = ways.find(found.finding.code);
    if (way == ways.end() || open.editor == nullptr || found.block.find('/') != std::string::npos ||
        found.wire.find('/') != std::string::npos)
        return {};
    return way->second({open, found, open.views.diagram(), open.views.handles().block(found.block)});
}

}  // namespace zarn::serve
